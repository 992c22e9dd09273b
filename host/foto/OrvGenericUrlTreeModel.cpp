#include "OrvGenericUrlTreeModel.h"

#include <algorithm>

struct OrvGenericUrlTreeModel::Node
{
    OrvExternalId id;
    QString name;
    quint32 type = 0;
    Node* parent = nullptr;
    std::vector<std::unique_ptr<Node>> kids;

    int row() const
    {
        if (!parent)
            return 0;
        for (size_t i = 0; i < parent->kids.size(); ++i) {
            if (parent->kids[i].get() == this)
                return int(i);
        }
        return 0;
    }
};

OrvGenericUrlTreeModel::OrvGenericUrlTreeModel(QObject* parent)
    : QAbstractItemModel(parent), myRoot(std::make_unique<Node>())
{
}

OrvGenericUrlTreeModel::~OrvGenericUrlTreeModel() = default;

void OrvGenericUrlTreeModel::setExternalDatabase(OrvExternalDatabase* database)
{
    if (myDatabase == database)
        return;
    if (myDatabase)
        disconnect(myDatabase, nullptr, this, nullptr);
    myDatabase = database;
    if (database) {
        // Auto connections: notifications from a platform thread arrive on ours.
        connect(database, &OrvExternalDatabase::albumAdded, this,
                [this](const OrvExternalAlbum& album, const QIcon&) { onAlbumAdded(album); });
        connect(database, &OrvExternalDatabase::albumRemoved, this,
                [this](const OrvExternalAlbum& album, bool) { onAlbumRemoved(album); });
        connect(database, &OrvExternalDatabase::albumRenamed, this, &OrvGenericUrlTreeModel::onAlbumRenamed);
        connect(database, &OrvExternalDatabase::dataPoolSet, this, &OrvGenericUrlTreeModel::rebuild);
        connect(database, &OrvExternalDatabase::updateTreeModel, this, &OrvGenericUrlTreeModel::rebuild);
    }
    rebuild();
}

void OrvGenericUrlTreeModel::rebuild()
{
    beginResetModel();
    myRoot = std::make_unique<Node>();
    myNodes.clear();
    myOrphans = 0;
    if (myDatabase) {
        const OrvExternalDataPool& pool = myDatabase->getExternalDataPoolConst();
        const OrvExternalAlbumPool albums = pool.albumPool();
        // Walk from the top level down; the pool keeps the tree edges.
        std::vector<std::pair<Node*, OrvExternalId>> pending{{myRoot.get(), OrvExternalId()}};
        while (!pending.empty()) {
            auto [parentNode, parentId] = pending.back();
            pending.pop_back();
            for (const OrvExternalId& id : albums.children(parentId)) {
                if (myNodes.contains(id))
                    continue;
                const OrvExternalAlbum album = albums.find(id);
                auto node = std::make_unique<Node>();
                node->id = id;
                node->name = album.name();
                node->type = album.type().code();
                node->parent = parentNode;
                myNodes.insert(id, node.get());
                pending.push_back({node.get(), id});
                parentNode->kids.push_back(std::move(node));
            }
        }
        // Albums whose parent is not in the pool are shown at the top.
        for (const OrvExternalAlbum& album : albums.albums()) {
            if (myNodes.contains(album.id()))
                continue;
            auto node = std::make_unique<Node>();
            node->id = album.id();
            node->name = album.name();
            node->type = album.type().code();
            node->parent = myRoot.get();
            myNodes.insert(album.id(), node.get());
            myRoot->kids.push_back(std::move(node));
            ++myOrphans;
        }
    }
    endResetModel();
}

void OrvGenericUrlTreeModel::onAlbumAdded(const OrvExternalAlbum& album)
{
    if (!album.isValid())
        return;
    if (Node* existing = myNodes.value(album.id())) {
        const OrvExternalId currentParent = existing->parent ? existing->parent->id : OrvExternalId();
        if (currentParent == album.parentAlbum() || (!album.parentAlbum().isValid() && !currentParent.isValid())) {
            onAlbumRenamed(album, album.name());
            return;
        }
        rebuild();
        return;
    }
    const bool hasParent = album.parentAlbum().isValid();
    Node* parent = hasParent ? myNodes.value(album.parentAlbum()) : myRoot.get();
    // A parent announced later, or children announced before this album: start over.
    if (!parent || myOrphans > 0) {
        rebuild();
        return;
    }
    auto node = std::make_unique<Node>();
    node->id = album.id();
    node->name = album.name();
    node->type = album.type().code();
    node->parent = parent;
    const int row = int(parent->kids.size());
    beginInsertRows(indexFor(parent), row, row);
    myNodes.insert(album.id(), node.get());
    parent->kids.push_back(std::move(node));
    endInsertRows();
}

void OrvGenericUrlTreeModel::forget(Node* node)
{
    myNodes.remove(node->id);
    for (auto& kid : node->kids)
        forget(kid.get());
}

void OrvGenericUrlTreeModel::onAlbumRemoved(const OrvExternalAlbum& album)
{
    Node* node = myNodes.value(album.id());
    if (!node || !node->parent)
        return;
    Node* parent = node->parent;
    const int row = node->row();
    beginRemoveRows(indexFor(parent), row, row);
    forget(node);
    parent->kids.erase(parent->kids.begin() + row);
    endRemoveRows();
}

void OrvGenericUrlTreeModel::onAlbumRenamed(const OrvExternalAlbum& album, const QString& name)
{
    Node* node = myNodes.value(album.id());
    if (!node || node->name == name)
        return;
    node->name = name;
    const QModelIndex index = indexFor(node);
    emit dataChanged(index, index, {Qt::DisplayRole});
}

