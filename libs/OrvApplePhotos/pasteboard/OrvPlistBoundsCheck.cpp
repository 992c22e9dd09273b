#include "OrvPlistBoundsCheck.h"

#include <QDebug>
#include <QXmlStreamReader>

#include <algorithm>
#include <vector>

namespace {

constexpr uint64_t headerSize = 8;
constexpr uint64_t trailerSize = 32;

uint64_t bigEndian(const uchar* at, uint64_t size)
{
    uint64_t value = 0;
    for (uint64_t i = 0; i < size; ++i)
        value = (value << 8) | at[i];
    return value;
}

bool isIntegerSize(uint64_t size) { return size == 1 || size == 2 || size == 4 || size == 8; }

// One object of a binary list as far as the walk needs it.
struct Object {
    enum Kind : uint8_t { Scalar, Text, Array, Dict };
    Kind kind = Scalar;
    uint64_t bytes = 0;   // what libplist copies out of a string or data
    uint64_t entries = 0; // of an array, or the key/value pairs of a dict
    uint64_t refs = 0;    // where the references of an array or dict start
};

// What the walk knows of an object once it has been through it.
struct Memo {
    enum State : uint8_t { Unvisited, Walking, Done };
    State state = Unvisited;
    Object::Kind kind = Object::Scalar;
    uint16_t depth = 0;
    uint32_t nodes = 0;
    uint32_t bytes = 0;
};

// An object being walked: the totals of its subtree so far, and its next reference.
struct Frame {
    uint64_t index = 0;
    Object object;
    uint64_t next = 0;
    uint64_t nodes = 1;
    uint64_t bytes = 0;
    uint64_t depth = 1;
};

class BinaryList
{
public:
    explicit BinaryList(const QByteArray& data)
        : myData(reinterpret_cast<const uchar*>(data.constData())), mySize(uint64_t(data.size()))
    {
    }

    bool walk();

private:
    bool readTrailer();
    bool readObject(uint64_t index, Object& object) const;
    bool readLength(uint64_t& at, uint8_t nibble, uint64_t& length) const;
    bool hasNul(uint64_t at, uint64_t units, uint64_t unitSize) const;
    static bool add(Frame& parent, const Memo& child);

