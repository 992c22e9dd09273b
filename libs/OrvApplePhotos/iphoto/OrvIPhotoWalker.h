#pragma once

// The walk over the document, fed by libxml2's push parser (SAX, without
// namespace processing: names are read as written): touches no Qt object, so
// it can run on a thread of its own. One frame per open element says how its
// children are read; the text of the elements whose text is needed is gathered
// in one buffer (an element's text is a contiguous stretch of it). Private to
// the iphoto folder; libxml2 itself is reached only from OrvIPhotoWalker.cpp.

#include "OrvIPhotoBatch.h"

#include <QByteArrayView>
#include <QString>

#include <memory>
#include <string>
#include <vector>

struct _xmlParserCtxt;

namespace OrvIPhoto {

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

class Q_DECL_HIDDEN Walker
{
public:
    // A quiet walker keeps its verdict to itself (a reader that only guesses where it starts).
    explicit Walker(BatchSink sink, bool quiet = false);
    ~Walker();
    Walker(const Walker&) = delete;
    Walker& operator=(const Walker&) = delete;

    // False once the document turned out not to be well-formed (or refused).
    bool feed(const char* data, qsizetype size, bool final);

    bool failed() const { return myFailed || !myXml; }

    // Where the start tag of the document element ends (its offset in what
    // was fed), -1 while unknown or when the document element is empty.
    qint64 rootTagEnd() const { return myRootTagEnd; }

    // Whether what was fed ends between two entries of the first "Master
    // Image List" dict, directly below the top dict, with nothing but blanks
    // after the last piece of markup: there the rest of the document reads
    // exactly as it would after a document element start tag followed by
    // <dict><key>Master Image List</key><dict>, and another walker can take over.
    bool isBetweenFotoEntries() const;

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

    // libxml2's callbacks.
    struct Callbacks;
    friend struct Callbacks;

    void refuse(const QString& why);
    // A run of text ends at every piece of markup; a run of blanks is dropped.
    void endRun();
    static bool isNamed(const char* name, QByteArrayView expected);
    void start(const char* name);
    void end();
    Text store(QByteArrayView text, bool present);
    // The value of an entry of "List of Faces" or "Master Image List" starts.
    void beginEntry(Role dict, const std::string& key);
    // An element whose children were read in a role ends.
    void finishRole(Role role);
    // The text of the value of a key (empty and not present for a key without value).
    void applyText(Key key, QByteArrayView text, bool present);

    // What the walk reads of libxml2's parser context (all of it, in one place).
    bool contextIsWellFormed() const;
    int contextLine() const;
    qint64 contextStartTagEnd() const;
    bool contextIsBetweenDictEntries() const;
    void freeContext();

    BatchSink mySink;
    const bool myQuiet;
    _xmlParserCtxt* myXml = nullptr;
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

} // namespace OrvIPhoto
