#include "OrvApplePhotosFileEngine.h"

#include "OrvApplePhotosIterator.h"
#include "OrvPhotoKit.h"
#include "OrvPhotoKitDatabase.h"

#include <QDebug>
#include <QFile>
#include <QMutex>

namespace {

const QLatin1String jpegSuffix(".jpeg");

// Local identifier -> creation date, filled by listings; it only grows.
QMutex assetDateMutex;
QHash<QString, QDateTime> AssetDateCache;

// "photokit:foto#": what every listed photo's OrvExternalId URL starts with. Remote
// ids hold only characters a URL keeps as they are, so name = prefix + id + ".jpeg".
const QString& fotoUrlPrefix()
{
    static const QString prefix = [] {
        QString url = OrvExternalId(QStringLiteral("photokit"), QStringLiteral("foto"), QStringLiteral("X")).toUrl().toString();
        url.chop(1);
        return url;
    }();
    return prefix;
}

} // namespace

OrvApplePhotosFileEngine::OrvApplePhotosFileEngine(const QString& fileName, const QString& databaseName,
                                                   const QString& filePart)
    : myFileName(fileName), myDatabaseName(databaseName), myFilePart(filePart)
{
}

OrvApplePhotosFileEngine::~OrvApplePhotosFileEngine() = default;

bool OrvApplePhotosFileEngine::open(QIODevice::OpenMode openMode, std::optional<QFile::Permissions>)
{
    QAbstractFileEngine::open(openMode, std::nullopt);
    myOpenMode = openMode;
    return true;
}

bool OrvApplePhotosFileEngine::close()
{
    QAbstractFileEngine::close();
    return true;
}

bool OrvApplePhotosFileEngine::flush() { return true; }

qint64 OrvApplePhotosFileEngine::size() const { return myContentsLoaded ? myContents.size() : 0; }

qint64 OrvApplePhotosFileEngine::pos() const { return myPosition; }

bool OrvApplePhotosFileEngine::seek(qint64 offset)
{
    readAll();
    if (offset < 0 || offset > myContents.size())
        return false;
    myPosition = int(offset);
    return true;
}

bool OrvApplePhotosFileEngine::isSequential() const { return false; }

bool OrvApplePhotosFileEngine::remove() { return remove(myFilePart); }

bool OrvApplePhotosFileEngine::remove(const QString&) const { return false; }

bool OrvApplePhotosFileEngine::copy(const QString& newName)
{
    readAll();
    QFile target(newName);
    if (target.open(QIODevice::WriteOnly))
        target.write(myContents);
    return true;
}

bool OrvApplePhotosFileEngine::rename(const QString&) { return false; }

bool OrvApplePhotosFileEngine::mkdir(const QString& dirName, bool, std::optional<QFile::Permissions>) const
{
    return dirName == myFileName;
}

bool OrvApplePhotosFileEngine::rmdir(const QString&, bool) const { return false; }

bool OrvApplePhotosFileEngine::setSize(qint64) { return true; }

bool OrvApplePhotosFileEngine::caseSensitive() const { return true; }

bool OrvApplePhotosFileEngine::isRelativePath() const { return !myFileName.startsWith(QLatin1Char('/')); }

QStringList OrvApplePhotosFileEngine::entryList(OrvEntryListFilters, const QStringList&) const
{
    // Every photo of the library, whatever the directory and the filters.
    QStringList names;
    const OrvPhotoKit::PhotoLibraryPtr library = OrvPhotoKit::sharedPhotoLibrary();
    const OrvPhotoKit::FetchOptions options;
    const OrvPhotoKit::FetchResultPtr assets = library ? library->fetchAssetsWithOptions(&options) : nullptr;
    if (!assets)
        return names;
    names.reserve(assets->count());
    const QString& prefix = fotoUrlPrefix();
    QMutexLocker locker(&assetDateMutex);
    AssetDateCache.reserve(AssetDateCache.size() + assets->count());
    for (qsizetype i = 0; i < assets->count(); ++i) {
        const OrvPhotoKit::AssetPtr asset = OrvPhotoKit::asAsset(assets->objectAtIndex(i));
        if (!asset)
            continue;
        const QString localIdentifier = asset->localIdentifier();
        QString name;
        name.reserve(prefix.size() + localIdentifier.size() * 3 + jpegSuffix.size());
        name += prefix;
        OrvPhotoKitDatabase::appendRemoteId(localIdentifier, &name);
        name += jpegSuffix;
        names.append(name);
        AssetDateCache.insert(localIdentifier, asset->creationDate().value_or(QDateTime()));
    }
    return names;
}

