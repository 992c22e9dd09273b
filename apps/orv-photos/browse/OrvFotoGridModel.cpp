#include "OrvFotoGridModel.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoDate.h"
#include "OrvFotoExporter.h"
#include "OrvFotoRegistries.h"
#include "OrvFotoRetriever.h"
#include "OrvGenericUrlTreeModel.h"
#include "OrvThumbnailLoader.h"

#include <QDir>
#include <QLocale>
#include <QMimeData>
#include <QPainter>
#include <QUrl>

#include <memory>

namespace {

// Pixmaps for a few screens of thumbnails (about 45 MB); the foto cache keeps more.
constexpr int pixmapsKept = 300;
const QColor placeholderColour(150, 150, 150);
const QColor brokenColour(190, 90, 90);

QPixmap framed(const QSize& size, const QColor& colour, bool crossed)
{
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colour, 2));
    painter.setBrush(colour.lighter(160));
    const QRect box(size.width() / 8, size.height() / 4, size.width() * 3 / 4, size.height() / 2);
    painter.drawRoundedRect(box, 6, 6);
    if (crossed) {
        painter.drawLine(box.topLeft(), box.bottomRight());
        painter.drawLine(box.topRight(), box.bottomLeft());
    }
    return pixmap;
}

// A thumbnail centred on a canvas of the grid's size, so that every item lays out alike.
QPixmap* canvas(const QSize& size, const QImage& image)
{
    const QImage fitted = image.width() > size.width() || image.height() > size.height()
        ? image.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation)
        : image;
    auto* pixmap = new QPixmap(size);
    pixmap->fill(Qt::transparent);
    QPainter painter(pixmap);
    painter.drawImage(QPoint((size.width() - fitted.width()) / 2, (size.height() - fitted.height()) / 2), fitted);
    return pixmap;
}

} // namespace

OrvFotoGridModel::OrvFotoGridModel(OrvThumbnailLoader* loader, QObject* parent)
    : QIdentityProxyModel(parent), myLoader(loader), myPixmaps(pixmapsKept),
      myPlaceholder(framed(myThumbnailSize, placeholderColour, false)), myBroken(framed(myThumbnailSize, brokenColour, true))
{
    connect(myLoader, &OrvThumbnailLoader::ready, this, &OrvFotoGridModel::onReady);
    connect(myLoader, &OrvThumbnailLoader::dropped, this, [this](const OrvExternalId& fotoId, const QSize& size) {
        // Painted again if it is still in view, and asked for again then.
        const QModelIndex index = size == thumbnailSize() ? indexForFoto(fotoId) : QModelIndex();
        if (index.isValid())
            emit dataChanged(index, index, {Qt::DecorationRole});
    });
    connect(myLoader, &OrvThumbnailLoader::metaDataReady, this, [this](const OrvExternalId& fotoId, const OrvFotoMetaData& metaData) {
        if (!myMetaDataAsked.contains(fotoId) || !myDatabase)
            return;
        if (metaData.pictureTaken().isValid())
            OrvSingleton<OrvFotoCacheManager>::instance()->insertMetaData(
                OrvFoto(OrvFotoKeyExternalService(myDatabase.data(), fotoId)), metaData);
        const QModelIndex index = indexForFoto(fotoId);
        if (index.isValid())
            emit dataChanged(index, index, {Qt::DisplayRole});
    });
    connect(this, &QAbstractItemModel::modelReset, this, &OrvFotoGridModel::forgetRows);
    connect(this, &QAbstractItemModel::rowsInserted, this, &OrvFotoGridModel::forgetRows);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &OrvFotoGridModel::forgetRows);
    connect(this, &QAbstractItemModel::layoutChanged, this, &OrvFotoGridModel::forgetRows);
}

void OrvFotoGridModel::setAlbum(OrvExternalDatabase* database, const OrvExternalId& albumId)
{
    if (database == myDatabase && albumId == myAlbum)
        return;
    myLoader->cancelWaiting();
    myDatabase = database;
    myAlbum = albumId;
    myFailed.clear();
    myMetaDataAsked.clear();
    if (!database || !database->groupModel()) {
        setSourceModel(nullptr);
        return;
    }
    database->groupModel()->setAutoSortColumn(mySortColumn);
    database->groupModel()->setAlbum(albumId);
    if (sourceModel() != database->groupModel())
        setSourceModel(database->groupModel());
}

void OrvFotoGridModel::setSortColumn(int column)
{
    mySortColumn = column;
    if (myDatabase && myDatabase->groupModel())
        myDatabase->groupModel()->setAutoSortColumn(column);
}

void OrvFotoGridModel::setThumbnailSize(const QSize& size)
{
    if (size == myThumbnailSize || size.isEmpty())
        return;
    // What waits for the old size is of no use now; what is shown is asked for again when painted.
    myLoader->cancelWaiting();
    myThumbnailSize = size;
    myPixmaps.clear();
    myFailed.clear();
    myPlaceholder = framed(size, placeholderColour, false);
    myBroken = framed(size, brokenColour, true);
    if (rowCount() > 0)
        emit dataChanged(index(0, 0), index(rowCount() - 1, 0), {Qt::DecorationRole, ThumbnailStateRole});
}

