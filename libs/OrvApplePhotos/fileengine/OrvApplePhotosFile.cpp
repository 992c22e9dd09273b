#include "OrvApplePhotosFile.h"

#include "OrvApplePhotosFileEngineHandler.h"
#include "OrvFotoRegistries.h"
#include "OrvTargetFolder.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMutex>
#include <QRandomGenerator>

namespace {

// The copies by pseudo path. The host may externalize from several threads.
QMutex tempFilesMutex;
QHash<QString, QString> tempFiles;

// Six letters and digits, as a temporary file's name has them.
QString randomStem()
{
    static const char alphabet[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    QString stem;
    for (int i = 0; i < 6; ++i)
        stem.append(QLatin1Char(alphabet[QRandomGenerator::global()->bounded(int(sizeof alphabet) - 1)]));
    return stem;
}

} // namespace

QPair<QString, QString> OrvApplePhotosFile::splitPathAndFile(const QString& path)
{
    const QLatin1String marker(prefix);
    if (!path.startsWith(marker))
        return {};
    // From the last prefix on, the prefix included: a path that names several keeps the innermost.
    return {QStringLiteral("photokitfs"), path.mid(path.lastIndexOf(marker))};
}

bool OrvApplePhotosFile::isApplePhotosPath(const QString& path) { return !splitPathAndFile(path).first.isEmpty(); }

QString OrvApplePhotosFile::dbFile(const QString& path) { return splitPathAndFile(path).first; }

QUrl OrvApplePhotosFile::externalize(const QUrl& url)
{
    const QString path = url.toLocalFile();
    if (splitPathAndFile(path).second.isEmpty())
        return url;
    QMutexLocker locker(&tempFilesMutex);
    const auto known = tempFiles.constFind(path);
    if (known != tempFiles.cend())
        return QUrl::fromLocalFile(*known);

    QFile pseudo(path);
    if (!pseudo.open(QIODevice::ReadOnly))
        return url;
    const QByteArray bytes = pseudo.readAll();
    // Written only into the host's temporary folder, under a name of its own:
    // two assets of the same name get two files.
    OrvTargetFolder folder(OrvSingleton<OrvFotoSafeContainer>::instance()->temporaryDir());
    const QString suffix = QFileInfo(path).completeSuffix();
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString name = suffix.isEmpty() ? randomStem() : randomStem() + QLatin1Char('.') + suffix;
        if (!OrvTargetFolder::isValidName(name))
            break;
        if (folder.isTaken(name))
            continue;
        if (!folder.create(name, bytes))
            break;
        const QString copy = folder.path() + QLatin1Char('/') + name;
        tempFiles.insert(path, copy);
        return QUrl::fromLocalFile(copy);
    }
    qDebug() << "externalize: cannot copy" << path << folder.errorString();
    return url;
}

void OrvApplePhotosFile::deleteTempFiles()
{
    QMutexLocker locker(&tempFilesMutex);
    for (const QString& copy : std::as_const(tempFiles))
        QFile::remove(copy);
    tempFiles.clear();
}

void OrvApplePhotosFile::installHandler()
{
    // Qt keeps a handler registered from its construction to its destruction;
    // one destroyed at exit after Qt's own list is gone is handled by Qt.
    static OrvApplePhotosFileEngineHandler handler;
    Q_UNUSED(handler);
}
