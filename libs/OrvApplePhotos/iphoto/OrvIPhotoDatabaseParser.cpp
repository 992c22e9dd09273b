#include "OrvIPhotoDatabaseParser.h"

#include "OrvExternalMonthSynthesizer.h"

#include "OrvXmlRepair.h"

#include <QDebug>
#include <QFile>

#include <libxml/parser.h>
#include <pthread.h>
#include <unistd.h>

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <future>
#include <deque>
#include <mutex>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

// The key texts of the library file that the walk looks at.
constexpr QByteArrayView keyElement("key");
constexpr QByteArrayView dictElement("dict");
constexpr QByteArrayView listOfFacesKey("List of Faces");
constexpr QByteArrayView listOfAlbumsKey("List of Albums");
constexpr QByteArrayView masterImageListKey("Master Image List");
constexpr QByteArrayView albumIdKey("AlbumId");
constexpr QByteArrayView albumNameKey("AlbumName");
constexpr QByteArrayView albumTypeKey("Album Type");
constexpr QByteArrayView keyListKey("KeyList");
constexpr QByteArrayView imagePathKey("ImagePath");
constexpr QByteArrayView thumbPathKey("ThumbPath");
constexpr QByteArrayView mediaTypeKey("MediaType");
constexpr QByteArrayView imageMediaType("Image");
constexpr QByteArrayView facesKey("Faces");
constexpr QByteArrayView dateKey("DateAsTimerInterval");
constexpr QByteArrayView ratingKey("Rating");
constexpr QByteArrayView faceKeyKey("face key");
constexpr QByteArrayView rectangleKey("rectangle");
constexpr QByteArrayView nameKey("name");

// Bytes read from the file at a time; the walk holds nothing of the file beyond that.
constexpr qint64 readChunk = 1 << 20;

// What the children of an element are, by where the element stands.
enum class Role : quint8 {
    Ignore,
    Document,      // the document element: its first "dict" child is the top dict
    TopDict,       // "List of Faces", "List of Albums", "Master Image List"
    PersonsDict,   // person key -> person dict
    PersonDict,    // "name"
    AlbumArray,    // every child is an album dict
    AlbumDict,     // "AlbumId", "AlbumName", "Album Type", "KeyList"
    KeyListArray,  // every child's text is a foto key
    FotosDict,     // foto key -> foto dict
    FotoDict,      // "ImagePath", "ThumbPath", "MediaType", "Faces", "DateAsTimerInterval", "Rating"
    FacesArray,    // its "dict" children are face dicts
    FaceDict,      // "face key", "rectangle"
};

enum class Key : quint8 {
    None,
    Other,
    Entry,  // any key of PersonsDict or FotosDict: the id of what follows
    ListOfFaces,
    ListOfAlbums,
    MasterImageList,
    AlbumId,
    AlbumName,
    AlbumType,
    KeyList,
    ImagePath,
    ThumbPath,
    MediaType,
    Faces,
    Date,
    Rating,
    FaceKey,
    Rectangle,
    Name,
    KeyListItem,
};

bool isDictLike(Role role)
{
    switch (role) {
    case Role::TopDict:
    case Role::PersonsDict:
    case Role::PersonDict:
    case Role::AlbumDict:
    case Role::FotosDict:
    case Role::FotoDict:
    case Role::FaceDict:
        return true;
    default:
        return false;
    }
}

Key keyOf(Role dict, QByteArrayView text)
{
    switch (dict) {
    case Role::TopDict:
        if (text == listOfFacesKey)
            return Key::ListOfFaces;
        if (text == listOfAlbumsKey)
            return Key::ListOfAlbums;
        if (text == masterImageListKey)
            return Key::MasterImageList;
        break;
    case Role::PersonsDict:
    case Role::FotosDict:
        return Key::Entry;
    case Role::PersonDict:
        if (text == nameKey)
            return Key::Name;
        break;
    case Role::AlbumDict:
        if (text == albumTypeKey)
            return Key::AlbumType;
        if (text == albumIdKey)
            return Key::AlbumId;
        if (text == keyListKey)
            return Key::KeyList;
        if (text == albumNameKey)
            return Key::AlbumName;
        break;
    case Role::FotoDict:
        if (text == imagePathKey)
            return Key::ImagePath;
        if (text == thumbPathKey)
            return Key::ThumbPath;
        if (text == mediaTypeKey)
            return Key::MediaType;
        if (text == facesKey)
            return Key::Faces;
        if (text == dateKey)
            return Key::Date;
        if (text == ratingKey)
            return Key::Rating;
        break;
    case Role::FaceDict:
        if (text == faceKeyKey)
            return Key::FaceKey;
        if (text == rectangleKey)
            return Key::Rectangle;
        break;
    default:
        break;
    }
    return Key::Other;
}

// How the children of the value of a key are read.
Role valueRole(Role dict, Key key)
{
    switch (key) {
    case Key::ListOfFaces:
        return Role::PersonsDict;
    case Key::ListOfAlbums:
        return Role::AlbumArray;
    case Key::MasterImageList:
        return Role::FotosDict;
    case Key::KeyList:
        return Role::KeyListArray;
    case Key::Faces:
        return Role::FacesArray;
    case Key::Entry:
        return dict == Role::FotosDict ? Role::FotoDict : Role::PersonDict;
    default:
        return Role::Ignore;
    }
}

bool valueNeedsText(Key key)
{
    switch (key) {
    case Key::AlbumId:
    case Key::AlbumName:
    case Key::AlbumType:
    case Key::ImagePath:
    case Key::ThumbPath:
    case Key::MediaType:
    case Key::Date:
    case Key::Rating:
    case Key::FaceKey:
    case Key::Rectangle:
    case Key::Name:
    case Key::KeyListItem:
        return true;
    default:
        return false;
    }
}

bool isAscii(QByteArrayView text)
{
    for (char c : text) {
        if (uchar(c) >= 0x80)
            return false;
    }
    return true;
}

// A text as a number as QString::toDouble reads it; 0 when it is none.
double toDouble(QByteArrayView text)
{
    bool ok = false;
    const double value = isAscii(text) ? QByteArray::fromRawData(text.data(), text.size()).toDouble(&ok)
                                       : QString::fromUtf8(text).toDouble(&ok);
    return ok && std::isfinite(value) ? value : 0.0;
}

