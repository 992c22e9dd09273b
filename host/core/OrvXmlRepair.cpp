#include "OrvXmlRepair.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

enum Decision { Undecided = -1, Bare = 0, Valid = 1 };

bool isNameStart(uchar c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' || c >= 0x80;
}

bool isNameChar(uchar c) { return isNameStart(c) || (c >= '0' && c <= '9') || c == '.' || c == '-'; }

bool isDigit(uchar c) { return c >= '0' && c <= '9'; }

bool isHexDigit(uchar c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// Whether the "&" at p starts a reference, judged on the bytes up to end.
Decision referenceAt(const char* p, const char* end)
{
    const char* limit = p + OrvXmlRepair::maxReferenceLength;
    const char* q = p + 1;
    if (q >= end)
        return Undecided;
    auto stopAt = [&](const char* at, const char* first) {
        if (at >= limit)
            return Bare;
        if (at >= end)
            return Undecided;
        return (at > first && *at == ';') ? Valid : Bare;
    };
    if (*q == '#') {
        ++q;
        if (q >= end)
            return Undecided;
        if (*q == 'x') {
            ++q;
            const char* first = q;
            while (q < end && q < limit && isHexDigit(uchar(*q)))
                ++q;
            return stopAt(q, first);
        }
        const char* first = q;
        while (q < end && q < limit && isDigit(uchar(*q)))
            ++q;
        return stopAt(q, first);
    }
    if (!isNameStart(uchar(*q)))
        return Bare;
    const char* first = q;
    ++q;
    while (q < end && q < limit && isNameChar(uchar(*q)))
        ++q;
    return stopAt(q, first);
}

// Whether [p, end) starts with marker: 1 yes, 0 no, -1 only a prefix of it is there.
int startsWith(const char* p, const char* end, const char* marker, qsizetype length)
{
    const qsizetype available = std::min<qsizetype>(end - p, length);
    if (std::memcmp(p, marker, size_t(available)) != 0)
        return 0;
    return available == length ? 1 : -1;
}

using Table = std::array<bool, 256>;

Table makeTable(std::initializer_list<uchar> bytes)
{
    Table table{};
    for (uchar c : bytes)
        table[c] = true;
    return table;
}

} // namespace

bool OrvXmlRepair::decideMode(const char* data, qsizetype size)
{
    // UTF-16/32 (with or without byte order mark) carry NUL bytes in their characters.
    const auto* b = reinterpret_cast<const uchar*>(data);
    const bool wide = (size >= 2 && ((b[0] == 0xFE && b[1] == 0xFF) || (b[0] == 0xFF && b[1] == 0xFE)))
        || (size >= 2 && (b[0] == 0 || b[1] == 0) && (b[0] == '<' || b[1] == '<'))
        || (size >= 4 && b[0] == 0 && b[1] == 0 && (b[2] == 0 || b[3] == 0));
    myMode = wide ? Mode::PassThrough : Mode::Repair;
    return true;
}

const char* OrvXmlRepair::scan(const char* begin, const char* end, bool final, const Sink& sink, bool* stopped)
{
    static const Table cdataSpecial = makeTable({']', 0});
    static const Table commentSpecial = makeTable({'-', 0});

    // In text only "&", NUL and the "!" of "<!--" and "<![CDATA[" matter, and
    // all three are rare in a library file: find them with memchr.
    struct Next
    {
        char c;
        const char* at = nullptr;
        const char* from(const char* p, const char* end)
        {
            if (at < p) {
                const void* found = std::memchr(p, c, size_t(end - p));
                at = found ? static_cast<const char*>(found) : end;
            }
            return at;
        }
    };
    Next amp{'&'};
    Next nul{'\0'};
    Next bang{'!'};

    const char* p = begin;
    const char* spanStart = begin;
    auto output = [&](const char* from, const char* to) {
        if (to > from && !*stopped && !sink(from, to - from))
            *stopped = true;
    };
    while (p < end && !*stopped) {
        if (myState == State::Text) {
            p = std::min({amp.from(p, end), nul.from(p, end), bang.from(p, end)});
        } else {
            const Table& special = myState == State::CData ? cdataSpecial : commentSpecial;
            while (p < end && !special[uchar(*p)])
                ++p;
        }
        if (p >= end)
            break;
        const char c = *p;
        if (c == 0) {
            output(spanStart, p);
            ++myRepairs;
            ++p;
            spanStart = p;
            continue;
        }
        if (myState == State::Text && c == '&') {
            Decision decision = referenceAt(p, end);
            if (decision == Undecided) {
                if (!final)
                    break;
                decision = Bare;
            }
            ++p;
            if (decision == Bare) {
                // Keep the "&" and add "amp;" after it.
                output(spanStart, p);
                if (!*stopped && !sink("amp;", 4))
                    *stopped = true;
                ++myRepairs;
                spanStart = p;
            }
            continue;
        }
        if (myState == State::Text) {  // '!'
            const char previous = p > begin ? p[-1] : myLastByte;
            if (previous != '<') {
                ++p;
                continue;
            }
            const int comment = startsWith(p, end, "!--", 3);
            const int cdata = startsWith(p, end, "![CDATA[", 8);
            if ((comment < 0 || cdata < 0) && !final)
                break;
            if (comment > 0) {
                myState = State::Comment;
                p += 3;
            } else if (cdata > 0) {
                myState = State::CData;
                p += 8;
            } else {
                ++p;
            }
            continue;
        }
        const char* close = myState == State::CData ? "]]>" : "-->";
        const int closing = startsWith(p, end, close, 3);
        if (closing < 0 && !final)
            break;
        if (closing > 0) {
            myState = State::Text;
            p += 3;
        } else {
            ++p;
        }
    }
    output(spanStart, p);
    // Whether a "!" at the start of the next piece follows a "<".
    if (p > begin)
        myLastByte = p[-1];
    return p;
}

