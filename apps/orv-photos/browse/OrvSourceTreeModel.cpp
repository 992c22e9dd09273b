#include "OrvSourceTreeModel.h"

#include "OrvExternalDatabase.h"
#include "OrvGenericUrlTreeModel.h"

#include <QRegularExpression>

namespace {

QString plainText(QString text)
{
    text.remove(QRegularExpression(QStringLiteral("<[^>]*>")));
    return text.trimmed();
}

} // namespace

OrvSourceTreeModel::OrvSourceTreeModel(QObject* parent) : QAbstractItemModel(parent) {}

OrvSourceTreeModel::~OrvSourceTreeModel() = default;

void OrvSourceTreeModel::addSource(OrvExternalDatabase* database)
{
    if (!database || !database->treeModel())
        return;
    const int source = int(mySources.size());
    mySources.push_back(Source{database, database->treeModel(), false, false});
    connectTree(source);
    const auto changed = [this, source] { updateShown(source); };
    connect(database, &OrvExternalDatabase::dataPoolSet, this, changed);
    connect(database, &OrvExternalDatabase::albumAdded, this, changed);
    connect(database, &OrvExternalDatabase::albumRemoved, this, changed);
    connect(database, &OrvExternalDatabase::fotosInserted, this, changed);
    connect(database, &OrvExternalDatabase::updateTreeModel, this, changed);
    connect(database, &OrvExternalDatabase::loadingInProgress, this, [this, source](const OrvFotoSourceNode& node, bool loading) {
        if (node.isSourceRoot())
            setLoading(source, loading);
    });
    updateShown(source);
}

QList<OrvExternalDatabase*> OrvSourceTreeModel::shownSources() const
{
    QList<OrvExternalDatabase*> shown;
    for (const Source& source : mySources) {
        if (source.shown && source.database)
            shown.append(source.database);
    }
    return shown;
}

void OrvSourceTreeModel::connectTree(int source)
{
    OrvGenericUrlTreeModel* tree = mySources[size_t(source)].tree;
    const auto shown = [this, source] { return mySources[size_t(source)].shown; };
    connect(tree, &QAbstractItemModel::rowsAboutToBeInserted, this, [=](const QModelIndex& parent, int first, int last) {
        if (shown())
            beginInsertRows(fromSub(source, parent), first, last);
    });
    connect(tree, &QAbstractItemModel::rowsInserted, this, [=] {
        if (shown())
            endInsertRows();
    });
    connect(tree, &QAbstractItemModel::rowsAboutToBeRemoved, this, [=](const QModelIndex& parent, int first, int last) {
        if (shown())
            beginRemoveRows(fromSub(source, parent), first, last);
    });
    connect(tree, &QAbstractItemModel::rowsRemoved, this, [=] {
        if (shown())
            endRemoveRows();
    });
    connect(tree, &QAbstractItemModel::dataChanged, this, [=](const QModelIndex& topLeft, const QModelIndex& bottomRight) {
        if (shown())
            emit dataChanged(fromSub(source, topLeft), fromSub(source, bottomRight));
    });
    // A rebuilt tree: its old albums leave and the new ones arrive, so the
    // other sources keep their rows and the view its expanded branches.
    connect(tree, &QAbstractItemModel::modelAboutToBeReset, this, [=] {
        Source& entry = mySources[size_t(source)];
        const int count = entry.tree ? entry.tree->rowCount() : 0;
        const bool visible = shown() && count > 0;
        if (visible)
            beginRemoveRows(index(rowOfSource(source), 0), 0, count - 1);
        // Without its tree the source answers no rows until the reset is over.
        entry.tree = nullptr;
        for (auto it = myMappings.begin(); it != myMappings.end();)
            it = it.key().first == source ? myMappings.erase(it) : std::next(it);
        if (visible)
            endRemoveRows();
    });
    connect(tree, &QAbstractItemModel::modelReset, this, [=] {
        const int count = tree->rowCount();
        const bool visible = shown() && count > 0;
        if (visible)
            beginInsertRows(index(rowOfSource(source), 0), 0, count - 1);
        mySources[size_t(source)].tree = tree;
        if (visible)
            endInsertRows();
    });
}