// The text of an element is empty when it has none, and null when there is no element at all (as in a DOM).
QString toQString(QByteArrayView text, bool present)
{
    if (!text.isEmpty())
        return QString::fromUtf8(text);
    return present ? QStringLiteral("") : QString();
}

// The epoch plus whole seconds, in local time: what iPhotoEpoch().addSecs gives, for less.
QDateTime dateAfterEpoch(double wholeSeconds, qint64 epochMSecs)
{
    // Beyond some million years QDateTime has no answer.
    if (std::abs(wholeSeconds) > 1e14)
        return QDateTime();
    return QDateTime::fromMSecsSinceEpoch(epochMSecs + qint64(wholeSeconds) * 1000, Qt::LocalTime);
}

// The file name of a path, as QFileInfo::fileName gives it.
QString fileNameOf(const QString& path) { return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1); }

// Whether a run of text between two pieces of markup holds nothing but white
// space; such runs are not part of an element's text (as in a DOM load).
bool isWhiteSpaceRun(const char* data, size_t size)
{
    bool ascii = true;
    for (size_t i = 0; i < size; ++i) {
        const uchar c = uchar(data[i]);
        if (c >= 0x80) {
            ascii = false;
            continue;
        }
        if (c != ' ' && c != '\n' && c != '\t' && c != '\r')
            return false;
    }
    if (ascii)
        return true;
    const QString text = QString::fromUtf8(data, qsizetype(size));
    for (QChar c : text) {
        if (!c.isSpace())
            return false;
    }
    return true;
}

// ---- What the reading thread hands to the building one: the values of the
// keys as they stand at the end of each entry (later keys already won), as
// spans of one byte arena per batch.

struct Text
{
    quint32 offset = 0;
    quint32 length = 0;
    bool present = false;  // false: there was no value element at all
};

struct FaceRecord
{
    bool hasKey = false;
    Text key;
    QRectF rect;
};

struct FotoRecord
{
    Text key;
    Text imagePath;
    Text thumbPath;
    bool hasDate = false;
    double seconds = 0;  // whole seconds after the epoch
    int rating = 0;
    quint32 firstFace = 0;
    quint32 faceCount = 0;
};

struct AlbumRecord
{
    bool hasId = false;
    Text id;
    Text name;
    bool hasType = false;
    Text type;
    quint32 firstKey = 0;
    quint32 keyCount = 0;
};

struct PersonRecord
{
    Text key;
    Text name;
};

struct Batch
{
    std::string bytes;
    std::vector<FotoRecord> fotos;
    std::vector<FaceRecord> faces;
    std::vector<AlbumRecord> albums;
    std::vector<Text> keys;  // the KeyList entries of the albums
    std::vector<PersonRecord> persons;

    QByteArrayView view(Text text) const { return QByteArrayView(bytes.data() + text.offset, text.length); }
    bool isLarge() const { return bytes.size() > (256u << 10) || fotos.size() >= 1024; }
};

using BatchSink = std::function<void(std::unique_ptr<Batch>)>;

void* runFunction(void* function)
{
    (*static_cast<std::function<void()>*>(function))();
    return nullptr;
}

// Batches between the two threads; a full queue holds the reader back, so memory stays bounded.
class BatchQueue
{
public:
    void push(std::unique_ptr<Batch> batch)
    {
        std::unique_lock<std::mutex> lock(myMutex);
        myRoom.wait(lock, [this] { return myBatches.size() < maxBatches; });
        myBatches.push_back(std::move(batch));
        myReady.notify_one();
    }
    // Null once the reader is done and everything was taken.
    std::unique_ptr<Batch> pop()
    {
        std::unique_lock<std::mutex> lock(myMutex);
        myReady.wait(lock, [this] { return !myBatches.empty() || myClosed; });
        if (myBatches.empty())
            return nullptr;
        std::unique_ptr<Batch> batch = std::move(myBatches.front());
        myBatches.pop_front();
        myRoom.notify_one();
        return batch;
    }
    void close()
    {
        const std::lock_guard<std::mutex> lock(myMutex);
        myClosed = true;
        myReady.notify_all();
    }

private:
    static constexpr size_t maxBatches = 4;
    std::mutex myMutex;
    std::condition_variable myReady;
    std::condition_variable myRoom;
    std::deque<std::unique_ptr<Batch>> myBatches;
    bool myClosed = false;
};

// One id per distinct key: a foto's key recurs in every album that holds it,
// and all of them can share one id. An open-addressing table over one byte
// arena: far fewer cache misses than a hash of byte arrays.
class IdInterner
{
public:
    using Make = OrvExternalId (OrvExternalAccess::*)(const QString&) const;
    IdInterner(const OrvExternalAccess& access, Make make) : myAccess(access), myMake(make) {}

    OrvExternalId intern(QByteArrayView text)
    {
        if ((myEntries.size() + 1) * 2 > mySlots.size())
            grow();
        const size_t hash = qHashBits(text.data(), size_t(text.size()), QHashSeed::globalSeed());
        const size_t mask = mySlots.size() - 1;
        for (size_t i = hash & mask;; i = (i + 1) & mask) {
            const quint32 slot = mySlots[i];
            if (slot == 0) {
                mySlots[i] = quint32(myEntries.size() + 1);
                myEntries.push_back({hash, myBytes.size(), size_t(text.size()), (myAccess.*myMake)(QString::fromUtf8(text))});
                myBytes.append(text.data(), size_t(text.size()));
                return myEntries.back().value;
            }
            const Entry& entry = myEntries[slot - 1];
            if (entry.hash == hash && entry.length == size_t(text.size())
                && std::memcmp(myBytes.data() + entry.offset, text.data(), entry.length) == 0)
                return entry.value;
        }
    }

private:
    struct Entry
    {
        size_t hash;
        size_t offset;
        size_t length;
        OrvExternalId value;
    };

