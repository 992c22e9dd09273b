#pragma once

#include "OrvExternalDatabase.h"

#include <QAbstractItemModel>
#include <QAbstractListModel>
#include <QHash>
#include <QPointer>

#include <memory>
#include <vector>

// The album tree of one source as a Qt item model. It keeps its own copy of
// the tree and follows the source's notifications, so it is always
// consistent with what it told its views.
class OrvGenericUrlTreeModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    enum Role { UrlRole = Qt::UserRole + 1, FotoCountRole, AlbumTypeRole };

    explicit OrvGenericUrlTreeModel(QObject* parent = nullptr);
    ~OrvGenericUrlTreeModel() override;

    void setExternalDatabase(OrvExternalDatabase* database);
    OrvExternalDatabase* externalDatabase() const { return myDatabase; }

    QModelIndex indexForId(const OrvExternalId& albumId) const;
    OrvExternalId idForIndex(const QModelIndex& index) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

public slots:
    void rebuild();

private:
    struct Node;
    void onAlbumAdded(const OrvExternalAlbum& album);
    void onAlbumRemoved(const OrvExternalAlbum& album);
    void onAlbumRenamed(const OrvExternalAlbum& album, const QString& name);
    Node* nodeFor(const QModelIndex& index) const;
    QModelIndex indexFor(Node* node) const;
    void forget(Node* node);

    QPointer<OrvExternalDatabase> myDatabase;
    std::unique_ptr<Node> myRoot;
    QHash<OrvExternalId, Node*> myNodes;
    int myOrphans = 0;  // albums shown at the top because their parent is not known yet
};

// The fotos of one album of a source, for a list or grid view; a folder
// shows the fotos of the albums inside it.
class OrvGroupModelAbstract : public QAbstractListModel
{
    Q_OBJECT
public:
    enum Role { UrlRole = Qt::UserRole + 1, TakenRole, RatingRole };

    explicit OrvGroupModelAbstract(OrvExternalDatabase* database);

    OrvGenericUrlTreeModel* treeModel() const { return myTreeModel; }
    // Column by which rows are sorted: 0 name, 1 date taken; -1 keeps the source's order.
    void setAutoSortColumn(int column);
    int autoSortColumn() const { return mySortColumn; }
    void setAlbum(const OrvExternalId& albumId);
    const OrvExternalId& album() const { return myAlbum; }
    OrvExternalFoto fotoAt(int row) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

protected:
    void reload();

private:
    void reloadIf(const OrvExternalId& albumId);

    OrvExternalDatabase* myDatabase;
    OrvGenericUrlTreeModel* myTreeModel;
    OrvExternalId myAlbum;
    OrvExternalFotoList myFotos;
    int mySortColumn = 1;
};

class OrvGroupModel : public OrvGroupModelAbstract
{
    Q_OBJECT
public:
    explicit OrvGroupModel(OrvExternalDatabase* database) : OrvGroupModelAbstract(database) {}
};