void OrvSourceTreeModel::updateShown(int source)
{
    Source& entry = mySources[size_t(source)];
    const bool shown = entry.database && entry.database->wantsToBeShown();
    if (shown == entry.shown) {
        if (shown) {
            const QModelIndex row = index(rowOfSource(source), 0);
            emit dataChanged(row, row);
        }
        return;
    }
    if (shown) {
        int row = 0;
        for (int i = 0; i < source; ++i)
            row += mySources[size_t(i)].shown ? 1 : 0;
        beginInsertRows(QModelIndex(), row, row);
        entry.shown = true;
        endInsertRows();
    } else {
        const int row = rowOfSource(source);
        beginRemoveRows(QModelIndex(), row, row);
        entry.shown = false;
        for (auto it = myMappings.begin(); it != myMappings.end();)
            it = it.key().first == source ? myMappings.erase(it) : std::next(it);
        endRemoveRows();
    }
    emit sourceStateChanged(entry.database);
}

void OrvSourceTreeModel::setLoading(int source, bool loading)
{
    Source& entry = mySources[size_t(source)];
    if (entry.loading == loading)
        return;
    entry.loading = loading;
    updateShown(source);
    emit sourceStateChanged(entry.database);
}

bool OrvSourceTreeModel::isLoading(const OrvExternalDatabase* database) const
{
    for (const Source& source : mySources) {
        if (source.database == database)
            return source.loading;
    }
    return false;
}

int OrvSourceTreeModel::rowOfSource(int source) const
{
    if (source < 0 || source >= int(mySources.size()) || !mySources[size_t(source)].shown)
        return -1;
    int row = 0;
    for (int i = 0; i < source; ++i)
        row += mySources[size_t(i)].shown ? 1 : 0;
    return row;
}

int OrvSourceTreeModel::sourceOf(const QModelIndex& index) const
{
    if (!index.isValid())
        return -1;
    if (const auto* mapping = static_cast<const Mapping*>(index.internalPointer()))
        return mapping->source;
    int row = index.row();
    for (int i = 0; i < int(mySources.size()); ++i) {
        if (mySources[size_t(i)].shown && row-- == 0)
            return i;
    }
    return -1;
}

QModelIndex OrvSourceTreeModel::toSub(const QModelIndex& index) const
{
    if (!index.isValid() || !index.internalPointer())
        return QModelIndex();
    return static_cast<const Mapping*>(index.internalPointer())->index;
}

OrvSourceTreeModel::Mapping* OrvSourceTreeModel::mappingFor(int source, const QModelIndex& subIndex) const
{
    const QPair<int, void*> key(source, subIndex.internalPointer());
    Mapping* mapping = myMappings.value(key);
    if (mapping && mapping->index == subIndex)
        return mapping;
    // Nodes come and go; a node at a freed node's address gets a mapping of its own.
    myMappingStore.push_back(std::make_unique<Mapping>(Mapping{source, QPersistentModelIndex(subIndex)}));
    mapping = myMappingStore.back().get();
    myMappings.insert(key, mapping);
    return mapping;
}

QModelIndex OrvSourceTreeModel::fromSub(int source, const QModelIndex& subIndex) const
{
    if (!subIndex.isValid())
        return index(rowOfSource(source), 0);
    return createIndex(subIndex.row(), 0, mappingFor(source, subIndex));
}

QModelIndex OrvSourceTreeModel::index(int row, int column, const QModelIndex& parent) const
{
    if (row < 0 || column != 0)
        return QModelIndex();
    if (!parent.isValid())
        return row < int(shownSources().size()) ? createIndex(row, column, nullptr) : QModelIndex();
    const int source = sourceOf(parent);
    if (source < 0 || !mySources[size_t(source)].tree)
        return QModelIndex();
    const QModelIndex sub = mySources[size_t(source)].tree->index(row, 0, toSub(parent));
    return sub.isValid() ? createIndex(row, column, mappingFor(source, sub)) : QModelIndex();
}