    void grow()
    {
        std::vector<quint32> table(std::max<size_t>(1024, mySlots.size() * 2), 0);
        const size_t mask = table.size() - 1;
        for (size_t e = 0; e < myEntries.size(); ++e) {
            size_t i = myEntries[e].hash & mask;
            while (table[i] != 0)
                i = (i + 1) & mask;
            table[i] = quint32(e + 1);
        }
        mySlots.swap(table);
    }

    const OrvExternalAccess& myAccess;
    const Make myMake;
    std::vector<quint32> mySlots;
    std::vector<Entry> myEntries;
    std::string myBytes;
};

// The walk over the document, fed by libxml2's push parser (SAX, without
// namespace processing: names are read as written): touches no Qt object, so
// it can run on a thread of its own. One frame per open element says how its
// children are read; the text of the elements whose text is needed is gathered
// in one buffer (an element's text is a contiguous stretch of it).
class Walker
{
public:
    // A quiet walker keeps its verdict to itself (a reader that only guesses where it starts).
    explicit Walker(BatchSink sink, bool quiet = false) : mySink(std::move(sink)), myQuiet(quiet), myBatch(new Batch)
    {
        myFrames.reserve(16);
        myText.reserve(4096);
        static const bool initialized = [] {
            xmlInitParser();
            return true;
        }();
        Q_UNUSED(initialized);
        xmlSAXHandler handler;
        std::memset(&handler, 0, sizeof handler);
        // The first version of the interface: no namespace processing, names come as written.
        handler.initialized = 1;
        handler.startElement = &Walker::onStart;
        handler.endElement = &Walker::onEnd;
        handler.characters = &Walker::onText;
        handler.ignorableWhitespace = &Walker::onText;
        handler.cdataBlock = &Walker::onCdata;
        handler.comment = &Walker::onMarkup;
        handler.processingInstruction = &Walker::onProcessingInstruction;
        handler.reference = &Walker::onMarkup;
        // Nothing may expand: a document that declares entities is refused.
        handler.entityDecl = &Walker::onEntityDeclaration;
        handler.error = &Walker::onError;
        handler.fatalError = &Walker::onError;
        handler.warning = &Walker::onWarning;
        myXml = xmlCreatePushParserCtxt(&handler, this, nullptr, 0, nullptr);
        if (!myXml)
            return;
        // No network, no DTD loading, no entity substitution; the nesting limit is ours (maxDepth).
        xmlCtxtUseOptions(myXml, XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOWARNING);
    }
    ~Walker()
    {
        if (!myXml)
            return;
        // libxml2 may make a document of its own to keep declared entities in; it is the caller's to free.
        if (myXml->myDoc)
            xmlFreeDoc(myXml->myDoc);
        xmlFreeParserCtxt(myXml);
    }
    Walker(const Walker&) = delete;
    Walker& operator=(const Walker&) = delete;

    // False once the document turned out not to be well-formed (or refused).
    bool feed(const char* data, qsizetype size, bool final)
    {
        if (myFailed || !myXml)
            return false;
        // Pieces above INT_MAX never come: the reader hands over readChunk at a time.
        xmlParseChunk(myXml, data, int(size), final ? 1 : 0);
        if (!myRefusal.isEmpty() || !myXml->wellFormed) {
            myFailed = true;
            if (myQuiet)
                return false;
            if (myRefusal.isEmpty())
                qDebug() << "OrvIPhotoDatabaseParser: not well-formed at line" << myErrorLine << myError;
            else
                qDebug() << "OrvIPhotoDatabaseParser:" << myRefusal;
            return false;
        }
        if (final)
            mySink(std::exchange(myBatch, std::make_unique<Batch>()));
        return true;
    }

    bool failed() const { return myFailed || !myXml; }

    // Where the start tag of the document element ends (its offset in what
    // was fed), -1 while unknown or when the document element is empty.
    qint64 rootTagEnd() const { return myRootTagEnd; }

    // Whether what was fed ends between two entries of the first "Master
    // Image List" dict, directly below the top dict, with nothing but blanks
    // after the last piece of markup: there the rest of the document reads
    // exactly as it would after a document element start tag followed by
    // <dict><key>Master Image List</key><dict>, and another walker can take over.
    bool isBetweenFotoEntries() const
    {
        if (failed() || myCollectors != 0 || myFrames.size() != 3 || myXml->instate != XML_PARSER_CONTENT
            || myXml->inputNr != 1 || myXml->nameNr != 3 || !myXml->input || !myXml->input->cur)
            return false;
        // Offsets are those of the file only while nothing is converted from another encoding.
        if (!myXml->input->buf || myXml->input->buf->encoder)
            return false;
        const Frame& top = myFrames[1];
        const Frame& fotos = myFrames[2];
        if (top.role != Role::TopDict || top.pending || fotos.role != Role::FotosDict || fotos.pending
            || fotos.valueOf != Key::MasterImageList)
            return false;
        if (!isNamed(reinterpret_cast<const char*>(myXml->nameTab[1]), dictElement)
            || !isNamed(reinterpret_cast<const char*>(myXml->nameTab[2]), dictElement))
            return false;
        for (const xmlChar* c = myXml->input->cur; c < myXml->input->end; ++c) {
            if (*c != ' ' && *c != '\t' && *c != '\n' && *c != '\r')
                return false;
        }
        return true;
    }

    // Hands what was read so far to the sink (the walk stops here).
    void flush() { mySink(std::exchange(myBatch, std::make_unique<Batch>())); }

private:
    struct Frame
    {
        Role role = Role::Ignore;
        Key valueOf = Key::None;  // the key of the parent this element is the value of
        bool isKey = false;       // a "key" child of a dict
        bool collecting = false;
        size_t textStart = 0;
        // Dicts: the last child was a key still waiting for its value.
        bool pending = false;
        Key pendingKey = Key::None;
        std::string pendingEntry;  // its text, for the entries of PersonsDict and FotosDict
    };

