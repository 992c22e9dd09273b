#include "OrvPhotoKitDatabase.h"

#include "OrvFotoRetrieverInterfacePhotoKit.h"
#include "OrvGenericUrlTreeModel.h"
#include "OrvPhotoKitLoader.h"

#include <QCoreApplication>
#include <QFileIconProvider>
#include <QFileInfo>

#include <algorithm>

namespace {

const QString photoKitServiceId = QStringLiteral("photokit");

QString photosApplicationPath()
{
    const QString system = QStringLiteral("/System/Applications/Photos.app");
    return QFileInfo::exists(system) ? system : QStringLiteral("/Applications/Photos.app");
}

} // namespace

OrvPhotoKitDatabase::OrvPhotoKitDatabase()
    : OrvExternalDatabase(OrvExternalService(photoKitServiceId, OrvFotoDatabaseType::displayName(photoKitServiceId), QIcon(), QIcon(),
                                             QImage(), 0),
                          OrvFotoDatabaseType(OrvFotoDatabaseType::PhotoKit))
{
    service().setIcons(QFileIconProvider().icon(QFileInfo(photosApplicationPath())));
    groupModel()->treeModel()->setExternalDatabase(this);
    service().setPlaceholderText(OrvFotoRetrieverInterfacePhotoKit::placeholderText());
    // The loader announces the tree in the order the user should see it.
    groupModel()->setAutoSortColumn(-1);
    myLoader = OrvPhotoKitLoader::initWithDatabase(this);
}

OrvPhotoKitDatabase::~OrvPhotoKitDatabase()
{
    if (myLoader)
        myLoader->detach();
}

bool OrvPhotoKitDatabase::doLazyInit()
{
    if (myLazyInitDone)
        return true;
    if (!myLoader)
        return false;
    myLazyInitDone = true;
    // Set before observing starts: the first album may arrive while startObserving still runs.
    myLoading = true;
    emit loadingInProgress(OrvFotoSourceNode(), true);
    myLoader->startObserving();
    return true;
}

OrvMediaFormatList OrvPhotoKitDatabase::convertableFileFormats(const OrvExternalId& id) const
{
    const OrvMediaFormatList formats = OrvExternalDatabase::convertableFileFormats(id);
    return formats.isEmpty() ? OrvMediaFormatList{OrvMediaFormat(OrvMediaFormat::Jpeg)} : formats;
}

OrvExternalId OrvPhotoKitDatabase::findMostImportantPlaceFor(const OrvExternalId& fotoId) const
{
    const OrvExternalId place = OrvExternalDatabase::findMostImportantPlaceFor(fotoId);
    return place.isValid() ? place : OrvExternalId(photoKitServiceId, QStringLiteral("all"), QString());
}

OrvFotoRetrieverInterface* OrvPhotoKitDatabase::createRetrieverInterface(const OrvExternalId& id) const
{
    return new OrvFotoRetrieverInterfacePhotoKit(id);
}

bool OrvPhotoKitDatabase::wantsToBeShown() { return myLoader != nullptr; }

void OrvPhotoKitDatabase::fetchMore(const QUrl& url)
{
    doLazyInit();
    if (myLoader)
        myLoader->fetchMore(url);
}

void OrvPhotoKitDatabase::setSortOption(OrvFotoSortOption option, bool ascending)
{
    if (option == OrvFotoSortNone)
        return;
    // One change of order is the platform's job; after that the host sorts for good.
    if (mySortOption != OrvFotoSortNone && (option != mySortOption || ascending != mySortAscending))
        mySortFrozen = true;
    if (mySortFrozen)
        return;
    mySortOption = option;
    mySortAscending = ascending;
    OrvPhotoKit::SortDescriptors descriptors;
    if (option == OrvFotoSortByFavoriteAndDate)
        descriptors.append({QStringLiteral("favorite"), !ascending});  // favourites first when dates ascend
    descriptors.append({QStringLiteral("creationDate"), ascending});
    if (myLoader)
        myLoader->setSortDescriptors(descriptors);
}

bool OrvPhotoKitDatabase::isSelfSorter() const { return !mySortFrozen; }

void OrvPhotoKitDatabase::refresh()
{
    if (myLoader)
        myLoader->reload();
}

void OrvPhotoKitDatabase::markAlbumAsRequested(const OrvExternalId& albumId) const
{
    // Asking for an album is opening it.
    const_cast<OrvPhotoKitDatabase*>(this)->fetchMore(albumId.toUrl());
}

void OrvPhotoKitDatabase::albumAdded(const OrvExternalAlbum& album)
{
    if (myLoading.exchange(false))
        emit loadingInProgress(OrvFotoSourceNode(), false);
    emit OrvExternalDatabase::albumAdded(album, QIcon());
}

void OrvPhotoKitDatabase::fotosInserted(const QList<OrvExternalFoto>& fotos, const OrvExternalId& albumId)
{
    emit OrvExternalDatabase::fotosInserted(OrvExternalFotoList(fotos), albumId);
}

void OrvPhotoKitDatabase::albumRemoved(const OrvExternalId& albumId)
{
    const OrvExternalAlbum album = findAlbum(albumId);
    if (!album.isValid())
        return;  // never announced, or gone with its folder already
    emit OrvExternalDatabase::albumRemoved(album, false);
    getExternalDataPool().removeAlbum(albumId);
}

