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
    const QStringList names = dir.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                                            QDir::Name);
    for (const QString& name : names) {
        const QFileInfo entry(dir.filePath(name));
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
    out() << names.size() << (names.size() == 1 ? " entry\n" : " entries\n");
    return 0;
}
