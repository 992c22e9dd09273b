#pragma once

#include "OrvExternalId.h"

#include <QAbstractItemModel>
#include <QHash>
#include <QList>
#include <QPersistentModelIndex>
#include <QPointer>

#include <memory>
#include <vector>

#include "OrvExternalDatabase.h"
class OrvGenericUrlTreeModel;

// Every photo source with its albums, as a browser shows them: one top-level
// row per source that wants to be shown, and below it the albums exactly as
// the source's own tree model (OrvGenericUrlTreeModel) has them, following it
// as albums come and go. A source row carries the source's placeholder text
// while it loads or has nothing to show.
class OrvSourceTreeModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    enum Role { PlaceholderRole = Qt::UserRole + 100, LoadingRole, FotoCountRole };

    explicit OrvSourceTreeModel(QObject* parent = nullptr);
    ~OrvSourceTreeModel() override;

    // Adds a source; it appears when it wants to be shown (asked again whenever it changes).
    void addSource(OrvExternalDatabase* database);
    QList<OrvExternalDatabase*> shownSources() const;

    OrvExternalDatabase* databaseFor(const QModelIndex& index) const;
    // Invalid for a source row.
    OrvExternalId albumFor(const QModelIndex& index) const;
    QModelIndex indexForSource(const OrvExternalDatabase* database) const;
    QModelIndex indexForAlbum(const OrvExternalDatabase* database, const OrvExternalId& albumId) const;
    bool isLoading(const OrvExternalDatabase* database) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool hasChildren(const QModelIndex& parent = QModelIndex()) const override;

signals:
    // A source started or finished loading, or its placeholder text may have changed.
    void sourceStateChanged(OrvExternalDatabase* database);

private:
    struct Source
    {
        QPointer<OrvExternalDatabase> database;
        OrvGenericUrlTreeModel* tree = nullptr;
        bool shown = false;
        bool loading = false;
    };
    // An album row: which source, and where in that source's tree.
    struct Mapping
    {
        int source;
        QPersistentModelIndex index;
    };

    int sourceOf(const QModelIndex& index) const;
    int rowOfSource(int source) const;
    QModelIndex toSub(const QModelIndex& index) const;
    QModelIndex fromSub(int source, const QModelIndex& subIndex) const;
    Mapping* mappingFor(int source, const QModelIndex& subIndex) const;
    void connectTree(int source);
    void updateShown(int source);
    void setLoading(int source, bool loading);

    std::vector<Source> mySources;
    mutable QHash<QPair<int, void*>, Mapping*> myMappings;
    mutable std::vector<std::unique_ptr<Mapping>> myMappingStore;
};