void OrvPhotoKitDatabase::fotoRemoved(const OrvExternalId& fotoId, const OrvExternalId& albumId)
{
    emit OrvExternalDatabase::fotoRemoved(fotoId, albumId);
}

void OrvPhotoKitDatabase::albumRenamed(const OrvExternalId& albumId, const QString& newName)
{
    const OrvExternalAlbum album = findAlbum(albumId);
    if (album.isValid())
        emit OrvExternalDatabase::albumRenamed(album, newName);
}

void OrvPhotoKitDatabase::fotosRemoved(const QList<OrvExternalId>& fotoIds, const OrvExternalId& albumId)
{
    emit OrvExternalDatabase::fotosRemoved(fotoIds, albumId);
}

QString OrvPhotoKitDatabase::accessDeniedText()
{
    return QCoreApplication::translate(
        "OrvPhotoKitDatabase",
        "Zugriff auf Fotos Datenbank verweigert.\nÜberprüfen Sie die Datenschutz Systemeinstellungen.");
}

void OrvPhotoKitDatabase::authFailed() { service().setPlaceholderText(accessDeniedText()); }

OrvExternalId OrvPhotoKitDatabase::addProject(const QString& name)
{
    return myLoader ? myLoader->addProject(name) : OrvExternalId();
}

OrvDrawable OrvPhotoKitDatabase::drawable(const OrvExternalId& id, const QSize& size, bool immediately)
{
    return myLoader ? OrvDrawable(myLoader->requestImage(id, size, immediately)) : OrvDrawable();
}

// An invalid format ("as stored") asks for the bytes as Photos delivers them.
QByteArray OrvPhotoKitDatabase::file(const OrvExternalId& id, const OrvMediaFormat& format)
{
    return myLoader ? myLoader->file(id, format.toUti()) : QByteArray();
}

OrvFotoMetaData OrvPhotoKitDatabase::metaData(const OrvExternalId& id)
{
    return myLoader ? myLoader->metaData(id) : OrvFotoMetaData();
}

QString OrvPhotoKitDatabase::allPhotosAlbumName() { return QCoreApplication::translate("OrvPhotoKitDatabase", "Alle Fotos"); }

QString OrvPhotoKitDatabase::yearsPhotosAlbumName() { return QCoreApplication::translate("OrvPhotoKitDatabase", "Jahre"); }

QString OrvPhotoKitDatabase::iCloudSharedPhotosAlbumName()
{
    return QCoreApplication::translate("OrvPhotoKitDatabase", "Geteilte Alben", "Shared Albums");
}

QString OrvPhotoKitDatabase::projectsPhotosAlbumName()
{
    return QCoreApplication::translate("OrvPhotoKitDatabase", "Projekt", "Project");
}

QString OrvPhotoKitDatabase::toLocalIdentifier(const QString& remoteId)
{
    QByteArray encoded = remoteId.toUtf8();
    encoded.replace('_', '%');
    return QString::fromUtf8(QByteArray::fromPercentEncoding(encoded));
}

QString OrvPhotoKitDatabase::fromLocalIdentifier(const QString& localIdentifier)
{
    QString remote;
    appendRemoteId(localIdentifier, &remote);
    return remote;
}

void OrvPhotoKitDatabase::appendRemoteId(const QString& localIdentifier, QString* out)
{
    // Percent-encoding of the UTF-8 bytes (unreserved characters kept) with "_"
    // for "%", in one pass: every foto of a library goes through here.
    static const char hex[] = "0123456789ABCDEF";
    const auto unreserved = [](char16_t c) {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'-' || c == u'.'
            || c == u'_' || c == u'~';
    };
    const qsizetype start = out->size();
    // Identifiers are ASCII as a rule: copied as they are without a UTF-8 pass.
    const QChar* begin = localIdentifier.constData();
    const QChar* end = begin + localIdentifier.size();
    QByteArray utf8;
    qsizetype bytes = localIdentifier.size();
    if (std::any_of(begin, end, [](QChar c) { return c.unicode() >= 0x80; })) {
        utf8 = localIdentifier.toUtf8();
        bytes = utf8.size();
    }
    const auto byteAt = [&](qsizetype i) {
        return utf8.isNull() ? begin[i].unicode() : char16_t(static_cast<unsigned char>(utf8.at(i)));
    };
    // Sized exactly: the identifiers stay in memory for as long as the library is shown.
    qsizetype length = bytes;
    for (qsizetype i = 0; i < bytes; ++i)
        length += unreserved(byteAt(i)) ? 0 : 2;
    out->resize(start + length);
    QChar* write = out->data() + start;
    for (qsizetype i = 0; i < bytes; ++i) {
        const char16_t c = byteAt(i);
        if (unreserved(c)) {
            *write++ = QChar(c);
        } else {
            *write++ = QLatin1Char('_');
            *write++ = QLatin1Char(hex[c >> 4]);
            *write++ = QLatin1Char(hex[c & 15]);
        }
    }
    out->truncate(write - out->constData());
}
