#include "OrvIPhotoDatabaseParser.h"

#include "OrvExternalMonthSynthesizer.h"

#include "OrvXmlRepair.h"

#include <QDebug>
#include <QFile>

#include <expat.h>
#include <pthread.h>

#include <cmath>
#include <condition_variable>
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
    bool isLarge() const { return bytes.size() > (1u << 20) || fotos.size() >= 4096; }
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

// One string per distinct key: a foto's key recurs in every album that holds
// it, and the ids made from it can then share their text. An open-addressing
// table over one byte arena: far fewer cache misses than a hash of byte arrays.
class KeyInterner
{
public:
    QString intern(QByteArrayView text)
    {
        if ((myEntries.size() + 1) * 2 > mySlots.size())
            grow();
        const size_t hash = qHashBits(text.data(), size_t(text.size()), QHashSeed::globalSeed());
        const size_t mask = mySlots.size() - 1;
        for (size_t i = hash & mask;; i = (i + 1) & mask) {
            const quint32 slot = mySlots[i];
            if (slot == 0) {
                mySlots[i] = quint32(myEntries.size() + 1);
                myEntries.push_back({hash, myBytes.size(), size_t(text.size()), QString::fromUtf8(text)});
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
        QString value;
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

    std::vector<quint32> mySlots;
    std::vector<Entry> myEntries;
    std::string myBytes;
};

// The walk over the document, fed by expat: touches no Qt object, so it can
// run on a thread of its own. One frame per open element says how its
// children are read; the text of the elements whose text is needed is gathered
// in one buffer (an element's text is a contiguous stretch of it).
class Walker
{
public:
    explicit Walker(BatchSink sink) : mySink(std::move(sink)), myXml(XML_ParserCreate(nullptr)), myBatch(new Batch)
    {
        myFrames.reserve(16);
        myText.reserve(4096);
        if (!myXml)
            return;
        XML_SetUserData(myXml, this);
        XML_SetElementHandler(myXml, &Walker::onStart, &Walker::onEnd);
        XML_SetCdataSectionHandler(myXml, &Walker::onCdataStart, &Walker::onCdataEnd);
        XML_SetCommentHandler(myXml, &Walker::onComment);
        XML_SetProcessingInstructionHandler(myXml, &Walker::onProcessingInstruction);
        XML_SetSkippedEntityHandler(myXml, &Walker::onSkippedEntity);
        // Nothing may expand: a document that declares entities is refused.
        XML_SetEntityDeclHandler(myXml, &Walker::onEntityDeclaration);
    }
    ~Walker()
    {
        if (myXml)
            XML_ParserFree(myXml);
    }
    Walker(const Walker&) = delete;
    Walker& operator=(const Walker&) = delete;

    // False once the document turned out not to be well-formed (or refused).
    bool feed(const char* data, qsizetype size, bool final)
    {
        if (myFailed || !myXml)
            return false;
        if (XML_Parse(myXml, data, int(size), final) == XML_STATUS_ERROR) {
            myFailed = true;
            if (myRefusal.isEmpty()) {
                qDebug() << "OrvIPhotoDatabaseParser: not well-formed at line" << XML_GetCurrentLineNumber(myXml)
                         << XML_ErrorString(XML_GetErrorCode(myXml));
            } else {
                qDebug() << "OrvIPhotoDatabaseParser:" << myRefusal;
            }
            return false;
        }
        if (final)
            mySink(std::exchange(myBatch, std::make_unique<Batch>()));
        return true;
    }

    bool failed() const { return myFailed || !myXml; }

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

    static void XMLCALL onStart(void* self, const XML_Char* name, const XML_Char**)
    {
        static_cast<Walker*>(self)->start(name);
    }
    static void XMLCALL onEnd(void* self, const XML_Char*) { static_cast<Walker*>(self)->end(); }
    static void XMLCALL onText(void* self, const XML_Char* text, int length)
    {
        static_cast<Walker*>(self)->myText.append(text, size_t(length));
    }
    static void XMLCALL onCdataStart(void* self) { static_cast<Walker*>(self)->endRun(); }
    static void XMLCALL onCdataEnd(void* self)
    {
        // CDATA is text even when it is all blanks.
        Walker* walker = static_cast<Walker*>(self);
        walker->myRunStart = walker->myText.size();
    }
    static void XMLCALL onComment(void* self, const XML_Char*) { static_cast<Walker*>(self)->endRun(); }
    static void XMLCALL onProcessingInstruction(void* self, const XML_Char*, const XML_Char*)
    {
        static_cast<Walker*>(self)->endRun();
    }
    static void XMLCALL onSkippedEntity(void* self, const XML_Char*, int) { static_cast<Walker*>(self)->endRun(); }
    static void XMLCALL onEntityDeclaration(void* self, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                                            const XML_Char*, const XML_Char*, const XML_Char*)
    {
        static_cast<Walker*>(self)->refuse(QStringLiteral("refusing entity declarations"));
    }

    void refuse(const QString& why)
    {
        if (myRefusal.isEmpty())
            myRefusal = why;
        XML_StopParser(myXml, XML_FALSE);
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
            if (myCollectors++ == 0)
                XML_SetCharacterDataHandler(myXml, &Walker::onText);
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
            // Text outside the elements we read is of no interest: expat need not report it.
            XML_SetCharacterDataHandler(myXml, nullptr);
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
    XML_Parser myXml;
    bool myFailed = false;
    QString myRefusal;
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
    explicit Builder(const OrvIPhotoDatabaseParser& parser)
        : myParser(parser), myEpochMSecs(OrvIPhotoDatabaseParser::iPhotoEpoch().toMSecsSinceEpoch())
    {
    }

    void take(const Batch& batch)
    {
        for (const AlbumRecord& record : batch.albums) {
            OrvExternalIdList ids;
            ids.reserve(record.keyCount);
            for (quint32 i = record.firstKey; i < record.firstKey + record.keyCount; ++i)
                ids.append(myParser.buildFotoId(intern(batch, batch.keys[i])));
            const OrvExternalAlbumType type = record.hasType ? myParser.albumType(string(batch, record.type))
                                                             : OrvExternalAlbumType(32);
            const OrvExternalAlbum album(myParser.buildAlbumId(intern(batch, record.id)), string(batch, record.name), ids, type);
            if (album.isValid())
                albums.add(album);
        }
        fotos.reserve(fotos.size() + qsizetype(batch.fotos.size()));
        for (const FotoRecord& record : batch.fotos) {
            OrvExternalFaceList faces;
            faces.reserve(record.faceCount);
            for (quint32 i = record.firstFace; i < record.firstFace + record.faceCount; ++i) {
                const FaceRecord& face = batch.faces[i];
                faces.add(OrvExternalFace(face.hasKey ? myParser.buildFaceId(intern(batch, face.key)) : OrvExternalId(), face.rect));
            }
            const QString imagePath = string(batch, record.imagePath);
            auto data = std::make_shared<OrvExternalFotoImplDataLocalDatabase>(
                myParser.buildFotoId(intern(batch, record.key)), fileNameOf(imagePath), date(record), imagePath,
                string(batch, record.thumbPath), faces);
            data->setAdobeRating(record.rating);
            fotos.add(OrvExternalFoto(std::shared_ptr<const OrvExternalFotoImplData>(std::move(data))));
        }
        for (const PersonRecord& record : batch.persons) {
            const OrvExternalAlbum person(myParser.buildFaceId(intern(batch, record.key)), string(batch, record.name),
                                          OrvExternalIdList(), OrvExternalAlbumType(2));
            if (person.isValid())
                persons.add(person);
        }
    }

    OrvExternalAlbumPool albums;
    OrvExternalFotoPool fotos;
    OrvExternalAlbumPool persons;

private:
    static QString string(const Batch& batch, Text text) { return toQString(batch.view(text), text.present); }

    QString intern(const Batch& batch, Text text)
    {
        return text.length == 0 ? string(batch, text) : myInterner.intern(batch.view(text));
    }

    QDateTime date(const FotoRecord& record) const
    {
        // Beyond some million years QDateTime has no answer.
        if (!record.hasDate || std::abs(record.seconds) > 1e14)
            return QDateTime();
        // The epoch plus whole seconds, in local time: what iPhotoEpoch().addSecs gives, for less.
        return QDateTime::fromMSecsSinceEpoch(myEpochMSecs + qint64(record.seconds) * 1000, Qt::LocalTime);
    }

    const OrvIPhotoDatabaseParser& myParser;
    // The epoch's instant in the time zone of this parse (the epoch is local midnight).
    const qint64 myEpochMSecs;
    KeyInterner myInterner;
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

void OrvIPhotoDatabaseParser::parse(const QFileInfo& file)
{
    fillAlbumTypes();
    QFile in(file.absoluteFilePath());
    if (file.filePath().isEmpty() || !in.open(QIODevice::ReadOnly)) {
        qDebug() << "OrvIPhotoDatabaseParser: cannot open" << file.filePath();
        return;
    }
    parseStream([&in](char* buffer, qint64 size) { return in.read(buffer, size); }, in.size() > threadedSize);
}

void OrvIPhotoDatabaseParser::parseData(const QByteArray& bytes)
{
    fillAlbumTypes();
    qint64 offset = 0;
    parseStream(
        [&](char* buffer, qint64 size) {
            const qint64 count = std::min<qint64>(size, bytes.size() - offset);
            std::memcpy(buffer, bytes.constData() + offset, size_t(count));
            offset += count;
            return count;
        },
        bytes.size() > threadedSize);
}

bool OrvIPhotoDatabaseParser::parseStream(const std::function<qint64(char* buffer, qint64 size)>& read, bool threaded)
{
    Builder builder(*this);
    BatchQueue queue;
    // Large files are read on a second thread while this one builds what was read.
    BatchSink sink = threaded ? BatchSink([&queue](std::unique_ptr<Batch> batch) { queue.push(std::move(batch)); })
                              : BatchSink([&builder](std::unique_ptr<Batch> batch) { builder.take(*batch); });
    bool ok = true;
    qsizetype repairs = 0;
    auto readAll = [&] {
        Walker walker(sink);
        OrvXmlRepair repair;
        const OrvXmlRepair::Sink repaired = [&walker](const char* data, qsizetype size) {
            return walker.feed(data, size, false);
        };
        std::unique_ptr<char[]> buffer(new char[readChunk]);
        for (;;) {
            const qint64 count = read(buffer.get(), readChunk);
            if (count < 0) {
                qDebug() << "OrvIPhotoDatabaseParser: read error";
                ok = false;
                break;
            }
            if (count == 0)
                break;
            if (!repair.feed(buffer.get(), count, repaired)) {
                ok = false;
                break;
            }
        }
        ok = ok && repair.finish(repaired) && walker.feed(nullptr, 0, true) && !walker.failed();
        repairs = repair.repairs();
        queue.close();
    };
    // A plain POSIX thread: joining it is all the synchronisation there is, and
    // a failure to make one is an answer (read here then), not an exception.
    std::function<void()> body = readAll;
    pthread_t reader{};
    bool started = false;
    if (threaded) {
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, 2u << 20);
        started = pthread_create(&reader, &attributes, &runFunction, &body) == 0;
        pthread_attr_destroy(&attributes);
    }
    if (started) {
        while (std::unique_ptr<Batch> batch = queue.pop())
            builder.take(*batch);
        pthread_join(reader, nullptr);
    } else {
        sink = [&builder](std::unique_ptr<Batch> batch) { builder.take(*batch); };
        readAll();
    }
    if (!ok)
        return false;  // as a DOM load would: a broken file gives nothing at all
    if (repairs > 0)
        qDebug() << "OrvIPhotoDatabaseParser: repaired" << repairs << "defects";
    assignFacesToPersons(builder.persons, builder.fotos);
    if (myAlbums.isEmpty())
        myAlbums = builder.albums;
    else
        myAlbums.add(builder.albums);
    if (myFotos.size() == 0)
        myFotos = builder.fotos;
    else
        myFotos.add(builder.fotos.fotos());
    if (myPersons.isEmpty())
        myPersons = builder.persons;
    else
        myPersons.add(builder.persons);
    return true;
}

void OrvIPhotoDatabaseParser::assignFacesToPersons(OrvExternalAlbumPool& persons, const OrvExternalFotoPool& fotos) const
{
    for (const OrvExternalFoto& foto : fotos.fotos()) {
        const OrvExternalId fotoId = foto.id();
        for (const OrvExternalId& personId : foto.allPersonsOnThisFoto())
            persons.addKid(personId, fotoId);
    }
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
    return fotoDate(text, iPhotoEpoch().toMSecsSinceEpoch());
}

QDateTime OrvIPhotoDatabaseParser::fotoDate(QByteArrayView text, qint64 epochMSecs)
{
    const double seconds = std::trunc(toDouble(text));
    // Beyond some million years QDateTime has no answer.
    if (std::abs(seconds) > 1e14)
        return QDateTime();
    // The epoch plus whole seconds, in local time: what iPhotoEpoch().addSecs gives, for less.
    return QDateTime::fromMSecsSinceEpoch(epochMSecs + qint64(seconds) * 1000, Qt::LocalTime);
}

int OrvIPhotoDatabaseParser::rating(QByteArrayView text)
{
    const double value = std::trunc(toDouble(text));
    if (value < double(std::numeric_limits<int>::min()) || value > double(std::numeric_limits<int>::max()))
        return 0;
    return int(value);
}
