// The libxml2 walk of a library file: its key tables, the state machine and,
// in one guarded section of it, every read of libxml2's parser context.
// Some 700 lines in one file on purpose: the tables are the state machine's
// transitions, and with both in one translation unit, with internal linkage,
// the compiler builds the path taken for every element (callback, step, table
// lookup) as one piece; split apart, the parse benchmark pays for the calls.

#include "OrvIPhotoWalker.h"

#include "OrvIPhotoDatabaseParser.h"
#include "OrvIPhotoValues.h"

#include <QDebug>

#include <libxml/parser.h>

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

// The reads of libxml2 internals below were checked against this series.
#if LIBXML_VERSION >= 20900 && LIBXML_VERSION < 21000
#define ORV_IPHOTO_LIBXML2_INTERNALS_CHECKED 1
#else
#define ORV_IPHOTO_LIBXML2_INTERNALS_CHECKED 0
#endif

namespace OrvIPhoto {

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

// The walk over the document, fed by libxml2's push parser (SAX, without
// namespace processing: names are read as written): touches no Qt object, so
// it can run on a thread of its own. One frame per open element says how its
// children are read; the text of the elements whose text is needed is gathered
// in one buffer (an element's text is a contiguous stretch of it).
class Walk
{
public:
    // A quiet walker keeps its verdict to itself (a reader that only guesses where it starts).
    explicit Walk(BatchSink sink, bool quiet = false) : mySink(std::move(sink)), myQuiet(quiet), myBatch(new Batch)
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
        handler.startElement = &Walk::onStart;
        handler.endElement = &Walk::onEnd;
        handler.characters = &Walk::onText;
        handler.ignorableWhitespace = &Walk::onText;
        handler.cdataBlock = &Walk::onCdata;
        handler.comment = &Walk::onMarkup;
        handler.processingInstruction = &Walk::onProcessingInstruction;
        handler.reference = &Walk::onMarkup;
        // Nothing may expand: a document that declares entities is refused.
        handler.entityDecl = &Walk::onEntityDeclaration;
        handler.error = &Walk::onError;
        handler.fatalError = &Walk::onError;
        handler.warning = &Walk::onWarning;
        myXml = xmlCreatePushParserCtxt(&handler, this, nullptr, 0, nullptr);
        if (!myXml)
            return;
        // No network, no DTD loading, no entity substitution; the nesting limit is ours (maxDepth).
        xmlCtxtUseOptions(myXml, XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOWARNING);
    }
    ~Walk()
    {
        if (!myXml)
            return;
        freeContext();
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    // False once the document turned out not to be well-formed (or refused).
    bool feed(const char* data, qsizetype size, bool final)
    {
        if (myFailed || !myXml)
            return false;
        // Pieces above INT_MAX never come: the reader hands over readChunk at a time.
        xmlParseChunk(myXml, data, int(size), final ? 1 : 0);
        if (!myRefusal.isEmpty() || !contextIsWellFormed()) {
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
        if (failed() || myCollectors != 0 || myFrames.size() != 3)
            return false;
        const Frame& top = myFrames[1];
        const Frame& fotos = myFrames[2];
        if (top.role != Role::TopDict || top.pending || fotos.role != Role::FotosDict || fotos.pending
            || fotos.valueOf != Key::MasterImageList)
            return false;
        return contextIsBetweenDictEntries();
    }

    // Hands what was read so far to the sink (the walk stops here).
    void flush() { mySink(std::exchange(myBatch, std::make_unique<Batch>())); }

private:
    // ---- libxml2's parser context
    //
    // The push parser says where it stands only through its context
    // structure; every read of that structure is in this section.
    // Well-formedness, the line of an error and the document libxml2 may
    // leave behind are fields it has always had. Where the document element's
    // start tag ends and whether the parser rests between two entries of a
    // dict depend on its internals (input offsets, parser state, the stack of
    // open names), checked against the 2.9 series: with another version the
    // walk knows neither, no second reader starts (the result is the same,
    // read by one), and the tests that expect two readers fail until these
    // reads are checked again.

    bool contextIsWellFormed() const { return myXml->wellFormed; }

    int contextLine() const { return myXml && myXml->input ? myXml->input->line : 0; }

    void freeContext()
    {
        // libxml2 may make a document of its own to keep declared entities in; it is the caller's to free.
        if (myXml->myDoc)
            xmlFreeDoc(myXml->myDoc);
        xmlFreeParserCtxt(myXml);
    }

    // Called from the start of the document element, with the input at the
    // ">" (or "/>") of its start tag: the offset after the ">", or -1.
    qint64 contextStartTagEnd() const
    {
#if ORV_IPHOTO_LIBXML2_INTERNALS_CHECKED
        const xmlParserInputPtr input = myXml->input;
        if (input && input->cur && input->cur < input->end && *input->cur == '>')
            return qint64(input->consumed) + (input->cur - input->base) + 1;
#endif
        return -1;
    }

    // Reading content of the document itself (no entity), three elements
    // open of which the second and third are "dict", and nothing but blanks
    // after the last piece of markup.
    bool contextIsBetweenDictEntries() const
    {
#if ORV_IPHOTO_LIBXML2_INTERNALS_CHECKED
        if (myXml->instate != XML_PARSER_CONTENT || myXml->inputNr != 1 || myXml->nameNr != 3 || !myXml->input
            || !myXml->input->cur)
            return false;
        // Offsets are those of the file only while nothing is converted from another encoding.
        if (!myXml->input->buf || myXml->input->buf->encoder)
            return false;
        if (!isNamed(reinterpret_cast<const char*>(myXml->nameTab[1]), dictElement)
            || !isNamed(reinterpret_cast<const char*>(myXml->nameTab[2]), dictElement))
            return false;
        for (const xmlChar* c = myXml->input->cur; c < myXml->input->end; ++c) {
            if (*c != ' ' && *c != '\t' && *c != '\n' && *c != '\r')
                return false;
        }
        return true;
#else
        return false;
#endif
    }

    // ---- the walk

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
        static_cast<Walk*>(self)->start(reinterpret_cast<const char*>(name));
    }
    static void onEnd(void* self, const xmlChar*) { static_cast<Walk*>(self)->end(); }
    static void onText(void* self, const xmlChar* text, int length)
    {
        // Text outside the elements we read is of no interest.
        Walk* walker = static_cast<Walk*>(self);
        if (walker->myCollectors > 0)
            walker->myText.append(reinterpret_cast<const char*>(text), size_t(length));
    }
    static void onCdata(void* self, const xmlChar* text, int length)
    {
        // CDATA is text even when it is all blanks (a long section may come in pieces).
        Walk* walker = static_cast<Walk*>(self);
        walker->endRun();
        onText(self, text, length);
        walker->myRunStart = walker->myText.size();
    }
    static void onMarkup(void* self, const xmlChar*) { static_cast<Walk*>(self)->endRun(); }
    static void onProcessingInstruction(void* self, const xmlChar*, const xmlChar*)
    {
        static_cast<Walk*>(self)->endRun();
    }
    static void onEntityDeclaration(void* self, const xmlChar*, int, const xmlChar*, const xmlChar*, xmlChar*)
    {
        static_cast<Walk*>(self)->refuse(QStringLiteral("refusing entity declarations"));
    }
    // Errors are kept for one debug line, never printed by the library.
    static void onError(void* self, const char* format, ...)
    {
        Walk* walker = static_cast<Walk*>(self);
        if (!walker->myError.isEmpty())
            return;
        char message[256];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(message, sizeof message, format, arguments);
        va_end(arguments);
        walker->myError = QString::fromUtf8(message).trimmed();
        walker->myErrorLine = walker->contextLine();
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
            const qint64 tagEnd = contextStartTagEnd();
            if (tagEnd >= 0)
                myRootTagEnd = tagEnd;
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

} // namespace

// The walk keeps internal linkage, so that the compiler sees its per-element
// steps as the one unit they are; the walker is its interface.
struct Walker::Impl : Walk
{
    using Walk::Walk;
};

Walker::Walker(BatchSink sink, bool quiet) : myImpl(std::make_unique<Impl>(std::move(sink), quiet)) {}

Walker::~Walker() = default;

bool Walker::feed(const char* data, qsizetype size, bool final) { return myImpl->feed(data, size, final); }

bool Walker::failed() const { return myImpl->failed(); }

qint64 Walker::rootTagEnd() const { return myImpl->rootTagEnd(); }

bool Walker::isBetweenFotoEntries() const { return myImpl->isBetweenFotoEntries(); }

void Walker::flush() { myImpl->flush(); }

} // namespace OrvIPhoto