    static void onStart(void* self, const xmlChar* name, const xmlChar**)
    {
        static_cast<Walker*>(self)->start(reinterpret_cast<const char*>(name));
    }
    static void onEnd(void* self, const xmlChar*) { static_cast<Walker*>(self)->end(); }
    static void onText(void* self, const xmlChar* text, int length)
    {
        // Text outside the elements we read is of no interest.
        Walker* walker = static_cast<Walker*>(self);
        if (walker->myCollectors > 0)
            walker->myText.append(reinterpret_cast<const char*>(text), size_t(length));
    }
    static void onCdata(void* self, const xmlChar* text, int length)
    {
        // CDATA is text even when it is all blanks (a long section may come in pieces).
        Walker* walker = static_cast<Walker*>(self);
        walker->endRun();
        onText(self, text, length);
        walker->myRunStart = walker->myText.size();
    }
    static void onMarkup(void* self, const xmlChar*) { static_cast<Walker*>(self)->endRun(); }
    static void onProcessingInstruction(void* self, const xmlChar*, const xmlChar*)
    {
        static_cast<Walker*>(self)->endRun();
    }
    static void onEntityDeclaration(void* self, const xmlChar*, int, const xmlChar*, const xmlChar*, xmlChar*)
    {
        static_cast<Walker*>(self)->refuse(QStringLiteral("refusing entity declarations"));
    }
    // Errors are kept for one debug line, never printed by the library.
    static void onError(void* self, const char* format, ...)
    {
        Walker* walker = static_cast<Walker*>(self);
        if (!walker->myError.isEmpty())
            return;
        char message[256];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(message, sizeof message, format, arguments);
        va_end(arguments);
        walker->myError = QString::fromUtf8(message).trimmed();
        walker->myErrorLine = walker->myXml && walker->myXml->input ? walker->myXml->input->line : 0;
    }
    static void onWarning(void*, const char*, ...) {}

    void refuse(const QString& why)
    {
        if (myRefusal.isEmpty())
            myRefusal = why;
        xmlStopParser(myXml);
    }

    // A run of text ends at every piece of markup; a run of blanks is dropped.
    void endRun()
    {
        if (myText.size() > myRunStart && isWhiteSpaceRun(myText.data() + myRunStart, myText.size() - myRunStart))
            myText.resize(myRunStart);
        myRunStart = myText.size();
    }

    static bool isNamed(const char* name, QByteArrayView expected)
    {
        return std::strncmp(name, expected.data(), size_t(expected.size())) == 0 && name[expected.size()] == 0;
    }

    void start(const char* name)
    {
        endRun();
        if (myFrames.size() >= size_t(OrvIPhotoDatabaseParser::maxDepth)) {
            refuse(QStringLiteral("refusing nesting deeper than %1").arg(OrvIPhotoDatabaseParser::maxDepth));
            return;
        }
        Frame frame;
        bool needsText = false;
        if (myFrames.empty()) {
            frame.role = Role::Document;
            // Called with the input at the ">" (or "/>") of the start tag.
            const xmlParserInputPtr input = myXml->input;
            if (input && input->cur && input->cur < input->end && *input->cur == '>')
                myRootTagEnd = qint64(input->consumed) + (input->cur - input->base) + 1;
        } else {
            Frame& parent = myFrames.back();
            if (parent.role == Role::Document) {
                if (!myTopDictSeen && isNamed(name, dictElement)) {
                    myTopDictSeen = true;
                    frame.role = Role::TopDict;
                }
            } else if (isDictLike(parent.role)) {
                frame.isKey = isNamed(name, keyElement);
                if (parent.pending) {
                    parent.pending = false;
                    frame.valueOf = parent.pendingKey;
                    frame.role = valueRole(parent.role, parent.pendingKey);
                    needsText = valueNeedsText(parent.pendingKey);
                    if (parent.pendingKey == Key::Entry)
                        beginEntry(parent.role, parent.pendingEntry);
                }
            } else if (parent.role == Role::AlbumArray) {
                frame.role = Role::AlbumDict;
            } else if (parent.role == Role::KeyListArray) {
                frame.valueOf = Key::KeyListItem;
                needsText = true;
            } else if (parent.role == Role::FacesArray && isNamed(name, dictElement)) {
                frame.role = Role::FaceDict;
            }
        }
        switch (frame.role) {
        case Role::AlbumDict:
            myAlbum = AlbumRecord();
            myAlbum.firstKey = quint32(myBatch->keys.size());
            break;
        case Role::FaceDict:
            myFace = FaceRecord();
            break;
        default:
            break;
        }
        if (frame.isKey || needsText) {
            frame.collecting = true;
            frame.textStart = myText.size();
            ++myCollectors;
        }
        myFrames.push_back(std::move(frame));
    }

    void end()
    {
        endRun();
        if (myFrames.empty())
            return;
        // Frames stay in place (and keep their buffers) until the end of this call.
        const size_t depth = myFrames.size();
        Frame& frame = myFrames[depth - 1];
        Frame* parent = depth >= 2 ? &myFrames[depth - 2] : nullptr;
        const QByteArrayView text = frame.collecting
            ? QByteArrayView(myText.data() + frame.textStart, qsizetype(myText.size() - frame.textStart))
            : QByteArrayView();

        // A key left without a value at the end of its dict pairs with nothing.
        if (isDictLike(frame.role) && frame.pending) {
            if (frame.pendingKey == Key::Entry && frame.role == Role::PersonsDict) {
                beginEntry(frame.role, frame.pendingEntry);
                finishRole(Role::PersonDict);
            } else if (valueNeedsText(frame.pendingKey)) {
                applyText(frame.pendingKey, QByteArrayView(), false);
            }
        }
        finishRole(frame.role);

        if (parent) {
            if (frame.valueOf != Key::None && valueNeedsText(frame.valueOf))
                applyText(frame.valueOf, text, true);
            if (frame.isKey) {
                parent->pending = true;
                parent->pendingKey = keyOf(parent->role, text);
                if (parent->pendingKey == Key::Entry)
                    parent->pendingEntry.assign(text.data(), size_t(text.size()));
            }
        }
        if (frame.collecting && --myCollectors == 0) {
            myText.clear();
            myRunStart = 0;
        }
        myFrames.pop_back();
    }

    Text store(QByteArrayView text, bool present)
    {
        Text stored;
        stored.offset = quint32(myBatch->bytes.size());
        stored.length = quint32(text.size());
        stored.present = present;
        // An absent value has no data pointer at all.
        if (!text.isEmpty())
            myBatch->bytes.append(text.data(), size_t(text.size()));
        return stored;
    }

