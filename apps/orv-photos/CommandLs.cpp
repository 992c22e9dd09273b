#include "Commands.h"

#include <QDir>
#include <QFileInfo>

// The entries of a directory as the application's file handling sees them:
// names through QDir, kind, permissions and date through QFileInfo. Pseudo
// paths ("photokitfs:") go through the plug-in's file engine (program id 8).
int commandLs(const QStringList& arguments)
{
    if (arguments.size() != 1) {
        err() << "usage: orv-photos ls PATH\n";
        return 1;
    }
    const QString path = arguments.first();
    const QFileInfo directory(path);
    if (!directory.exists() || !directory.isDir()) {
        err() << "orv-photos ls: " << path << " is no directory\n";
        return 1;
    }
    const QDir dir(path);
    const QFileInfoList entries = dir.entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
    // Names as paths within the directory: Qt 6.8 and later ask a file engine for a
    // file's name, and the Photos engine answers with its whole pseudo path.
    const QString inside = dir.path().endsWith(QLatin1Char('/')) ? dir.path() : dir.path() + QLatin1Char('/');
    for (const QFileInfo& entry : entries) {
        const QString name = entry.filePath().startsWith(inside) ? entry.filePath().mid(inside.size()) : entry.fileName();
        const QChar kind = entry.isSymLink() ? QLatin1Char('l') : entry.isDir() ? QLatin1Char('d') : QLatin1Char('-');
        const QFile::Permissions permissions = entry.permissions();
        QString mode(kind);
        mode += permissions.testFlag(QFile::ReadOwner) ? QLatin1Char('r') : QLatin1Char('-');
        mode += permissions.testFlag(QFile::WriteOwner) ? QLatin1Char('w') : QLatin1Char('-');
        mode += permissions.testFlag(QFile::ExeOwner) ? QLatin1Char('x') : QLatin1Char('-');
        const QDateTime date = entry.lastModified();
        const QString shown = date.isValid() ? date.toString(Qt::ISODate) : QStringLiteral("-");
        out() << mode << "  " << shown.leftJustified(25) << "  " << name << "\n";
    }
    out() << entries.size() << (entries.size() == 1 ? " entry\n" : " entries\n");
    return 0;
}
