#include "OrvMediaLibrarySimWorkspace.h"

#include "OrvUserFile.h"

#include <QDir>
#include <QFileInfo>

using OrvMediaLibrary::RunningApplication;

namespace OrvMediaLibrarySim {

QList<RunningApplication> Workspace::runningApplications(const QString& processRoot)
{
    QList<RunningApplication> applications;
    const QDir root(processRoot);
    for (const QString& entry : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool numeric = false;
        const qint64 pid = entry.toLongLong(&numeric);
        if (!numeric)
            continue;
        const QString process = root.filePath(entry);
        // The kernel's short name (at most 15 characters) is readable for every process.
        const QString name =
            QString::fromUtf8(OrvUserFile::readAll(process + QStringLiteral("/comm"), OrvUserFile::FotoList)).trimmed();
        // The executable's full name only for processes of our own user; a
        // replaced executable is marked " (deleted)".
        QString executable = QFileInfo(QFileInfo(process + QStringLiteral("/exe")).symLinkTarget()).fileName();
        executable.remove(QStringLiteral(" (deleted)"));
        if (name.isEmpty() && executable.isEmpty())
            continue;  // gone while we looked
        applications.append(RunningApplication{executable.isEmpty() ? name : executable, name, pid});
    }
    return applications;
}

} // namespace OrvMediaLibrarySim