bool OrvXmlRepair::feed(const char* data, qsizetype size, const Sink& sink)
{
    if (size <= 0)
        return true;
    if (myMode == Mode::Unknown) {
        if (myCarry.size() + size < 4) {
            myCarry.append(data, size);
            return true;
        }
        QByteArray head = myCarry + QByteArray::fromRawData(data, std::min<qsizetype>(size, 4));
        decideMode(head.constData(), head.size());
    }
    bool stopped = false;
    if (myMode == Mode::PassThrough) {
        if (!myCarry.isEmpty()) {
            const QByteArray carry = std::exchange(myCarry, QByteArray());
            if (!sink(carry.constData(), carry.size()))
                return false;
        }
        return sink(data, size);
    }
    const char* from = data;
    const char* end = data + size;
    if (!myCarry.isEmpty()) {
        // Decide what was held back with a little of the new piece; any construct
        // starting in the carry is decidable within maxReferenceLength more bytes.
        const qsizetype joinLength = std::min<qsizetype>(size, 4 * maxReferenceLength);
        QByteArray joined = myCarry;
        joined.append(data, joinLength);
        myCarry.clear();
        const char* stop = scan(joined.constData(), joined.constData() + joined.size(), false, sink, &stopped);
        const qsizetype consumed = stop - joined.constData();
        if (stopped)
            return false;
        const qsizetype carrySize = joined.size() - joinLength;
        if (consumed < carrySize || (consumed < joined.size() && joinLength == size)) {
            // Still undecided (only when the new piece is short): keep it all for the next one.
            myCarry = joined.mid(consumed);
            myCarry.append(data + joinLength, size - joinLength);
            return true;
        }
        from = data + (consumed - carrySize);
    }
    const char* stop = scan(from, end, false, sink, &stopped);
    if (stopped)
        return false;
    if (stop < end)
        myCarry = QByteArray(stop, end - stop);
    return true;
}

bool OrvXmlRepair::finish(const Sink& sink)
{
    if (myCarry.isEmpty())
        return true;
    const QByteArray carry = std::exchange(myCarry, QByteArray());
    if (myMode == Mode::Unknown)
        decideMode(carry.constData(), carry.size());
    if (myMode == Mode::PassThrough)
        return sink(carry.constData(), carry.size());
    bool stopped = false;
    scan(carry.constData(), carry.constData() + carry.size(), true, sink, &stopped);
    return !stopped;
}

QByteArray OrvXmlRepair::repaired(const QByteArray& bytes, qsizetype* repairs)
{
    if (repairs)
        *repairs = 0;
    if (!bytes.contains('&') && !bytes.contains('\0'))
        return bytes;
    OrvXmlRepair repair;
    QByteArray out;
    out.reserve(bytes.size() + 64);
    auto sink = [&out](const char* data, qsizetype size) {
        out.append(data, size);
        return true;
    };
    repair.feed(bytes.constData(), bytes.size(), sink);
    repair.finish(sink);
    if (repairs)
        *repairs = repair.repairs();
    // Nothing repaired means the output is the input.
    return repair.repairs() == 0 ? bytes : out;
}
