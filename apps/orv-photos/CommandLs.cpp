#include "Commands.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Entry
{
    QString name;
    QChar kind;
    QFile::Permissions permissions;
    QDateTime modified;
};

// A name as the file system has it: bytes that are no text in its encoding escaped, so that every entry shows.
QString shownName(const QByteArray& bytes)
{
    const QString decoded = QFile::decodeName(bytes);
    if (QFile::encodeName(decoded) == bytes)
        return decoded;
    QString escaped;
    for (const char byte : bytes) {
        const uchar code = uchar(byte);
        if (code >= 0x20 && code < 0x7f && code != '\\')
            escaped += QLatin1Char(byte);
        else
            escaped += QStringLiteral("\\x%1").arg(uint(code), 2, 16, QLatin1Char('0'));
    }
    return escaped;
}

QChar kindOf(mode_t mode)
{
    if (S_ISLNK(mode))
        return QLatin1Char('l');
    if (S_ISDIR(mode))
        return QLatin1Char('d');
    if (S_ISFIFO(mode))
        return QLatin1Char('p');
    if (S_ISCHR(mode))
        return QLatin1Char('c');
    if (S_ISBLK(mode))
        return QLatin1Char('b');
    return S_ISSOCK(mode) ? QLatin1Char('s') : QLatin1Char('-');
}

// Every entry of a real directory, straight from the system: QDir leaves out names
// it cannot decode. Permissions and date are those of what a link leads to, as QFileInfo gives them.
bool readDirectory(const QString& path, QList<Entry>* entries)
{
    DIR* dir = ::opendir(QFile::encodeName(path).constData());
    if (!dir)
        return false;
    const int fd = ::dirfd(dir);
    while (const dirent* item = ::readdir(dir)) {
        const QByteArray name(item->d_name);
        if (name == "." || name == "..")
            continue;
        Entry entry{shownName(name), QLatin1Char('-'), {}, {}};
        struct stat info {};
        if (::fstatat(fd, item->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0)
            entry.kind = kindOf(info.st_mode);
        if (::fstatat(fd, item->d_name, &info, 0) == 0) {
            entry.permissions.setFlag(QFile::ReadOwner, (info.st_mode & S_IRUSR) != 0);
            entry.permissions.setFlag(QFile::WriteOwner, (info.st_mode & S_IWUSR) != 0);
            entry.permissions.setFlag(QFile::ExeOwner, (info.st_mode & S_IXUSR) != 0);
            entry.modified = QDateTime::fromSecsSinceEpoch(qint64(info.st_mtime));
        }
        entries->append(entry);
    }
    ::closedir(dir);
    std::sort(entries->begin(), entries->end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return true;
}

// Pseudo paths ("photokitfs:") through the file engine, as the application sees them.
QList<Entry> readThroughQt(const QString& path)
{
    const QDir dir(path);
    const QFileInfoList infos = dir.entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
    // Names as paths within the directory: Qt 6.8 and later ask a file engine for a
    // file's name, and the Photos engine answers with its whole pseudo path.
    const QString inside = dir.path().endsWith(QLatin1Char('/')) ? dir.path() : dir.path() + QLatin1Char('/');
    QList<Entry> entries;
    for (const QFileInfo& info : infos) {
        const QString name = info.filePath().startsWith(inside) ? info.filePath().mid(inside.size()) : info.fileName();
        const QChar kind = info.isSymLink() ? QLatin1Char('l') : info.isDir() ? QLatin1Char('d') : QLatin1Char('-');
        entries.append({name, kind, info.permissions(), info.lastModified()});
    }
    return entries;
}

} // namespace

// The entries of a directory: kind as ls shows it, owner's permissions and
// date. Pseudo paths ("photokitfs:") go through the plug-in's file engine (program id 8).
int commandLs(const OrvArguments& arguments)
{
    const QString path = arguments.arguments().first();
    const QFileInfo directory(path);
    if (!directory.exists() || !directory.isDir()) {
        fail("ls") << OrvCommandLine::tr("%1 is no folder").arg(path) << "\n";
        return 1;
    }
    QList<Entry> entries;
    if (path.startsWith(QLatin1String("photokitfs:")) || !readDirectory(path, &entries))
        entries = readThroughQt(path);
    for (const Entry& entry : std::as_const(entries)) {
        QString mode(entry.kind);
        mode += entry.permissions.testFlag(QFile::ReadOwner) ? QLatin1Char('r') : QLatin1Char('-');
        mode += entry.permissions.testFlag(QFile::WriteOwner) ? QLatin1Char('w') : QLatin1Char('-');
        mode += entry.permissions.testFlag(QFile::ExeOwner) ? QLatin1Char('x') : QLatin1Char('-');
        const QString shown = entry.modified.isValid() ? entry.modified.toString(Qt::ISODate) : QStringLiteral("-");
        out() << mode << "  " << shown.leftJustified(25) << "  " << entry.name << "\n";
    }
    out() << (entries.size() == 1 ? OrvCommandLine::tr("1 entry") : OrvCommandLine::tr("%1 entries").arg(entries.size())) << "\n";
    return 0;
}
