#pragma once

#include "OrvExternalId.h"
#include "OrvExportController.h"
#include "OrvFotoExporter.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QMainWindow>
#include <QPointer>

#include "OrvExternalDatabase.h"
class OrvFotoDetailsView;
class OrvFotoGridModel;
class OrvSourceTreeModel;
class OrvThumbnailLoader;
class QAction;
class QLabel;
#include <QMenu>
class QMimeData;
class QListView;
class QStackedWidget;
class QTreeView;

// What the host application shows of the photo sources: the sources and
// their albums on the left (folders hold their albums and show their
// fotos), the opened album's fotos as thumbnails in the middle, the selected
// foto large with its details on the right, and a status line that counts
// what is selected and what is loading. Menus, shortcuts and a context menu
// as on any desktop. Everything follows the sources as they announce
// changes; nothing is fetched on the main thread.
class OrvBrowserWindow : public QMainWindow
{
    Q_OBJECT
public:
    // The menus' commands, for the host and for tests.
    enum Command {
        ExportCommand,
        QuitCommand,
        SelectAllCommand,
        CopyCommand,
        ZoomInCommand,
        ZoomOutCommand,
        ActualSizeCommand,
        SortByDateCommand,
        SortByNameCommand,
        SortAsAlbumCommand,
        DetailsCommand,
        AboutCommand,
    };

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
    int selectedCount() const;
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
    bool isExporting() const { return myExport->isRunning(); }
    OrvExportController* exporter() const { return myExport; }

    // The thumbnails' edge; zooming steps through thumbnailEdges().
    int thumbnailEdge() const;
    void setThumbnailEdge(int edge);
    static QList<int> thumbnailEdges();
    // 1 date taken, 0 name, -1 the album's own order.
    void setSortColumn(int column);

    QAction* action(Command command) const { return myActions.value(command); }
    // The context menu of the fotos at pos (in the grid's viewport), as a right click opens it.
    QMenu* openContextMenu(const QPoint& pos);
    QMenu* contextMenu() const { return myContextMenu; }
    // Help > About, open until closed.
    QWidget* openAbout();

    OrvSourceTreeModel* sourceModel() const { return mySources; }
    OrvFotoGridModel* gridModel() const { return myGrid; }
    QTreeView* treeView() const { return myTree; }
    QListView* gridView() const { return myGridView; }
    OrvFotoDetailsView* detailsView() const { return myDetails; }
    OrvThumbnailLoader* loader() const { return myLoader; }
    QString statusText() const;
    QString placeholderText() const;

signals:
    // stopped: cancelled (after the foto being written) or the folder took nothing.
    void exportFinished(int written, int total, bool stopped);
    void copyFinished(int written);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void makeActions();
    void makeMenus();
    QAction* addCommand(Command command, const QString& text, const QKeySequence& keys = QKeySequence());
    void onTreeCurrentChanged(const QModelIndex& current);
    void onGridCurrentChanged(const QModelIndex& current);
    void openSubAlbums(OrvExternalDatabase* database, const OrvExternalId& albumId);
    void showCentre();
    void updateStatus();
    void updateTitle();
    void updateCommands();
    void zoom(int steps);
    void showDetailsOfCurrent();
    QList<OrvExportJob::Item> selectedItems() const;

    OrvThumbnailLoader* myLoader;
    OrvSourceTreeModel* mySources;
    OrvFotoGridModel* myGrid;
    QTreeView* myTree;
    QListView* myGridView;
    QStackedWidget* myCentre;
    QLabel* myPlaceholder;
    OrvFotoDetailsView* myDetails;
    QLabel* myStatus;
    OrvExportController* myExport;
    QMap<Command, QAction*> myActions;
    QPointer<QMenu> myContextMenu;
    QPointer<OrvExternalDatabase> myShownSource;
};
