#include "OrvDidYouMean.h"

#include <algorithm>
#include <vector>

namespace {

// Texts longer than this are no mistyped word; comparing them would only cost time.
constexpr qsizetype longestWord = 256;

} // namespace

int OrvDidYouMean::distance(const QString& a, const QString& b)
{
    const qsizetype n = a.size();
    const qsizetype m = b.size();
    // Three rows of the optimal string alignment distance.
    std::vector<int> before(size_t(m + 1)), previous(size_t(m + 1)), current(size_t(m + 1));
    for (qsizetype j = 0; j <= m; ++j)
        previous[size_t(j)] = int(j);
    for (qsizetype i = 1; i <= n; ++i) {
        current[0] = int(i);
        for (qsizetype j = 1; j <= m; ++j) {
            const int cost = a.at(i - 1) == b.at(j - 1) ? 0 : 1;
            int best = std::min({previous[size_t(j)] + 1, current[size_t(j - 1)] + 1, previous[size_t(j - 1)] + cost});
            if (i > 1 && j > 1 && a.at(i - 1) == b.at(j - 2) && a.at(i - 2) == b.at(j - 1))
                best = std::min(best, before[size_t(j - 2)] + 1);
            current[size_t(j)] = best;
        }
        std::swap(before, previous);
        std::swap(previous, current);
    }
    return previous[size_t(m)];
}

QString OrvDidYouMean::nearest(const QString& typed, const QStringList& candidates)
{
    const QString word = typed.toCaseFolded();
    if (word.isEmpty() || word.size() > longestWord)
        return QString();
    QString best;
    int bestDistance = 0;
    bool bestIsPrefix = false;
    for (const QString& candidate : candidates) {
        const QString folded = candidate.toCaseFolded();
        if (folded.size() > longestWord || folded.isEmpty())
            continue;
        if (folded == word)
            return candidate;
        // A word cut short ("exp" for "export") is near whatever its length.
        const bool prefix = word.size() >= 2 && folded.startsWith(word);
        const int d = prefix ? 1 : distance(word, folded);
        // Up to one edit in three letters: "sorce" is "source", "ls" is not "tree".
        const qsizetype allowed = std::max<qsizetype>(1, std::min(word.size(), folded.size()) / 3);
        if (d > allowed)
            continue;
        // Of two as near, the one that begins with what was typed: "of" is "off" sooner than "on".
        if (best.isEmpty() || d < bestDistance || (d == bestDistance && prefix && !bestIsPrefix)) {
            best = candidate;
            bestDistance = d;
            bestIsPrefix = prefix;
        }
    }
    return best;
}