    // The value of an entry of "List of Faces" or "Master Image List" starts.
    void beginEntry(Role dict, const std::string& key)
    {
        const Text stored = store(QByteArrayView(key.data(), qsizetype(key.size())), true);
        if (dict == Role::FotosDict) {
            myFoto = FotoRecord();
            myIsImage = false;
            myFoto.key = stored;
            myFoto.firstFace = quint32(myBatch->faces.size());
        } else {
            myPerson = PersonRecord();
            myPerson.key = stored;
        }
    }

    // An element whose children were read in a role ends.
    void finishRole(Role role)
    {
        switch (role) {
        case Role::AlbumDict:
            // Albums without an "AlbumId" have no id and are dropped.
            if (myAlbum.hasId) {
                myAlbum.keyCount = quint32(myBatch->keys.size()) - myAlbum.firstKey;
                myBatch->albums.push_back(myAlbum);
            }
            break;
        case Role::FotoDict:
            // Movies and entries without "MediaType" are left out.
            if (myIsImage)
                myBatch->fotos.push_back(myFoto);
            if (myBatch->isLarge())
                mySink(std::exchange(myBatch, std::make_unique<Batch>()));
            break;
        case Role::FaceDict:
            myBatch->faces.push_back(myFace);
            ++myFoto.faceCount;
            break;
        case Role::PersonDict:
            myBatch->persons.push_back(myPerson);
            break;
        default:
            break;
        }
    }

    // The text of the value of a key (empty and not present for a key without value).
    void applyText(Key key, QByteArrayView text, bool present)
    {
        switch (key) {
        case Key::AlbumType:
            myAlbum.hasType = true;
            myAlbum.type = store(text, present);
            break;
        case Key::AlbumId:
            myAlbum.hasId = true;
            myAlbum.id = store(text, present);
            break;
        case Key::AlbumName:
            myAlbum.name = store(text, present);
            break;
        case Key::KeyListItem:
            myBatch->keys.push_back(store(text, present));
            break;
        case Key::ImagePath:
            myFoto.imagePath = store(text, present);
            break;
        case Key::ThumbPath:
            myFoto.thumbPath = store(text, present);
            break;
        case Key::MediaType:
            myIsImage = text == imageMediaType;
            break;
        case Key::Date:
            myFoto.hasDate = true;
            myFoto.seconds = std::trunc(toDouble(text));
            break;
        case Key::Rating:
            myFoto.rating = OrvIPhotoDatabaseParser::rating(text);
            break;
        case Key::FaceKey:
            myFace.hasKey = true;
            myFace.key = store(text, present);
            break;
        case Key::Rectangle:
            OrvIPhotoDatabaseParser::matchFaceRectangle(text, &myFace.rect);
            break;
        case Key::Name:
            myPerson.name = store(text, present);
            break;
        default:
            break;
        }
    }

    BatchSink mySink;
    const bool myQuiet;
    xmlParserCtxtPtr myXml = nullptr;
    bool myFailed = false;
    QString myRefusal;
    QString myError;
    int myErrorLine = 0;
    qint64 myRootTagEnd = -1;
    bool myTopDictSeen = false;
    std::vector<Frame> myFrames;
    std::string myText;
    size_t myRunStart = 0;
    int myCollectors = 0;

    std::unique_ptr<Batch> myBatch;
    FotoRecord myFoto;
    bool myIsImage = false;
    FaceRecord myFace;
    AlbumRecord myAlbum;
    PersonRecord myPerson;
};

// Turns the records into the host's albums, fotos and persons (on the caller's thread).
class Builder
{
public:
    // Unpooled: the fotos are only listed, in order (the pool that takes them dedupes).
    explicit Builder(const OrvIPhotoDatabaseParser& parser, bool pooled = true)
        : myParser(parser), myEpochMSecs(OrvIPhotoDatabaseParser::iPhotoEpoch().toMSecsSinceEpoch()), myPooled(pooled)
    {
    }

    void take(const Batch& batch)
    {
        for (const AlbumRecord& record : batch.albums) {
            OrvExternalIdList ids;
            ids.reserve(record.keyCount);
            for (quint32 i = record.firstKey; i < record.firstKey + record.keyCount; ++i)
                ids.append(fotoId(batch, batch.keys[i]));
            const OrvExternalAlbumType type = record.hasType ? myParser.albumType(string(batch, record.type))
                                                             : OrvExternalAlbumType(32);
            const OrvExternalAlbum album(myParser.buildAlbumId(string(batch, record.id)), string(batch, record.name), ids, type);
            if (album.isValid())
                albums.add(album);
        }
        for (const FotoRecord& record : batch.fotos) {
            OrvExternalFaceList faces;
            faces.reserve(record.faceCount);
            for (quint32 i = record.firstFace; i < record.firstFace + record.faceCount; ++i) {
                const FaceRecord& face = batch.faces[i];
                faces.add(OrvExternalFace(face.hasKey ? faceId(batch, face.key) : OrvExternalId(), face.rect));
            }
            const QString imagePath = string(batch, record.imagePath);
            auto data = std::make_shared<OrvExternalFotoImplDataLocalDatabase>(
                fotoId(batch, record.key), fileNameOf(imagePath), date(record), imagePath,
                string(batch, record.thumbPath), faces);
            data->setAdobeRating(record.rating);
            OrvExternalFoto foto(std::shared_ptr<const OrvExternalFotoImplData>(std::move(data)));
            if (myPooled)
                fotos.add(foto);
            else
                fotoList.append(foto);
        }
        for (const PersonRecord& record : batch.persons) {
            const OrvExternalAlbum person(faceId(batch, record.key), string(batch, record.name),
                                          OrvExternalIdList(), OrvExternalAlbumType(2));
            if (person.isValid())
                persons.add(person);
        }
    }

    OrvExternalAlbumPool albums;
    OrvExternalFotoPool fotos;
    OrvExternalFotoList fotoList;
    OrvExternalAlbumPool persons;

private:
    static QString string(const Batch& batch, Text text) { return toQString(batch.view(text), text.present); }