QAbstractFileEngine::FileFlags OrvApplePhotosFileEngine::fileFlags(FileFlags type) const
{
    FileFlags flags = (type & PermsMask) ? FileFlags(PermsMask) : FileFlags();
    if (!(type & (ExistsFlag | FileType)))
        return flags;
    // A photo is an existing link, not a plain file; everything else an existing directory.
    if (myFilePart.contains(QLatin1String("photokit:foto")))
        return flags | ExistsFlag | LinkType;
    return flags | ExistsFlag | DirectoryType;
}

bool OrvApplePhotosFileEngine::setPermissions(uint) { return true; }

QString OrvApplePhotosFileEngine::fileName(FileName file) const
{
    QString name;
    switch (file) {
    case DefaultName:
    case PathName:
    case AbsoluteName:
    case AbsolutePathName:
    case CanonicalPathName:
        name = myFileName;
        break;
    case BaseName:
        name = myFilePart;
        break;
    case CanonicalName: {
        const qsizetype at = myFilePart.lastIndexOf(QLatin1String("photokit:"));
        name = myFilePart.mid(qMax<qsizetype>(0, at));
        name.remove(jpegSuffix);
        break;
    }
    default:
        return QString();
    }
    if (name.endsWith(QLatin1Char('/')))
        name.chop(1);
    return name;
}

uint OrvApplePhotosFileEngine::ownerId(FileOwner) const { return 501; }

QString OrvApplePhotosFileEngine::owner(FileOwner) const { return QStringLiteral("dbadmin"); }

QDateTime OrvApplePhotosFileEngine::fileTime(OrvFileTime) const
{
    // Taken as it stands, not turned back with toLocalIdentifier: deliberately so.
    QString localIdentifier = myFilePart.mid(myFilePart.lastIndexOf(QLatin1Char('#')) + 1);
    localIdentifier.remove(jpegSuffix);
    {
        QMutexLocker locker(&assetDateMutex);
        const auto cached = AssetDateCache.constFind(localIdentifier);
        if (cached != AssetDateCache.cend())
            return *cached;
    }
    const OrvPhotoKit::PhotoLibraryPtr library = OrvPhotoKit::sharedPhotoLibrary();
    const OrvPhotoKit::FetchResultPtr assets =
        library ? library->fetchAssetsWithLocalIdentifiers({localIdentifier}, nullptr) : nullptr;
    const OrvPhotoKit::AssetPtr asset = assets ? OrvPhotoKit::asAsset(assets->firstObject()) : nullptr;
    if (!asset) {
        QMessageLogger(QT_MESSAGELOG_FILE, QT_MESSAGELOG_LINE, "OrvApplePhotosFileEngine::fileTime", "default").debug()
            << "Error: Asset with localIdentifier" << localIdentifier << "not found";
        return QDateTime();
    }
    const QDateTime created = asset->creationDate().value_or(QDateTime());
    QMutexLocker locker(&assetDateMutex);
    AssetDateCache.insert(localIdentifier, created);
    return created;
}

QDateTime OrvApplePhotosFileEngine::cachedAssetDate(const QString& localIdentifier)
{
    QMutexLocker locker(&assetDateMutex);
    return AssetDateCache.value(localIdentifier);
}

void OrvApplePhotosFileEngine::setFileName(const QString& file) { myFileName = file; }

OrvFileEngineIteratorPtr OrvApplePhotosFileEngine::beginEntryList(const QString& path, OrvEntryListFilters filters,
                                                                   const QStringList& filterNames)
{
    return OrvFileEngineIteratorPtr(
        new OrvApplePhotosIterator(path, entryList(filters, filterNames), filters, filterNames));
}

qint64 OrvApplePhotosFileEngine::read(char* data, qint64 maxlen)
{
    readAll();
    const qint64 count = qMin<qint64>(myContents.size() - myPosition, maxlen);
    if (count < 1)
        return 0;
    memcpy(data, myContents.constData() + myPosition, size_t(count));
    myPosition += int(count);
    return count;
}

qint64 OrvApplePhotosFileEngine::write(const char* data, qint64 len)
{
    // Loaded first, so that a later read does not replace what was written.
    readAll();
    const QByteArray bytes = len < 0 ? QByteArray(data) : QByteArray(data, qsizetype(len));
    myContents.append(bytes);
    myPosition += int(len < 0 ? bytes.size() : len);
    return len;
}

void OrvApplePhotosFileEngine::readAll()
{
    if (myContentsLoaded)
        return;
    myContents = readAllIntoArray();
    myContentsLoaded = true;
}

QByteArray OrvApplePhotosFileEngine::readAllIntoArray() const
{
    // Empty in this version: bytes of assets come through the Photos source.
    return QByteArray();
}
