#pragma once

#include <QStringList>

// The nearest of a few known words to one that was mistyped: a command, an
// option, a source, an album or a camera model.
class OrvDidYouMean
{
public:
    // The candidate nearest to typed, or an empty text when none is near enough
    // to be what was meant. Case is ignored; a candidate that starts with what
    // was typed counts as near.
    static QString nearest(const QString& typed, const QStringList& candidates);
    // Edits (insert, delete, replace, swap two neighbours) that turn a into b.
    static int distance(const QString& a, const QString& b);
};
