#pragma once

#include <QByteArray>

#include <functional>

// Mends the two defects some iPhoto versions wrote into their library files:
// a bare "&" (one that starts no "&name;", "&#123;" or "&#x1F;" reference)
// becomes "&amp;", and NUL bytes are dropped. Everything else passes through
// unchanged, so a strict XML reader still rejects any other damage.
//
// Streaming: feed the file in pieces of any size; the output goes to the sink
// in order, as spans of the input wherever nothing changes. A reference or a
// section marker split across two pieces is held back until it can be decided.
// "&" inside CDATA sections and comments is left alone. Files in UTF-16 or
// UTF-32 (NUL bytes are part of their characters) are passed through as they are.
class OrvXmlRepair
{
public:
    // Receives the repaired bytes; returning false stops the repair.
    using Sink = std::function<bool(const char* data, qsizetype size)>;

    // Longest "&name;" or "&#...;" looked at; a longer one counts as bare.
    static constexpr qsizetype maxReferenceLength = 64;

    OrvXmlRepair() = default;

    // False when the sink stopped.
    bool feed(const char* data, qsizetype size, const Sink& sink);
    // Flushes what was held back; call once after the last piece.
    bool finish(const Sink& sink);

    // Bare "&" turned into "&amp;" plus NUL bytes dropped so far.
    qsizetype repairs() const { return myRepairs; }
    // Whether everything fed so far went out and nothing is open (comment,
    // CDATA section): a repair of what follows may start afresh.
    bool isIdle() const { return myCarry.isEmpty() && myState == State::Text; }

    // The whole of bytes, repaired.
    static QByteArray repaired(const QByteArray& bytes, qsizetype* repairs = nullptr);

private:
    enum class Mode { Unknown, Repair, PassThrough };
    enum class State { Text, CData, Comment };

    // Repairs [begin, end) and returns where it stopped: at end, or (unless
    // final) at a construct that needs more bytes to be decided.
    const char* scan(const char* begin, const char* end, bool final, const Sink& sink, bool* stopped);
    bool decideMode(const char* data, qsizetype size);

    Mode myMode = Mode::Unknown;
    State myState = State::Text;
    QByteArray myCarry;
    char myLastByte = 0;
    qsizetype myRepairs = 0;
};