    // An empty key keeps its null-or-empty text in the id, which interning would lose.
    OrvExternalId fotoId(const Batch& batch, Text text)
    {
        return text.length == 0 ? myParser.buildFotoId(string(batch, text)) : myFotoIds.intern(batch.view(text));
    }
    OrvExternalId faceId(const Batch& batch, Text text)
    {
        return text.length == 0 ? myParser.buildFaceId(string(batch, text)) : myFaceIds.intern(batch.view(text));
    }

    QDateTime date(const FotoRecord& record) const
    {
        return record.hasDate ? dateAfterEpoch(record.seconds, myEpochMSecs) : QDateTime();
    }

    const OrvIPhotoDatabaseParser& myParser;
    // The epoch's instant in the time zone of this parse (the epoch is local midnight).
    const qint64 myEpochMSecs;
    const bool myPooled;
    IdInterner myFotoIds{myParser, &OrvExternalAccess::buildFotoId};
    IdInterner myFaceIds{myParser, &OrvExternalAccess::buildFaceId};
};

} // namespace

OrvIPhotoDatabaseParser::OrvIPhotoDatabaseParser(const OrvExternalUrlBuilder& builder) : OrvExternalAccess(builder) {}

OrvIPhotoDatabaseParser::~OrvIPhotoDatabaseParser() = default;

void OrvIPhotoDatabaseParser::fillAlbumTypes()
{
    myAlbumTypes.insert(QStringLiteral("Regular"), OrvExternalAlbumType(1));
    myAlbumTypes.insert(QStringLiteral("Smart"), OrvExternalAlbumType(1));
    myAlbumTypes.insert(QStringLiteral("Event"), OrvExternalAlbumType(2048));
    myAlbumTypes.insert(QStringLiteral("1"), OrvExternalAlbumType(1));
    myAlbumTypes.insert(QStringLiteral("2"), OrvExternalAlbumType(1));
    myAlbumTypes.insert(QStringLiteral("3"), OrvExternalAlbumType(32));
    myAlbumTypes.insert(QStringLiteral("4"), OrvExternalAlbumType(1));
}

namespace {

// The library file, or bytes already in memory: read at any offset, from any thread.
struct Input
{
    qint64 size = 0;
    std::function<qint64(qint64 offset, char* buffer, qint64 size)> readAt;
};

// Feeds [from, to) of the input through the repair into the sink; false on a
// read error, a broken document or when cancel is set.
bool pump(const Input& input, qint64 from, qint64 to, OrvXmlRepair& repair, const OrvXmlRepair::Sink& sink,
          char* buffer, const std::atomic<bool>* cancel = nullptr)
{
    for (qint64 at = from; at < to;) {
        if (cancel && cancel->load(std::memory_order_relaxed))
            return false;
        const qint64 count = input.readAt(at, buffer, std::min(readChunk, to - at));
        if (count <= 0) {
            qDebug() << "OrvIPhotoDatabaseParser: read error";
            return false;
        }
        if (!repair.feed(buffer, count, sink))
            return false;
        at += count;
    }
    return true;
}

OrvXmlRepair::Sink into(Walker& walker)
{
    return [&walker](const char* data, qsizetype size) { return walker.feed(data, size, false); };
}

bool finish(OrvXmlRepair& repair, Walker& walker)
{
    return repair.finish(into(walker)) && walker.feed(nullptr, 0, true) && !walker.failed();
}

// Where a second reader may start: the "<key>" of an entry of a dict of
// dicts ("</dict> <key>...</key> <dict>") at or after from. Only a guess:
// the first reader confirms it when it gets there.
qint64 findHandOver(const Input& input, qint64 from)
{
    constexpr qint64 window = 1 << 20;
    QByteArray bytes(int(std::min(window, input.size - from)), Qt::Uninitialized);
    if (bytes.isEmpty() || input.readAt(from, bytes.data(), bytes.size()) != bytes.size())
        return -1;
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    const auto startsAt = [&bytes](qsizetype at, QByteArrayView text) {
        return at >= 0 && at + text.size() <= bytes.size() && QByteArrayView(bytes).sliced(at, text.size()) == text;
    };
    for (qsizetype at = bytes.indexOf("</dict>"); at >= 0; at = bytes.indexOf("</dict>", at + 1)) {
        qsizetype key = at + 7;
        while (key < bytes.size() && isBlank(bytes[key]))
            ++key;
        if (!startsAt(key, "<key>"))
            continue;
        const qsizetype close = bytes.indexOf('<', key + 5);
        if (!startsAt(close, "</key>"))
            continue;
        qsizetype value = close + 6;
        while (value < bytes.size() && isBlank(bytes[value]))
            ++value;
        if (startsAt(value, "<dict>"))
            return from + key;
    }
    return -1;
}

// A plain POSIX thread: joining it is all the synchronisation there is, and a
// failure to make one is an answer (the work is done elsewhere), not an exception.
bool startThread(pthread_t* thread, std::function<void()>* body)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 2u << 20);
    const bool started = pthread_create(thread, &attributes, &runFunction, body) == 0;
    pthread_attr_destroy(&attributes);
    return started;
}

} // namespace

void OrvIPhotoDatabaseParser::parse(const QFileInfo& file)
{
    fillAlbumTypes();
    QFile in(file.absoluteFilePath());
    if (file.filePath().isEmpty() || !in.open(QIODevice::ReadOnly) || in.handle() < 0) {
        qDebug() << "OrvIPhotoDatabaseParser: cannot open" << file.filePath();
        return;
    }
    const int fd = in.handle();
    parseInput(in.size(), [fd](qint64 offset, char* buffer, qint64 size) {
                    qint64 done = 0;
                    while (done < size) {
                        const ssize_t got = ::pread(fd, buffer + done, size_t(size - done), off_t(offset + done));
                        if (got < 0 && errno == EINTR)
                            continue;
                        if (got <= 0)
                            break;
                        done += got;
                    }
                    return done;
                });
}

void OrvIPhotoDatabaseParser::parseData(const QByteArray& bytes)
{
    fillAlbumTypes();
    parseInput(bytes.size(), [&bytes](qint64 offset, char* buffer, qint64 size) {
                    const qint64 count = std::max<qint64>(0, std::min<qint64>(size, bytes.size() - offset));
                    std::memcpy(buffer, bytes.constData() + offset, size_t(count));
                    return count;
                });
}