OrvExternalFoto OrvFotoGridModel::fotoAt(int row) const
{
    const auto* group = qobject_cast<OrvGroupModelAbstract*>(sourceModel());
    return group ? group->fotoAt(row) : OrvExternalFoto();
}

void OrvFotoGridModel::forgetRows() { myRows.clear(); }

QModelIndex OrvFotoGridModel::indexForFoto(const OrvExternalId& fotoId) const
{
    if (myRows.isEmpty()) {
        const int rows = rowCount();
        myRows.reserve(rows);
        for (int row = 0; row < rows; ++row)
            myRows.insert(fotoAt(row).id(), row);
    }
    const auto it = myRows.constFind(fotoId);
    return it == myRows.constEnd() ? QModelIndex() : index(*it, 0);
}

QVariant OrvFotoGridModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || !myDatabase)
        return QVariant();
    switch (role) {
    case Qt::DecorationRole: {
        const OrvExternalId id = fotoAt(index.row()).id();
        if (const QPixmap* pixmap = myPixmaps.object(id))
            return *pixmap;
        if (myFailed.contains(id))
            return myBroken;
        const QImage image = myLoader->request(myDatabase, id, thumbnailSize());
        if (image.isNull())
            return myPlaceholder;
        QPixmap* pixmap = canvas(myThumbnailSize, image);
        const QPixmap shown = *pixmap;
        myPixmaps.insert(id, pixmap);
        return shown;
    }
    case Qt::DisplayRole: {
        const OrvExternalFoto foto = fotoAt(index.row());
        // A date from the source's metadata is read on a loading thread, never in a paint.
        const QDateTime takenAt = OrvFotoDate::takenOf(myDatabase.data(), foto, false);
        if (!takenAt.isValid() && foto.isValid() && !myMetaDataAsked.contains(foto.id())) {
            myMetaDataAsked.insert(foto.id());
            myLoader->requestMetaData(myDatabase, foto.id());
        }
        const QString taken = OrvFotoDate::toDisplayString(takenAt, QLocale::ShortFormat);
        const QString name = OrvFotoDate::nameOf(foto);
        return taken.isEmpty() ? name : name + QLatin1Char('\n') + taken;
    }
    case Qt::ToolTipRole:
        return fotoAt(index.row()).id().toString();
    case FotoIdRole:
        return QVariant::fromValue(fotoAt(index.row()).id());
    case ThumbnailStateRole: {
        const OrvExternalId id = fotoAt(index.row()).id();
        return myPixmaps.contains(id) ? Shown : myFailed.contains(id) ? Failed : Waiting;
    }
    default:
        return QIdentityProxyModel::data(index, role);
    }
}

void OrvFotoGridModel::onReady(const OrvExternalId& fotoId, const QSize& size, const QImage& image, const QSize&)
{
    if (size != thumbnailSize())
        return;
    const QModelIndex index = indexForFoto(fotoId);
    if (!index.isValid())
        return;
    if (image.isNull()) {
        myFailed.insert(fotoId);
    } else {
        myPixmaps.insert(fotoId, canvas(myThumbnailSize, image));
    }
    emit dataChanged(index, index, {Qt::DecorationRole, ThumbnailStateRole});
    emit thumbnailArrived(index);
}

Qt::ItemFlags OrvFotoGridModel::flags(const QModelIndex& index) const
{
    return QIdentityProxyModel::flags(index) | (index.isValid() ? Qt::ItemIsDragEnabled : Qt::NoItemFlags);
}

QStringList OrvFotoGridModel::mimeTypes() const { return {QStringLiteral("text/uri-list")}; }

QMimeData* OrvFotoGridModel::mimeData(const QModelIndexList& indexes) const
{
    if (!myDatabase || indexes.isEmpty())
        return nullptr;
    // Each drag gets a folder of its own, so two fotos of one name stay apart.
    static int drags = 0;
    const QString folder = QDir(OrvSingleton<OrvFotoSafeContainer>::instance()->temporaryDir())
                               .filePath(QStringLiteral("drag-%1").arg(++drags));
    OrvFotoExporter::Options options;
    options.full = true;
    OrvFotoExporter exporter(folder, options);
    QList<QUrl> urls;
    QSet<int> rows;
    for (const QModelIndex& index : indexes) {
        if (!index.isValid() || rows.contains(index.row()))
            continue;
        rows.insert(index.row());
        const OrvExternalFoto foto = fotoAt(index.row());
        const std::unique_ptr<OrvFotoRetrieverInterface> retriever(myDatabase->createRetrieverInterface(foto.id()));
        QString name;
        if (exporter.isOpen() && exporter.write(foto, retriever.get(), &name) == OrvFotoExporter::Written)
            urls.append(QUrl::fromLocalFile(QDir(folder).filePath(name)));
    }
    if (urls.isEmpty())
        return nullptr;
    auto* data = new QMimeData;
    data->setUrls(urls);
    return data;
}
