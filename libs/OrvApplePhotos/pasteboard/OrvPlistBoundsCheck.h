#pragma once

#include <QByteArray>

#include <cstdint>

// Whether libplist may be given a property list to build its tree: libplist builds it
// recursively, copies out every object a binary list shares by reference, and frees it
// recursively again, so what it builds is bounded here first. Only XML and binary lists
// are admitted (libplist reads JSON and OpenStep too from 2.3 on, 2.2 does not), nested at
// most maxDepth nodes deep, with at most maxNodes nodes and maxBytes of strings and data
// once every reference is counted as the copy libplist makes of it. The check recurses
// nowhere and needs memory bounded by the input, never by the tree the input describes.
class OrvPlistBoundsCheck
{
public:
    static constexpr int maxDepth = 512;
    static constexpr uint32_t maxNodes = 100000;
    static constexpr uint64_t maxBytes = 32 * 1024 * 1024;

    static bool admits(const QByteArray& propertyList);
    // Well-formed XML opening with its markup, without declarations in a DTD of its own
    // (entities) and without entity references left unresolved.
    static bool admitsXml(const QByteArray& xml);
    // "bplist00" with its offset table, every offset, count and reference inside the data,
    // no cycle, and only the kinds of objects every libplist reads. Strings with a NUL
    // inside are refused: libplist cannot hand them over whole.
    static bool admitsBinary(const QByteArray& binary);
};
