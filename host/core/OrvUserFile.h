#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QLoggingCategory>
#include <QString>

#include <atomic>

Q_DECLARE_LOGGING_CATEGORY(orvFiles)

// The one way this project opens a file that a user or a library names, for
// reading. A library can name anything: a named pipe (an open would wait for a
// writer forever), a device (endless bytes), a folder, a file of gigabytes. So
// only regular files are opened (links are followed first), the open itself
// never blocks, each kind of file has a size bound that no real library
// reaches, and reads stop at that bound even where the file system reports no
// size (procfs). Reads are unbuffered and go straight to the descriptor.
//
// Refusals are logged under "orv.files" at debug level, one line naming the
// file and the reason; a file that is simply missing is not logged.
class OrvUserFile : public QIODevice
{
    Q_OBJECT
public:
    // The bounds, and why they are safe:
    enum Kind {
        LibraryFile,         // 2 GiB: iPhoto/Aperture XML; 100 000 photos take about 120 MB
        LibraryDescription,  // 256 MiB: a JSON description of a (simulated) library, ~0.5 KB a photo
        FotoList,            // 64 MiB: a list of foto URLs, ~100 bytes a line
        Image,               // 2 GiB: a photo decoded or read whole; 400 megapixels as JPEG stay below 1.5 GB
        Media,               // 1 TiB: a photo or movie copied as it is, in chunks; an hour of 8K video is 200 GB
    };
    enum Status { Ok, NotOpened, Missing, NotRegular, TooLarge, Unreadable, ReadFailed };

    OrvUserFile(const QString& path, Kind kind, QObject* parent = nullptr);
    ~OrvUserFile() override;

    static qint64 sizeBound(Kind kind);

    // Before open: a link at the path itself is refused instead of followed (a
    // folder that a device serves, where a link may lead anywhere).
    void setFollowLinks(bool follow) { myFollowLinks = follow; }
    // Before open: the path as the system knows it, for a name that is no valid text.
    void setNativePath(const QByteArray& path) { myNativePath = path; }

    // ReadOnly only; Unbuffered is implied.
    bool open(OpenMode mode = ReadOnly) override;
    // Opens a copy of a descriptor already open for reading (a file just
    // written), with the same checks; the path only names it in messages.
    bool openDescriptor(int fd);
    // Called between the look at a path and its open, where another process
    // may put something else in the file's place; null for none.
    using OpenHook = void (*)(const QByteArray& path);
    static void setOpenHookForTesting(OpenHook hook);
    void close() override;
    bool isSequential() const override { return false; }
    qint64 size() const override { return mySize; }
    bool seek(qint64 position) override;
    bool atEnd() const override;

    QString path() const { return myPath; }
    Kind kind() const { return myKind; }
    Status status() const { return myStatus; }
    // "not a regular file", "larger than 64 MiB", the system's reason, ...
    QString reason() const;
    int handle() const { return myFd; }

    // Reads at offset without moving the position; safe from several threads at once.
    // Never past the bound: a read that would go beyond it fails (-1) and marks the
    // file TooLarge.
    qint64 readAt(qint64 offset, char* data, qint64 maxSize);

    // Whether a read since the last resetWatch() asked for bytes at or past the end:
    // a decoder that does so wanted more than the file has.
    bool ranOut() const { return myRanOut; }
    void resetWatch() { myRanOut = false; }

    // The whole file from its start, or empty when it exceeds the bound or a read fails.
    QByteArray readWhole();
    // The same for a file not yet opened.
    static QByteArray readAll(const QString& path, Kind kind, Status* status = nullptr);
    // Whether path names a regular file that could be opened as kind (checked
    // without opening it).
    static Status check(const QString& path, Kind kind);
    static QString describe(Status status, Kind kind, int error = 0);

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 maxSize) override;

private:
    void fail(Status status, int error = 0);
    // Takes fd over once it is known to be a regular file within the bound; closes it otherwise.
    bool adopt(int fd);

    QString myPath;
    Kind myKind;
    // Reads may run on several threads; a failing one records why.
    std::atomic<Status> myStatus{NotOpened};
    std::atomic<int> myError{0};
    int myFd = -1;
    qint64 mySize = 0;
    qint64 myOffset = 0;
    bool myRanOut = false;
    bool myFollowLinks = true;
    QByteArray myNativePath;
};