void OrvIPhotoDatabaseParser::setThresholds(qint64 threaded, qint64 split)
{
    myThreadedSize = threaded;
    mySplitSize = split;
}

bool OrvIPhotoDatabaseParser::parseInput(qint64 size, const ReadAt& readAt)
{
    const Input input{size, readAt};
    myReaders = 1;
    Builder builder(*this);
    if (input.size <= myThreadedSize) {
        std::unique_ptr<char[]> buffer(new char[readChunk]);
        Walker walker([&builder](std::unique_ptr<Batch> batch) { builder.take(*batch); });
        OrvXmlRepair repair;
        if (!pump(input, 0, input.size, repair, into(walker), buffer.get()) || !finish(repair, walker))
            return false;  // as a DOM load would: a broken file gives nothing at all
        return adopt(builder.albums, builder.fotos, builder.persons, repair.repairs());
    }

    // Large files: the first reader walks the document on a thread of its own
    // while this thread builds what it read. From a size on, a second reader
    // starts half-way, at what looks like the start of a foto entry, and walks
    // the rest into fotos and albums of its own; when the first reader gets
    // there and finds the document really is between two foto entries, it
    // stops and the two halves are joined. Otherwise the second reader's work
    // is dropped and the first one reads on: either way, what comes out is
    // what one reader gives.
    // On the heap: fresh memory for every parse, which ThreadSanitizer tells apart
    // from an earlier parse's queue at the same stack address.
    const auto queue = std::make_unique<BatchQueue>();
    // The second reader also builds its part, so it gets a little less than half.
    const qint64 handOver = input.size > mySplitSize ? findHandOver(input, input.size / 20 * 11) : -1;
    std::promise<qint64> rootTag;
    std::future<qint64> rootTagKnown = rootTag.get_future();
    std::atomic<bool> cancel{false};

    Builder secondBuilder(*this, false);
    bool secondOk = false;
    qsizetype secondRepairs = 0;
    std::function<void()> second = [&] {
        const qint64 rootEnd = rootTagKnown.get();
        if (rootEnd <= 0 || cancel.load())
            return;
        Walker walker([&secondBuilder](std::unique_ptr<Batch> batch) { secondBuilder.take(*batch); }, true);
        OrvXmlRepair repair;
        std::unique_ptr<char[]> chunk(new char[readChunk]);
        const QByteArray start = "<dict><key>Master Image List</key><dict>";
        const Input prefix{rootEnd + start.size(), [&](qint64 offset, char* into, qint64 size) {
                               if (offset < rootEnd)
                                   return input.readAt(offset, into, std::min(size, rootEnd - offset));
                               const qint64 count = std::min<qint64>(size, start.size() - (offset - rootEnd));
                               std::memcpy(into, start.constData() + (offset - rootEnd), size_t(count));
                               return count;
                           }};
        secondOk = pump(prefix, 0, prefix.size, repair, into(walker), chunk.get(), &cancel)
            && pump(input, handOver, input.size, repair, into(walker), chunk.get(), &cancel) && finish(repair, walker);
        secondRepairs = repair.repairs();
    };
    pthread_t secondThread{};
    const bool secondStarted = handOver > 0 && startThread(&secondThread, &second);
    if (secondStarted)
        myReaders = 2;

    bool ok = true;
    bool handedOver = false;
    qsizetype repairs = 0;
    BatchSink sink = [&queue](std::unique_ptr<Batch> batch) { queue->push(std::move(batch)); };
    std::function<void()> first = [&] {
        Walker walker([&sink](std::unique_ptr<Batch> batch) { sink(std::move(batch)); });
        OrvXmlRepair repair;
        std::unique_ptr<char[]> chunk(new char[readChunk]);
        // A small first piece: the second reader needs the document element's start tag.
        const qint64 head = std::min<qint64>(secondStarted ? std::min<qint64>(handOver, 1 << 16) : 0, input.size);
        // Repairs made before the start tag was read: its offset is the file's only without any.
        qsizetype repairsBeforeRoot = -1;
        const OrvXmlRepair::Sink headSink = [&](const char* data, qsizetype size) {
            const bool fed = walker.feed(data, size, false);
            // A span of the output is unchanged input: every repair so far lies before it.
            if (repairsBeforeRoot < 0 && walker.rootTagEnd() > 0)
                repairsBeforeRoot = repair.repairs();
            return fed;
        };
        ok = pump(input, 0, head, repair, headSink, chunk.get());
        const bool rootKnown = ok && repairsBeforeRoot == 0;
        rootTag.set_value(rootKnown ? walker.rootTagEnd() : -1);
        if (rootKnown && secondStarted) {
            ok = pump(input, head, handOver, repair, into(walker), chunk.get());
            handedOver = ok && repair.isIdle() && walker.isBetweenFotoEntries();
        }
        if (handedOver) {
            walker.flush();
        } else {
            cancel.store(true);
            ok = ok && pump(input, rootKnown && secondStarted ? handOver : head, input.size, repair, into(walker), chunk.get())
                && finish(repair, walker);
        }
        repairs = repair.repairs();
        queue->close();
    };
    pthread_t firstThread{};
    if (startThread(&firstThread, &first)) {
        while (std::unique_ptr<Batch> batch = queue->pop())
            builder.take(*batch);
        pthread_join(firstThread, nullptr);
    } else {
        sink = [&builder](std::unique_ptr<Batch> batch) { builder.take(*batch); };
        first();
    }
    if (secondStarted)
        pthread_join(secondThread, nullptr);
    if (handedOver) {
        ok = ok && secondOk;
        repairs += secondRepairs;
        builder.albums.add(secondBuilder.albums);
        builder.fotos.add(secondBuilder.fotoList);
        builder.persons.add(secondBuilder.persons);
    } else {
        myReaders = 1;
    }
    return ok && adopt(builder.albums, builder.fotos, builder.persons, repairs);
}