    const uchar* myData;
    uint64_t mySize;
    uint64_t myOffsetSize = 0;
    uint64_t myRefSize = 0;
    uint64_t myObjects = 0;
    uint64_t myTop = 0;
    uint64_t myTable = 0; // where the offset table starts, and the objects end
};

bool BinaryList::readTrailer()
{
    if (mySize < headerSize + 1 + trailerSize)
        return false;
    const uchar* trailer = myData + mySize - trailerSize;
    myOffsetSize = trailer[6];
    myRefSize = trailer[7];
    myObjects = bigEndian(trailer + 8, 8);
    myTop = bigEndian(trailer + 16, 8);
    myTable = bigEndian(trailer + 24, 8);
    const uint64_t tableEnd = mySize - trailerSize;
    // A list with more objects than nodes allowed is refused whatever it references.
    return isIntegerSize(myOffsetSize) && isIntegerSize(myRefSize) && myObjects > 0 &&
           myObjects <= OrvPlistBoundsCheck::maxNodes && myTop < myObjects && myTable > headerSize &&
           myTable <= tableEnd && (tableEnd - myTable) / myOffsetSize >= myObjects;
}

// The count after a marker: its low nibble, or for 0xF the integer object that follows it.
bool BinaryList::readLength(uint64_t& at, uint8_t nibble, uint64_t& length) const
{
    if (nibble != 0xF) {
        length = nibble;
        return true;
    }
    if (at >= myTable)
        return false;
    const uint8_t marker = myData[at++];
    if ((marker & 0xF0) != 0x10 || (marker & 0x0F) > 3)
        return false;
    const uint64_t size = uint64_t(1) << (marker & 0x0F);
    if (myTable - at < size)
        return false;
    length = bigEndian(myData + at, size);
    at += size;
    return true;
}

bool BinaryList::hasNul(uint64_t at, uint64_t units, uint64_t unitSize) const
{
    for (uint64_t i = 0; i < units; ++i) {
        const uchar* unit = myData + at + i * unitSize;
        if (unit[0] == 0 && (unitSize == 1 || unit[1] == 0))
            return true;
    }
    return false;
}

bool BinaryList::readObject(uint64_t index, Object& object) const
{
    const uint64_t offset = bigEndian(myData + myTable + index * myOffsetSize, myOffsetSize);
    if (offset < headerSize || offset >= myTable)
        return false;
    uint64_t at = offset;
    const uint8_t marker = myData[at++];
    const uint8_t nibble = marker & 0x0F;
    uint64_t payload = 0;
    object = Object();
    switch (marker >> 4) {
    case 0x0: // false and true; null and fill only some libplist versions read
        if (marker != 0x08 && marker != 0x09)
            return false;
        break;
    case 0x1: // integers of 1 to 16 bytes
        if (nibble > 4)
            return false;
        payload = uint64_t(1) << nibble;
        break;
    case 0x2: // reals of 4 or 8 bytes
        if (nibble != 2 && nibble != 3)
            return false;
        payload = uint64_t(1) << nibble;
        break;
    case 0x3: // date
        if (marker != 0x33)
            return false;
        payload = 8;
        break;
    case 0x4:   // data
    case 0x5:   // ASCII string
    case 0x6: { // UTF-16 string
        uint64_t length = 0;
        if (!readLength(at, nibble, length) || length > myTable)
            return false;
        const uint64_t unitSize = (marker >> 4) == 0x6 ? 2 : 1;
        payload = length * unitSize;
        if (myTable - at < payload)
            return false;
        if ((marker >> 4) != 0x4) {
            if (hasNul(at, length, unitSize))
                return false;
            object.kind = Object::Text;
        }
        // UTF-16 becomes UTF-8: up to three bytes a unit.
        object.bytes = (marker >> 4) == 0x6 ? length * 3 : length;
        break;
    }
    case 0x8: // UID of 1 to 8 bytes
        if (nibble > 7)
            return false;
        payload = uint64_t(nibble) + 1;
        break;
    case 0xA:
    case 0xD: {
        uint64_t entries = 0;
        if (!readLength(at, nibble, entries) || entries > OrvPlistBoundsCheck::maxNodes)
            return false;
        object.kind = (marker >> 4) == 0xA ? Object::Array : Object::Dict;
        object.entries = entries;
        object.refs = at;
        payload = entries * myRefSize * (object.kind == Object::Dict ? 2 : 1);
        break;
    }
    default: // sets and what no libplist reads
        return false;
    }
    return myTable - at >= payload;
}

bool BinaryList::add(Frame& parent, const Memo& child)
{
    parent.nodes += child.nodes;
    parent.bytes += child.bytes;
    parent.depth = std::max<uint64_t>(parent.depth, uint64_t(child.depth) + 1);
    return parent.nodes <= OrvPlistBoundsCheck::maxNodes && parent.bytes <= OrvPlistBoundsCheck::maxBytes &&
           parent.depth <= uint64_t(OrvPlistBoundsCheck::maxDepth);
}

// Depth first from the top object, with an explicit stack no deeper than the depth allowed;
// an object is walked once, and every further reference to it adds what it was found to hold.
bool BinaryList::walk()
{
    if (!readTrailer())
        return false;
    std::vector<Memo> memo(myObjects);
    std::vector<Frame> stack;
    stack.reserve(OrvPlistBoundsCheck::maxDepth);
    const auto enter = [&](uint64_t index) {
        Frame frame;
        frame.index = index;
        if (!readObject(index, frame.object) || frame.object.bytes > OrvPlistBoundsCheck::maxBytes)
            return false;
        frame.bytes = frame.object.bytes;
        memo[index].state = Memo::Walking;
        stack.push_back(frame);
        return true;
    };
    if (!enter(myTop))
        return false;
    while (!stack.empty()) {
        Frame& frame = stack.back();
        const uint64_t refs = frame.object.entries * (frame.object.kind == Object::Dict ? 2 : 1);
        if (frame.next < refs) {
            const bool isKey = frame.object.kind == Object::Dict && frame.next < frame.object.entries;
            const uint64_t child = bigEndian(myData + frame.object.refs + frame.next * myRefSize, myRefSize);
            ++frame.next;
            if (child >= myObjects)
                return false;
            const Memo& known = memo[child];
            if (known.state == Memo::Walking) // a cycle
                return false;
            if (known.state == Memo::Done) {
                if ((isKey && known.kind != Object::Text) || !add(frame, known))
                    return false;
                continue;
            }
            if (stack.size() >= size_t(OrvPlistBoundsCheck::maxDepth) || !enter(child))
                return false;
            if (isKey && stack.back().object.kind != Object::Text)
                return false;
            continue;
        }
        Memo& done = memo[frame.index];
        done.state = Memo::Done;
        done.kind = frame.object.kind;
        done.depth = uint16_t(frame.depth);
        done.nodes = uint32_t(frame.nodes);
        done.bytes = uint32_t(frame.bytes);
        stack.pop_back();
        if (!stack.empty() && !add(stack.back(), done))
            return false;
    }
    return true;
}

bool isXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

} // namespace

bool OrvPlistBoundsCheck::admits(const QByteArray& propertyList)
{
    const bool admitted =
        propertyList.startsWith("bplist00") ? admitsBinary(propertyList) : admitsXml(propertyList);
    if (!admitted)
        qDebug() << "OrvPlistBoundsCheck: not a property list within bounds," << propertyList.size() << "bytes";
    return admitted;
}

bool OrvPlistBoundsCheck::admitsXml(const QByteArray& xml)
{
    // Anything else libplist would take for JSON or OpenStep, depending on its version.
    const auto markup = std::find_if_not(xml.cbegin(), xml.cend(), isXmlSpace);
    if (markup == xml.cend() || *markup != '<')
        return false;
    QXmlStreamReader reader(xml);
    int depth = 0;
    uint64_t elements = 0;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            // The <plist> element around the value is no node of the tree.
            if (++depth > maxDepth + 1 || ++elements > uint64_t(maxNodes) + 1)
                return false;
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        case QXmlStreamReader::DTD:
            // A document type by name only: an internal subset is where entities are declared.
            if (reader.text().contains(u'[') || !reader.entityDeclarations().isEmpty() ||
                !reader.notationDeclarations().isEmpty())
                return false;
            break;
        case QXmlStreamReader::EntityReference:
            return false;
        default:
            break;
        }
    }
    return !reader.hasError();
}

bool OrvPlistBoundsCheck::admitsBinary(const QByteArray& binary)
{
    return binary.startsWith("bplist00") && BinaryList(binary).walk();
}
