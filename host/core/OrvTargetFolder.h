#pragma once

#include <QHash>
#include <QIODevice>
#include <QRandomGenerator>
#include <QString>

#include <climits>
#include <functional>

class OrvUserFile;

// A folder that a user named as the target of an export or a download: the
// only place this project writes to. A file is created only directly inside
// it, never through a link (a link planted at a name, even one to a missing
// file, makes the name taken), never over something that exists, and appears
// under its name only when complete: it is written to a file without a name in
// the folder first (a hidden temporary file where the file system cannot do
// that) and linked into place, so a failed write (a full disk), even a crash,
// leaves nothing behind.
class OrvTargetFolder
{
public:
    // Opens path, creating it (and its parents) when it does not exist yet.
    explicit OrvTargetFolder(const QString& path);
    ~OrvTargetFolder();
    OrvTargetFolder(const OrvTargetFolder&) = delete;
    OrvTargetFolder& operator=(const OrvTargetFolder&) = delete;

    bool isOpen() const { return myFd >= 0; }
    QString path() const { return myPath; }
    QString errorString() const { return myError; }
    // Whether the last create failed in writing (a full disk), not in what it was given.
    bool writeFailed() const { return myWriteFailed; }
    // Whether it failed because the folder takes no file at all (no permission, a
    // read-only file system): every other create would fail alike.
    bool folderRefused() const { return myFolderRefused; }

    // Whether anything (file, folder, link, even a dangling one) has this name.
    bool isTaken(const QString& name) const;
    // A name of one path component that can be created in a folder.
    static bool isValidName(const QString& name);
    // name as a file system takes it: NUL and '/' replaced, at most maxBytes bytes
    // in the encoding of file names (whole characters only), its extension kept.
    static QString fittingName(const QString& name, int maxBytes = NAME_MAX);
    // name fitted to this folder's file system, or its base with -2, -3, ... where
    // something in the folder has the name or isUsed says it is used. Empty when no
    // such name is found within a bound, or the folder cannot be looked into.
    QString uniqueName(const QString& name, const std::function<bool(const QString&)>& isUsed = {});

    // What a complete file must be to get its name, written, copied or adopted
    // alike (an export: a whole image of the kind its name says). A file it
    // refuses is dropped before it has a name, and errorString() says why. It
    // may give the file another name instead (one made with uniqueName).
    using Check = std::function<bool(OrvUserFile* file, QString* name, QString* why)>;
    void setCheck(const Check& check) { myCheck = check; }
    // The name the last file created, adopted or committed got.
    QString createdName() const { return myCreatedName; }

    // Creates name with what produce writes into the device it is given. False
    // when the name is invalid or taken, produce returns false or writing fails;
    // then nothing is left in the folder.
    using Producer = std::function<bool(QIODevice*)>;
    bool create(const QString& name, const Producer& produce);
    bool create(const QString& name, const QByteArray& bytes);

    // Writes name anew, as create does, and then puts it in place of the regular
    // file of that name, if there is one (a settings file the user asked to
    // change). Never through or over a link or a folder: those are refused.
    bool replace(const QString& name, const Producer& produce);

    // Puts a complete file of the caller's own (a download in its temporary
    // folder) into the folder under name, as create does: hard-linked when both
    // are on one file system and the file has no other name, so nothing is
    // copied, otherwise copied in the kernel. The file at sourcePath stays; the
    // caller removes it.
    bool adoptFile(const QString& name, const QString& sourcePath);

    // For a writer that needs the descriptor itself (a library that writes into
    // it): a new temporary file in the folder, known by the name given back,
    // which commit links into place under name (never over what exists) and
    // discard removes. The caller closes the descriptor (or hands it to whoever
    // closes it) first. -1 when the folder is not open or the file cannot be made.
    int createTemporary(QByteArray* temporaryName);
    bool commitTemporary(const QByteArray& temporaryName, const QString& name);
    void discardTemporary(const QByteArray& temporaryName);
    // The size of a temporary file as written so far; -1 when it is gone.
    qint64 temporarySize(const QByteArray& temporaryName) const;

    // Temporary files get names, as where the system has no unnamed files, the
    // names drawn from a generator seeded with seed (temporaryName gives them).
    void useNamedTemporariesForTesting(quint32 seed);
    // The next name for a temporary file that random gives.
    static QByteArray temporaryName(QRandomGenerator* random);

private:
    void clearFailure();
    // Whether the check, if any, takes the complete file open as fd for *name (which it may change).
    bool accepts(int fd, QString* name);
    // The same for a temporary file of this folder.
    bool acceptsTemporary(const QByteArray& temporaryName, QString* name);
    // commitTemporary, the check asked or not (for bytes it took already).
    bool commit(const QByteArray& temporaryName, QString name, bool check);
    // Before a new file: the folder is open and name can be created (else myError says why).
    bool isFree(const QString& name);
    // The produced bytes in a new temporary file; false (and nothing left) when writing fails.
    bool writeTemporary(const Producer& produce, QByteArray* temporaryName, bool unnamed = true);
    // Links the open file fd into the folder as finalName; false (errno set) when that fails.
    bool linkDescriptor(int fd, const QByteArray& finalName) const;
    // A new temporary file; without a name when unnamed and the file system can link such files.
    int openTemporary(QByteArray* temporaryName, bool unnamed);
    // Copies the first size bytes of the open file in (from its start) into a new
    // temporary file; a file that grows meanwhile is not followed. False (and
    // nothing left) when that fails.
    bool copyToTemporary(int in, qint64 size, QByteArray* temporaryName);

    // Temporary files without a name: each kept open here until it is linked or dropped.
    QHash<QByteArray, int> myUnnamed;
    bool myUnnamedRefused = false;
    QRandomGenerator myNames{QRandomGenerator::global()->generate()};
    Check myCheck;
    QString myCreatedName;
    QString myPath;
    QString myError;
    bool myWriteFailed = false;
    bool myFolderRefused = false;
    int myFd = -1;
};