QModelIndex OrvSourceTreeModel::parent(const QModelIndex& child) const
{
    if (!child.isValid() || !child.internalPointer())
        return QModelIndex();
    const auto* mapping = static_cast<const Mapping*>(child.internalPointer());
    const QModelIndex subParent = mapping->index.parent();
    if (!subParent.isValid())
        return index(rowOfSource(mapping->source), 0);
    return createIndex(subParent.row(), 0, mappingFor(mapping->source, subParent));
}

int OrvSourceTreeModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid())
        return int(shownSources().size());
    if (parent.column() != 0)
        return 0;
    const int source = sourceOf(parent);
    if (source < 0 || !mySources[size_t(source)].shown || !mySources[size_t(source)].tree)
        return 0;
    if (!parent.internalPointer())
        return mySources[size_t(source)].tree->rowCount();
    const QModelIndex sub = toSub(parent);
    return sub.isValid() ? mySources[size_t(source)].tree->rowCount(sub) : 0;
}

bool OrvSourceTreeModel::hasChildren(const QModelIndex& parent) const
{
    // A source may not have announced its albums before it is opened: it can always be opened.
    if (parent.isValid() && !parent.internalPointer())
        return true;
    return rowCount(parent) > 0;
}

int OrvSourceTreeModel::columnCount(const QModelIndex&) const { return 1; }

QVariant OrvSourceTreeModel::data(const QModelIndex& index, int role) const
{
    const int source = sourceOf(index);
    if (source < 0)
        return QVariant();
    const Source& entry = mySources[size_t(source)];
    if (!entry.database)
        return QVariant();
    if (index.internalPointer()) {
        const QModelIndex sub = toSub(index);
        if (!sub.isValid() || !entry.tree)
            return QVariant();
        if (role == FotoCountRole)
            return entry.tree->data(sub, OrvGenericUrlTreeModel::FotoCountRole);
        return entry.tree->data(sub, role);
    }
    const bool empty = entry.database->getExternalDataPoolConst().countAlbums() == 0;
    switch (role) {
    case Qt::DisplayRole:
        return entry.database->service().displayName();
    case Qt::DecorationRole:
        return entry.database->service().smallIcon();
    case Qt::ToolTipRole:
        return (entry.loading || empty) ? plainText(entry.database->service().placeholderText()) : QVariant();
    case PlaceholderRole:
        return (entry.loading || empty) ? entry.database->service().placeholderText() : QString();
    case LoadingRole:
        return entry.loading;
    case FotoCountRole:
        return entry.database->countFotos();
    default:
        return QVariant();
    }
}

OrvExternalDatabase* OrvSourceTreeModel::databaseFor(const QModelIndex& index) const
{
    const int source = sourceOf(index);
    return source < 0 ? nullptr : mySources[size_t(source)].database.data();
}

OrvExternalId OrvSourceTreeModel::albumFor(const QModelIndex& index) const
{
    const int source = sourceOf(index);
    if (source < 0 || !index.internalPointer() || !mySources[size_t(source)].tree)
        return OrvExternalId();
    return mySources[size_t(source)].tree->idForIndex(toSub(index));
}

QModelIndex OrvSourceTreeModel::indexForSource(const OrvExternalDatabase* database) const
{
    for (int i = 0; i < int(mySources.size()); ++i) {
        if (mySources[size_t(i)].database == database)
            return index(rowOfSource(i), 0);
    }
    return QModelIndex();
}

QModelIndex OrvSourceTreeModel::indexForAlbum(const OrvExternalDatabase* database, const OrvExternalId& albumId) const
{
    for (int i = 0; i < int(mySources.size()); ++i) {
        if (mySources[size_t(i)].database != database || !mySources[size_t(i)].shown || !mySources[size_t(i)].tree)
            continue;
        const QModelIndex sub = mySources[size_t(i)].tree->indexForId(albumId);
        return sub.isValid() ? fromSub(i, sub) : QModelIndex();
    }
    return QModelIndex();
}