OrvGenericUrlTreeModel::Node* OrvGenericUrlTreeModel::nodeFor(const QModelIndex& index) const
{
    return index.isValid() ? static_cast<Node*>(index.internalPointer()) : myRoot.get();
}

QModelIndex OrvGenericUrlTreeModel::indexFor(Node* node) const
{
    if (!node || node == myRoot.get())
        return {};
    return createIndex(node->row(), 0, node);
}

QModelIndex OrvGenericUrlTreeModel::indexForId(const OrvExternalId& albumId) const
{
    return indexFor(myNodes.value(albumId));
}

OrvExternalId OrvGenericUrlTreeModel::idForIndex(const QModelIndex& index) const
{
    return index.isValid() ? nodeFor(index)->id : OrvExternalId();
}

QModelIndex OrvGenericUrlTreeModel::index(int row, int column, const QModelIndex& parent) const
{
    Node* parentNode = nodeFor(parent);
    if (column != 0 || row < 0 || row >= int(parentNode->kids.size()))
        return {};
    return createIndex(row, column, parentNode->kids[size_t(row)].get());
}

QModelIndex OrvGenericUrlTreeModel::parent(const QModelIndex& child) const
{
    if (!child.isValid())
        return {};
    return indexFor(nodeFor(child)->parent);
}

int OrvGenericUrlTreeModel::rowCount(const QModelIndex& parent) const
{
    if (parent.column() > 0)
        return 0;
    return int(nodeFor(parent)->kids.size());
}

int OrvGenericUrlTreeModel::columnCount(const QModelIndex&) const { return 1; }

QVariant OrvGenericUrlTreeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const Node* node = nodeFor(index);
    switch (role) {
    case Qt::DisplayRole:
        return node->name;
    case UrlRole:
        return node->id.toUrl();
    case AlbumTypeRole:
        return node->type;
    case FotoCountRole:
        return myDatabase ? int(myDatabase->findAlbum(node->id).fotoIds().size()) : 0;
    default:
        return {};
    }
}

QHash<int, QByteArray> OrvGenericUrlTreeModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractItemModel::roleNames();
    names.insert(UrlRole, "url");
    names.insert(FotoCountRole, "fotoCount");
    names.insert(AlbumTypeRole, "albumType");
    return names;
}

// ---- group model

OrvGroupModelAbstract::OrvGroupModelAbstract(OrvExternalDatabase* database)
    : QAbstractListModel(database), myDatabase(database), myTreeModel(new OrvGenericUrlTreeModel(this))
{
    connect(database, &OrvExternalDatabase::fotosInserted, this,
            [this](const OrvExternalFotoList&, const OrvExternalId& albumId) { reloadIf(albumId); });
    connect(database, &OrvExternalDatabase::fotoInserted, this,
            [this](const OrvExternalFoto&, const OrvExternalId& albumId) { reloadIf(albumId); });
    connect(database, &OrvExternalDatabase::fotosRemoved, this,
            [this](const QList<OrvExternalId>&, const OrvExternalId& albumId) { reloadIf(albumId); });
    connect(database, &OrvExternalDatabase::fotoRemoved, this,
            [this](const OrvExternalId&, const OrvExternalId& albumId) { reloadIf(albumId); });
    connect(database, &OrvExternalDatabase::dataPoolSet, this, &OrvGroupModelAbstract::reload);
}

void OrvGroupModelAbstract::reloadIf(const OrvExternalId& albumId)
{
    // A folder shows what the albums inside it hold.
    if (albumId == myAlbum || myDatabase->getExternalDataPoolConst().isInAlbumTree(albumId, myAlbum))
        reload();
}

void OrvGroupModelAbstract::setAutoSortColumn(int column)
{
    if (mySortColumn == column)
        return;
    mySortColumn = column;
    reload();
}

void OrvGroupModelAbstract::setAlbum(const OrvExternalId& albumId)
{
    myAlbum = albumId;
    reload();
}

void OrvGroupModelAbstract::reload()
{
    beginResetModel();
    myFotos = myAlbum.isValid() ? myDatabase->getExternalDataPoolConst().fotosInAlbumTree(myAlbum) : OrvExternalFotoList();
    if (mySortColumn == 0) {
        std::stable_sort(myFotos.begin(), myFotos.end(), [](const OrvExternalFoto& a, const OrvExternalFoto& b) {
            return QString::localeAwareCompare(a.name(), b.name()) < 0;
        });
    } else if (mySortColumn == 1) {
        std::stable_sort(myFotos.begin(), myFotos.end(),
                         [](const OrvExternalFoto& a, const OrvExternalFoto& b) { return a.taken() < b.taken(); });
    }
    endResetModel();
}

OrvExternalFoto OrvGroupModelAbstract::fotoAt(int row) const
{
    return row >= 0 && row < myFotos.size() ? myFotos.at(row) : OrvExternalFoto();
}

int OrvGroupModelAbstract::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(myFotos.size());
}

QVariant OrvGroupModelAbstract::data(const QModelIndex& index, int role) const
{
    const OrvExternalFoto foto = fotoAt(index.row());
    if (!index.isValid() || !foto.isValid())
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return foto.fileNameFast();
    case UrlRole:
        return foto.id().toUrl();
    case TakenRole:
        return foto.taken();
    case RatingRole:
        return foto.adobeRating();
    default:
        return {};
    }
}
