#pragma once

#include "OrvExternalFoto.h"
#include "OrvExternalId.h"

#include <QCache>
#include <QHash>
#include <QIdentityProxyModel>
#include <QPixmap>
#include <QPointer>
#include <QSet>

#include "OrvExternalDatabase.h"
class OrvThumbnailLoader;

// The fotos of the opened album for a grid: the source's own group model
// (OrvGroupModelAbstract, which follows the source's notifications), with a
// thumbnail, the name and the date of each foto. Thumbnails are asked for
// when a view paints an item, so only what is visible is fetched; until one
// arrives the item shows a placeholder. Pixmaps are kept for a few screens
// only: the bitmaps themselves live in the host's foto cache.
class OrvFotoGridModel : public QIdentityProxyModel
{
    Q_OBJECT
public:
    enum Role { FotoIdRole = Qt::UserRole + 200, ThumbnailStateRole };
    enum ThumbnailState { Waiting, Shown, Failed };

    explicit OrvFotoGridModel(OrvThumbnailLoader* loader, QObject* parent = nullptr);

    void setAlbum(OrvExternalDatabase* database, const OrvExternalId& albumId);
    // How the fotos are ordered: by name (0), date taken (1) or as the album has them (-1).
    void setSortColumn(int column);
    int sortColumn() const { return mySortColumn; }
    OrvExternalDatabase* database() const { return myDatabase; }
    OrvExternalId album() const { return myAlbum; }
    OrvExternalFoto fotoAt(int row) const;
    QModelIndex indexForFoto(const OrvExternalId& fotoId) const;

    // The edge thumbnails are asked for and shown at; a new size asks the
    // loader again (the foto cache may have them already).
    QSize thumbnailSize() const { return myThumbnailSize; }
    void setThumbnailSize(const QSize& size);
    static QSize defaultThumbnailSize() { return QSize(192, 192); }

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    // Dragging fotos out offers their files, written to the host's temporary folder.
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override { return Qt::CopyAction; }

signals:
    void thumbnailArrived(const QModelIndex& index);

private:
    void onReady(const OrvExternalId& fotoId, const QSize& size, const QImage& image, const QSize& pixelSize);
    void forgetRows();

    OrvThumbnailLoader* myLoader;
    QPointer<OrvExternalDatabase> myDatabase;
    OrvExternalId myAlbum;
    mutable QCache<OrvExternalId, QPixmap> myPixmaps;
    mutable QSet<OrvExternalId> myFailed;
    // Fotos without a date of their own whose metadata was asked for, once each.
    mutable QSet<OrvExternalId> myMetaDataAsked;
    mutable QHash<OrvExternalId, int> myRows;
    QSize myThumbnailSize = defaultThumbnailSize();
    int mySortColumn = 1;
    QPixmap myPlaceholder;
    QPixmap myBroken;
};
