#pragma once

#include "OrvExternalId.h"
#include "OrvFotoExporter.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QMainWindow>
#include <QPointer>

#include <atomic>
#include <memory>
#include <thread>

#include "OrvExternalDatabase.h"
class OrvFotoDetailsView;
class OrvFotoGridModel;
class OrvSourceTreeModel;
class OrvThumbnailLoader;
class QLabel;
class QMimeData;
class QListView;
class QStackedWidget;
class QTreeView;

// What the host application shows of the photo sources: the sources and
// their albums on the left, the opened album's fotos as thumbnails in the
// middle, the selected foto large with its details on the right, and a status
// line that counts what is loading. Everything follows the sources as they
// announce changes; nothing is fetched on the main thread.
class OrvBrowserWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit OrvBrowserWindow(const QList<OrvExternalDatabase*>& sources, QWidget* parent = nullptr);
    ~OrvBrowserWindow() override;

    // Opens an album as the user would: starts its source, selects it in the
    // tree, asks the source for its fotos (fetchMore) and shows them.
    bool openAlbum(OrvExternalDatabase* database, const OrvExternalId& albumId);
    // By service id and the album's name or URL.
    bool openAlbum(const QString& service, const QString& album);
    // Shows a source without an album (its placeholder while it has nothing).
    void openSource(OrvExternalDatabase* database);
    // Selects these fotos of the shown album; the first becomes the current one.
    int selectFotos(const QList<OrvExternalId>& fotoIds);
    // What a drop of Photos assets (text/x-orv-phasset) does: shows an album
    // that has them and selects them. The number selected.
    int dropFotos(const QMimeData* data);
    // A drop as the pasteboard hands it over (one item per dragged object, each in the
    // types it is offered in): the registered converters make the payload of it.
    int dropPasteboard(const QList<QMap<QString, QByteArray>>& items);

    // Visible thumbnails that have not arrived yet.
    int visibleWaiting() const;
    // Runs the event loop until the visible thumbnails are there, at most timeoutMs.
    bool waitForVisibleThumbnails(int timeoutMs);

    // Writes the selected fotos into folder as `export` does, on a thread of its own.
    void exportSelection(const QString& folder, const OrvFotoExporter::Options& options);
    bool isExporting() const { return myExport != nullptr; }

    OrvSourceTreeModel* sourceModel() const { return mySources; }
    OrvFotoGridModel* gridModel() const { return myGrid; }
    QTreeView* treeView() const { return myTree; }
    QListView* gridView() const { return myGridView; }
    OrvFotoDetailsView* detailsView() const { return myDetails; }
    OrvThumbnailLoader* loader() const { return myLoader; }
    QString statusText() const;
    QString placeholderText() const;

signals:
    void exportFinished(int written, int total);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    struct ExportJob;
    void onTreeCurrentChanged(const QModelIndex& current);
    void onGridCurrentChanged(const QModelIndex& current);
    void showCentre();
    void updateStatus();
    void chooseExportFolder();
    void finishExport();

    OrvThumbnailLoader* myLoader;
    OrvSourceTreeModel* mySources;
    OrvFotoGridModel* myGrid;
    QTreeView* myTree;
    QListView* myGridView;
    QStackedWidget* myCentre;
    QLabel* myPlaceholder;
    OrvFotoDetailsView* myDetails;
    QLabel* myStatus;
    QPointer<OrvExternalDatabase> myShownSource;
    std::unique_ptr<ExportJob> myExport;
};
