#include "OrvIPhotoWalker.h"

#include "OrvIPhotoDatabaseParser.h"
#include "OrvIPhotoValues.h"

#include <QDebug>

#include <libxml/parser.h>

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

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

} // namespace

// ---- libxml2's parser context
//
// The push parser says where it stands only through its context structure.
// Every read of that structure is in this section. Well-formedness, the line
// of an error and the document libxml2 may leave behind are fields it has
// always had. Where the document element's start tag ends and whether the
// parser rests between two entries of a dict depend on its internals (input
// offsets, parser state, the stack of open names); they were checked against
// the 2.9 series. With another version the walker knows neither, so a second
// reader never starts (the result is the same, read by one reader) and the
// tests that expect two readers fail until these reads are checked again.
#if LIBXML_VERSION >= 20900 && LIBXML_VERSION < 21000
#define ORV_IPHOTO_LIBXML2_INTERNALS_CHECKED 1
#else
#define ORV_IPHOTO_LIBXML2_INTERNALS_CHECKED 0
#endif

bool Walker::contextIsWellFormed() const { return myXml->wellFormed; }

int Walker::contextLine() const { return myXml && myXml->input ? myXml->input->line : 0; }

void Walker::freeContext()
{
    // libxml2 may make a document of its own to keep declared entities in; it is the caller's to free.
    if (myXml->myDoc)
        xmlFreeDoc(myXml->myDoc);
    xmlFreeParserCtxt(myXml);
}

// Called from the start of the document element, with the input at the ">"
// (or "/>") of its start tag: the offset after the ">", or -1.
qint64 Walker::contextStartTagEnd() const
{
#if ORV_IPHOTO_LIBXML2_INTERNALS_CHECKED
    const xmlParserInputPtr input = myXml->input;
    if (input && input->cur && input->cur < input->end && *input->cur == '>')
        return qint64(input->consumed) + (input->cur - input->base) + 1;
#endif
    return -1;
}

// Reading content of the document itself (no entity), three elements open of
// which the second and third are "dict", and nothing but blanks after the
// last piece of markup.
bool Walker::contextIsBetweenDictEntries() const
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

struct Walker::Callbacks
{
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
        walker->myErrorLine = walker->contextLine();
    }
    static void onWarning(void*, const char*, ...) {}
};

Walker::Walker(BatchSink sink, bool quiet) : mySink(std::move(sink)), myQuiet(quiet), myBatch(new Batch)
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
    handler.startElement = &Callbacks::onStart;
    handler.endElement = &Callbacks::onEnd;
    handler.characters = &Callbacks::onText;
    handler.ignorableWhitespace = &Callbacks::onText;
    handler.cdataBlock = &Callbacks::onCdata;
    handler.comment = &Callbacks::onMarkup;
    handler.processingInstruction = &Callbacks::onProcessingInstruction;
    handler.reference = &Callbacks::onMarkup;
    // Nothing may expand: a document that declares entities is refused.
    handler.entityDecl = &Callbacks::onEntityDeclaration;
    handler.error = &Callbacks::onError;
    handler.fatalError = &Callbacks::onError;
    handler.warning = &Callbacks::onWarning;
    myXml = xmlCreatePushParserCtxt(&handler, this, nullptr, 0, nullptr);
    if (!myXml)
        return;
    // No network, no DTD loading, no entity substitution; the nesting limit is ours (maxDepth).
    xmlCtxtUseOptions(myXml, XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOWARNING);
}

Walker::~Walker()
{
    if (!myXml)
        return;
    freeContext();
}

bool Walker::feed(const char* data, qsizetype size, bool final)
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

bool Walker::isBetweenFotoEntries() const
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

void Walker::refuse(const QString& why)
{
    if (myRefusal.isEmpty())
        myRefusal = why;
    xmlStopParser(myXml);
}

void Walker::endRun()
{
    if (myText.size() > myRunStart && isWhiteSpaceRun(myText.data() + myRunStart, myText.size() - myRunStart))
        myText.resize(myRunStart);
    myRunStart = myText.size();
}

bool Walker::isNamed(const char* name, QByteArrayView expected)
{
    return std::strncmp(name, expected.data(), size_t(expected.size())) == 0 && name[expected.size()] == 0;
}

void Walker::start(const char* name)
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

void Walker::end()
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

Text Walker::store(QByteArrayView text, bool present)
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

void Walker::beginEntry(Role dict, const std::string& key)
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

void Walker::finishRole(Role role)
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

void Walker::applyText(Key key, QByteArrayView text, bool present)
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

} // namespace OrvIPhoto