bool OrvIPhotoDatabaseParser::adopt(const OrvExternalAlbumPool& albums, const OrvExternalFotoPool& fotos,
                                    OrvExternalAlbumPool& persons, qsizetype repairs)
{
    if (repairs > 0)
        qDebug() << "OrvIPhotoDatabaseParser: repaired" << repairs << "defects";
    assignFacesToPersons(persons, fotos);
    if (myAlbums.isEmpty())
        myAlbums = albums;
    else
        myAlbums.add(albums);
    if (myFotos.size() == 0)
        myFotos = fotos;
    else
        myFotos.add(fotos.fotos());
    if (myPersons.isEmpty())
        myPersons = persons;
    else
        myPersons.add(persons);
    return true;
}

void OrvIPhotoDatabaseParser::assignFacesToPersons(OrvExternalAlbumPool& persons, const OrvExternalFotoPool& fotos) const
{
    // Each person's fotos in the order of the pool, then one append per person
    // (which leaves out what a person has already).
    QHash<OrvExternalId, OrvExternalIdList> fotosOf;
    OrvExternalIdList order;
    for (const OrvExternalFoto& foto : fotos.fotos()) {
        const OrvExternalFotoImplData* data = foto.data();
        if (!data)
            continue;
        for (const OrvExternalFace& face : data->faces()) {
            if (!face.id().isValid())
                continue;
            OrvExternalIdList& ids = fotosOf[face.id()];
            if (ids.isEmpty())
                order.append(face.id());
            ids.append(foto.id());
        }
    }
    for (const OrvExternalId& person : std::as_const(order))
        persons.appendFotos(person, fotosOf.value(person));
}

OrvExternalAlbumType OrvIPhotoDatabaseParser::albumType(const QString& text) const
{
    const auto it = myAlbumTypes.constFind(text);
    if (it != myAlbumTypes.constEnd())
        return *it;
    if (text == QLatin1String("Special Roll"))
        return OrvExternalAlbumType(32);
    if (text.isEmpty())
        return OrvExternalAlbumType(128);
    if (text.endsWith(QLatin1String("Month")) || text.contains(QLatin1String("Event")))
        return OrvExternalAlbumType(32);
    return OrvExternalAlbumType(0);
}

QRegularExpression OrvIPhotoDatabaseParser::faceDetectorRegExp() const
{
    const QString number = QStringLiteral("(\\d+\\.\\d+)");
    const QString pair = QStringLiteral("\\{\\s*") + number + QStringLiteral(",\\s*") + number + QStringLiteral("\\s*\\}");
    return QRegularExpression(QStringLiteral("\\{") + pair + QStringLiteral("\\s*,\\s*") + pair + QStringLiteral("\\}"));
}

namespace {

// \s and \d of the pattern (no Unicode properties): ASCII only.
bool isPatternSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }
bool isPatternDigit(char c) { return c >= '0' && c <= '9'; }

struct Cursor
{
    const char* p;
    const char* end;
    void skipSpace()
    {
        while (p < end && isPatternSpace(*p))
            ++p;
    }
    bool take(char c)
    {
        if (p < end && *p == c) {
            ++p;
            return true;
        }
        return false;
    }
    // \d+\.\d+ : greedy digits can only end where a non-digit stands, so the
    // match at a given place is unique and no backtracking is needed.
    bool number(double* value)
    {
        const char* first = p;
        while (p < end && isPatternDigit(*p))
            ++p;
        if (p == first || !take('.'))
            return false;
        const char* fraction = p;
        while (p < end && isPatternDigit(*p))
            ++p;
        if (p == fraction)
            return false;
        *value = QByteArray::fromRawData(first, p - first).toDouble();
        return true;
    }
};

} // namespace

OrvExternalDataPool OrvIPhotoDatabaseParser::dataPool() const
{
    OrvExternalDataPool pool{OrvExternalAlbumPool(), OrvExternalFotoPool()};
    pool.setFotos(myFotos);
    OrvExternalAlbumPool albums;
    albums.add(myAlbums);
    albums.add(myPersons);
    for (const OrvExternalAlbum& month : OrvExternalMonthSynthesizer(myFotos.fotos()).synthetiseMonthAlbums())
        albums.add(month);
    pool.setAlbums(albums);
    return pool;
}

bool OrvIPhotoDatabaseParser::matchFaceRectangle(QByteArrayView text, QRectF* rect)
{
    // Shorter texts hold no rectangle (and an absent value has no data at all).
    if (text.size() < 2)
        return false;
    const char* data = text.data();
    const char* end = data + text.size();
    for (const char* at = data; at + 1 < end; ++at) {
        if (at[0] != '{' || at[1] != '{')
            continue;
        Cursor c{at + 2, end};
        double x = 0;
        double y = 0;
        double w = 0;
        double h = 0;
        c.skipSpace();
        if (!c.number(&x) || !c.take(','))
            continue;
        c.skipSpace();
        if (!c.number(&y))
            continue;
        c.skipSpace();
        if (!c.take('}'))
            continue;
        c.skipSpace();
        if (!c.take(','))
            continue;
        c.skipSpace();
        if (!c.take('{'))
            continue;
        c.skipSpace();
        if (!c.number(&w) || !c.take(','))
            continue;
        c.skipSpace();
        if (!c.number(&h))
            continue;
        c.skipSpace();
        if (!c.take('}') || !c.take('}'))
            continue;
        // The library's origin is bottom left; ours is top left.
        *rect = QRectF(x, 1.0 - y - h, w, h);
        return true;
    }
    return false;
}

const QDateTime& OrvIPhotoDatabaseParser::iPhotoEpoch()
{
    // Local midnight, not UTC: that is how the library's dates come out right.
    static const QDateTime myEpoch(QDate(2001, 1, 1), QTime(0, 0, 0), Qt::LocalTime);
    return myEpoch;
}

QDateTime OrvIPhotoDatabaseParser::fotoDate(QByteArrayView text)
{
    return dateAfterEpoch(std::trunc(toDouble(text)), iPhotoEpoch().toMSecsSinceEpoch());
}

int OrvIPhotoDatabaseParser::rating(QByteArrayView text)
{
    const double value = std::trunc(toDouble(text));
    if (value < double(std::numeric_limits<int>::min()) || value > double(std::numeric_limits<int>::max()))
        return 0;
    return int(value);
}
