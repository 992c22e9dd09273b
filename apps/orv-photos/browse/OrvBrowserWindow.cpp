#include "OrvBrowserWindow.h"

#include "OrvAboutBox.h"
#include "OrvDroppedFotos.h"
#include "OrvExternalDatabase.h"
#include "OrvFotoDetailsView.h"
#include "OrvFotoGridModel.h"
#include "OrvFotoRetriever.h"
#include "OrvGenericUrlTreeModel.h"
#include "OrvMimeConverterRegistry.h"
#include "OrvSourceTreeModel.h"
#include "OrvThumbnailLoader.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QDragEnterEvent>
#include <QElapsedTimer>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QThread>
#include <QTimer>
#include <QToolBar>
#include <QTreeView>

#include <algorithm>


OrvBrowserWindow::OrvBrowserWindow(const QList<OrvExternalDatabase*>& sources, QWidget* parent)
    : QMainWindow(parent), myLoader(new OrvThumbnailLoader(0, this)), mySources(new OrvSourceTreeModel(this)),
      myGrid(new OrvFotoGridModel(myLoader, this)), myTree(new QTreeView), myGridView(new QListView),
      myCentre(new QStackedWidget), myPlaceholder(new QLabel), myDetails(new OrvFotoDetailsView(myLoader)),
      myStatus(new QLabel), myExport(new OrvExportController(this))
{
    for (OrvExternalDatabase* database : sources)
        mySources->addSource(database);

    myTree->setModel(mySources);
    myTree->setHeaderHidden(true);
    myTree->setMinimumWidth(220);
    connect(myTree->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { onTreeCurrentChanged(current); });
    // Opening a source in the tree starts it, as the host does.
    connect(myTree, &QTreeView::expanded, this, [this](const QModelIndex& index) {
        if (OrvExternalDatabase* database = mySources->databaseFor(index))
            database->doLazyInit();
    });

    myGridView->setViewMode(QListView::IconMode);
    myGridView->setResizeMode(QListView::Adjust);
    myGridView->setMovement(QListView::Static);
    // One size for all: the view never asks every item (and so every thumbnail) for its size.
    myGridView->setUniformItemSizes(true);
    myGridView->setWordWrap(true);
    myGridView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    myGridView->setDragEnabled(true);
    myGridView->setDragDropMode(QAbstractItemView::DragOnly);
    myGridView->setContextMenuPolicy(Qt::CustomContextMenu);
    myGridView->setModel(myGrid);
    connect(myGridView->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { onGridCurrentChanged(current); });
    connect(myGridView->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        updateStatus();
        updateCommands();
    });
    connect(myGridView, &QWidget::customContextMenuRequested, this, &OrvBrowserWindow::openContextMenu);

    myPlaceholder->setAlignment(Qt::AlignCenter);
    myPlaceholder->setWordWrap(true);
    myPlaceholder->setTextFormat(Qt::RichText);
    myCentre->addWidget(myGridView);
    myCentre->addWidget(myPlaceholder);

    auto* splitter = new QSplitter;
    splitter->addWidget(myTree);
    splitter->addWidget(myCentre);
    splitter->addWidget(myDetails);
    splitter->setStretchFactor(1, 3);
    splitter->setStretchFactor(2, 1);
    setCentralWidget(splitter);

    makeActions();
    makeMenus();
    setThumbnailEdge(OrvFotoGridModel::defaultThumbnailSize().width());
    connect(myExport, &OrvExportController::runningChanged, this, [this] {
        updateCommands();
        updateStatus();
    });
    connect(myExport, &OrvExportController::message, this, [this](const QString& text) { statusBar()->showMessage(text, 10000); });
    connect(myExport, &OrvExportController::finished, this, [this](OrvExportController::Kind kind, int written, int total, bool stopped) {
        if (kind == OrvExportController::Copy)
            emit copyFinished(stopped ? 0 : written);
        else
            emit exportFinished(written, total, stopped);
    });

    statusBar()->addWidget(myStatus, 1);
    auto* ticker = new QTimer(this);
    connect(ticker, &QTimer::timeout, this, &OrvBrowserWindow::updateStatus);
    ticker->start(200);
    connect(mySources, &OrvSourceTreeModel::sourceStateChanged, this, [this] {
        showCentre();
        updateStatus();
    });
    connect(myLoader, &OrvThumbnailLoader::ready, this, &OrvBrowserWindow::updateStatus);
    // The shown album's rows were rebuilt (fotos came or went): the current foto stays if it is still there.
    connect(myGrid, &QAbstractItemModel::modelReset, this, [this] {
        const QModelIndex current = myGrid->indexForFoto(myDetails->fotoId());
        if (current.isValid())
            myGridView->setCurrentIndex(current);
        showCentre();
        updateStatus();
        updateCommands();
    });
    // Albums announced inside the shown folder are asked for their fotos too.
    connect(mySources, &QAbstractItemModel::rowsInserted, this, [this](const QModelIndex& parent, int first, int last) {
        OrvExternalDatabase* database = myGrid->database();
        if (!database || !myGrid->album().isValid())
            return;
        for (int row = first; row <= last; ++row) {
            const OrvExternalId album = mySources->albumFor(mySources->index(row, 0, parent));
            if (album.isValid() && album != myGrid->album()
                && database->getExternalDataPoolConst().isInAlbumTree(album, myGrid->album()))
                database->fetchMore(album.toUrl());
        }
    });
    // Albums come and go, and get their names: the title follows.
    connect(mySources, &QAbstractItemModel::dataChanged, this, &OrvBrowserWindow::updateTitle);
    connect(mySources, &QAbstractItemModel::rowsInserted, this, &OrvBrowserWindow::updateTitle);

    setAcceptDrops(true);
    resize(1280, 800);
    updateTitle();
    updateCommands();
    updateStatus();
}

OrvBrowserWindow::~OrvBrowserWindow() = default;

QAction* OrvBrowserWindow::addCommand(Command command, const QString& text, const QKeySequence& keys)
{
    auto* action = new QAction(text, this);
    if (!keys.isEmpty())
        action->setShortcut(keys);
    myActions.insert(command, action);
    return action;
}

void OrvBrowserWindow::makeActions()
{
    connect(addCommand(ExportCommand, tr("Exportieren …"), QKeySequence(Qt::CTRL | Qt::Key_E)), &QAction::triggered, this,
            [this] { myExport->ask(selectedItems()); });
    // Where the platform leaves Quit to the window manager (its scheme has no key), Ctrl+Q as on other desktops.
    const QKeySequence quitKeys = QKeySequence::keyBindings(QKeySequence::Quit).isEmpty() ? QKeySequence(Qt::CTRL | Qt::Key_Q)
                                                                                          : QKeySequence(QKeySequence::Quit);
    connect(addCommand(QuitCommand, tr("Beenden"), quitKeys), &QAction::triggered, this, &QWidget::close);
    connect(addCommand(SelectAllCommand, tr("Alle auswählen"), QKeySequence::SelectAll), &QAction::triggered, this, [this] {
        if (myCentre->currentWidget() == myGridView)
            myGridView->selectAll();
    });
    connect(addCommand(CopyCommand, tr("Kopieren"), QKeySequence::Copy), &QAction::triggered, this, [this] {
        OrvFotoExporter::Options asStored;
        asStored.full = true;
        myExport->start(OrvExportController::Copy, QString(), asStored, selectedItems());
    });
    connect(addCommand(ZoomInCommand, tr("Vergrößern"), QKeySequence::ZoomIn), &QAction::triggered, this, [this] { zoom(1); });
    connect(addCommand(ZoomOutCommand, tr("Verkleinern"), QKeySequence::ZoomOut), &QAction::triggered, this, [this] { zoom(-1); });
    connect(addCommand(ActualSizeCommand, tr("Normale Größe"), QKeySequence(Qt::CTRL | Qt::Key_0)), &QAction::triggered, this,
            [this] { setThumbnailEdge(OrvFotoGridModel::defaultThumbnailSize().width()); });

    auto* sorting = new QActionGroup(this);
    const QList<QPair<Command, int>> orders{{SortByDateCommand, 1}, {SortByNameCommand, 0}, {SortAsAlbumCommand, -1}};
    const QStringList names{tr("Nach Aufnahmedatum"), tr("Nach Name"), tr("Wie im Album")};
    for (qsizetype i = 0; i < orders.size(); ++i) {
        QAction* order = addCommand(orders.at(i).first, names.at(i));
        order->setCheckable(true);
        sorting->addAction(order);
        const int column = orders.at(i).second;
        connect(order, &QAction::triggered, this, [this, column] { setSortColumn(column); });
    }
    action(SortByDateCommand)->setChecked(true);

    QAction* details = addCommand(DetailsCommand, tr("Details anzeigen"), QKeySequence(Qt::CTRL | Qt::Key_I));
    details->setCheckable(true);
    details->setChecked(true);
    connect(details, &QAction::toggled, myDetails, &QWidget::setVisible);
    connect(addCommand(AboutCommand, tr("Über orv-photos")), &QAction::triggered, this, &OrvBrowserWindow::openAbout);
}

void OrvBrowserWindow::makeMenus()
{
    QMenu* file = menuBar()->addMenu(tr("&Datei"));
    file->addAction(action(ExportCommand));
    file->addSeparator();
    file->addAction(action(QuitCommand));
    QMenu* edit = menuBar()->addMenu(tr("&Bearbeiten"));
    edit->addAction(action(CopyCommand));
    edit->addAction(action(SelectAllCommand));
    QMenu* view = menuBar()->addMenu(tr("&Ansicht"));
    view->addAction(action(ZoomInCommand));
    view->addAction(action(ZoomOutCommand));
    view->addAction(action(ActualSizeCommand));
    view->addSeparator();
    QMenu* sort = view->addMenu(tr("Sortieren"));
    sort->addAction(action(SortByDateCommand));
    sort->addAction(action(SortByNameCommand));
    sort->addAction(action(SortAsAlbumCommand));
    view->addSeparator();
    view->addAction(action(DetailsCommand));
    QMenu* help = menuBar()->addMenu(tr("&Hilfe"));
    help->addAction(action(AboutCommand));

    auto* toolbar = addToolBar(tr("Fotos"));
    toolbar->setObjectName(QStringLiteral("fotos"));
    toolbar->addAction(action(ExportCommand));
    toolbar->addSeparator();
    toolbar->addAction(action(ZoomOutCommand));
    toolbar->addAction(action(ZoomInCommand));
}

QList<int> OrvBrowserWindow::thumbnailEdges() { return {96, 128, 192, 256, 384}; }

int OrvBrowserWindow::thumbnailEdge() const { return myGrid->thumbnailSize().width(); }

void OrvBrowserWindow::setThumbnailEdge(int edge)
{
    const QList<int> edges = thumbnailEdges();
    edge = qBound(edges.first(), edge, edges.last());
    const QSize size(edge, edge);
    myGrid->setThumbnailSize(size);
    myGridView->setIconSize(size);
    // Room for the name and the date under each thumbnail.
    myGridView->setGridSize(size + QSize(24, 48));
    updateCommands();
}

void OrvBrowserWindow::zoom(int steps)
{
    const QList<int> edges = thumbnailEdges();
    const int current = thumbnailEdge();
    // The next larger or smaller of the steps, from wherever the edge is now.
    int index = steps > 0 ? int(std::upper_bound(edges.cbegin(), edges.cend(), current) - edges.cbegin())
                          : int(std::lower_bound(edges.cbegin(), edges.cend(), current) - edges.cbegin()) - 1;
    index = qBound(0, index, int(edges.size()) - 1);
    setThumbnailEdge(edges.at(index));
}

void OrvBrowserWindow::setSortColumn(int column)
{
    myGrid->setSortColumn(column);
    const Command command = column == 0 ? SortByNameCommand : column == 1 ? SortByDateCommand : SortAsAlbumCommand;
    action(command)->setChecked(true);
}

QList<OrvExportJob::Item> OrvBrowserWindow::selectedItems() const
{
    QList<OrvExportJob::Item> items;
    OrvExternalDatabase* database = myGrid->database();
    if (!database)
        return items;
    QModelIndexList rows = myGridView->selectionModel()->selectedIndexes();
    std::sort(rows.begin(), rows.end(), [](const QModelIndex& a, const QModelIndex& b) { return a.row() < b.row(); });
    for (const QModelIndex& index : std::as_const(rows)) {
        const OrvExternalFoto foto = myGrid->fotoAt(index.row());
        // Retrievers are made here, on the main thread; the job only uses them.
        if (foto.isValid())
            items.append({foto, std::shared_ptr<OrvFotoRetrieverInterface>(database->createRetrieverInterface(foto.id()))});
    }
    return items;
}

int OrvBrowserWindow::selectedCount() const
{
    return myCentre->currentWidget() == myGridView ? int(myGridView->selectionModel()->selectedIndexes().size()) : 0;
}

void OrvBrowserWindow::updateCommands()
{
    const bool any = selectedCount() > 0;
    const bool idle = !myExport->isRunning();
    action(ExportCommand)->setEnabled(any && idle);
    action(CopyCommand)->setEnabled(any && idle);
    action(SelectAllCommand)->setEnabled(myGrid->rowCount() > 0);
    const QList<int> edges = thumbnailEdges();
    action(ZoomInCommand)->setEnabled(thumbnailEdge() < edges.last());
    action(ZoomOutCommand)->setEnabled(thumbnailEdge() > edges.first());
}

QMenu* OrvBrowserWindow::openContextMenu(const QPoint& pos)
{
    const QModelIndex index = myGridView->indexAt(pos);
    if (!index.isValid())
        return nullptr;
    // A click beside the selection makes the clicked foto the selection, as file managers do.
    if (!myGridView->selectionModel()->isSelected(index)) {
        myGridView->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    } else {
        myGridView->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    }
    if (myContextMenu)
        myContextMenu->close();
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(action(ExportCommand));
    menu->addAction(action(CopyCommand));
    menu->addSeparator();
    QAction* details = menu->addAction(tr("Details anzeigen"));
    connect(details, &QAction::triggered, this, &OrvBrowserWindow::showDetailsOfCurrent);
    myContextMenu = menu;
    menu->popup(myGridView->viewport()->mapToGlobal(pos));
    return menu;
}

void OrvBrowserWindow::showDetailsOfCurrent()
{
    action(DetailsCommand)->setChecked(true);
    onGridCurrentChanged(myGridView->currentIndex());
}

QWidget* OrvBrowserWindow::openAbout()
{
    auto* box = new OrvAboutBox(mySources->shownSources(), this);
    box->open();
    return box;
}

void OrvBrowserWindow::onTreeCurrentChanged(const QModelIndex& current)
{
    OrvExternalDatabase* database = mySources->databaseFor(current);
    if (!database)
        return;
    const OrvExternalId album = mySources->albumFor(current);
    database->doLazyInit();
    myShownSource = database;
    if (album.isValid()) {
        database->fetchMore(album.toUrl());
        openSubAlbums(database, album);
        myGrid->setAlbum(database, album);
    } else {
        myGrid->setAlbum(database, OrvExternalId());
    }
    myDetails->clear();
    showCentre();
    updateTitle();
}

void OrvBrowserWindow::openSubAlbums(OrvExternalDatabase* database, const OrvExternalId& albumId)
{
    // A folder shows what its albums hold: sources that fill albums when asked are asked for each.
    for (const OrvExternalId& id : database->getExternalDataPoolConst().albumTree(albumId)) {
        if (id != albumId)
            database->fetchMore(id.toUrl());
    }
}

void OrvBrowserWindow::onGridCurrentChanged(const QModelIndex& current)
{
    const OrvExternalFoto foto = myGrid->fotoAt(current.row());
    if (!foto.isValid() || foto.id() == myDetails->fotoId())
        return;
    const QPixmap preview = current.data(Qt::DecorationRole).value<QPixmap>();
    const bool hasPreview = current.data(OrvFotoGridModel::ThumbnailStateRole).toInt() == OrvFotoGridModel::Shown;
    myDetails->showFoto(myGrid->database(), foto.id(), hasPreview ? preview.toImage() : QImage());
}

QString OrvBrowserWindow::placeholderText() const
{
    if (!myShownSource)
        return QString();
    const QModelIndex row = mySources->indexForSource(myShownSource);
    return row.data(OrvSourceTreeModel::PlaceholderRole).toString();
}

void OrvBrowserWindow::showCentre()
{
    // A source with nothing to show (loading, empty, no access) shows its placeholder instead.
    const QString placeholder = placeholderText();
    const bool showPlaceholder = myShownSource && myGrid->rowCount() == 0 && !placeholder.isEmpty();
    myPlaceholder->setText(placeholder);
    myCentre->setCurrentWidget(showPlaceholder ? static_cast<QWidget*>(myPlaceholder) : myGridView);
}

void OrvBrowserWindow::openSource(OrvExternalDatabase* database)
{
    if (!database)
        return;
    database->doLazyInit();
    const QModelIndex row = mySources->indexForSource(database);
    if (row.isValid())
        myTree->setCurrentIndex(row);
    myShownSource = database;
    showCentre();
}

bool OrvBrowserWindow::openAlbum(OrvExternalDatabase* database, const OrvExternalId& albumId)
{
    if (!database)
        return false;
    database->doLazyInit();
    const QModelIndex row = mySources->indexForAlbum(database, albumId);
    if (row.isValid()) {
        for (QModelIndex up = row.parent(); up.isValid(); up = up.parent())
            myTree->expand(up);
        myTree->setCurrentIndex(row);
        myTree->scrollTo(row);
    } else {
        myShownSource = database;
        database->fetchMore(albumId.toUrl());
        openSubAlbums(database, albumId);
        myGrid->setAlbum(database, albumId);
        showCentre();
    }
    return myGrid->album() == albumId;
}

bool OrvBrowserWindow::openAlbum(const QString& service, const QString& album)
{
    for (OrvExternalDatabase* database : mySources->shownSources()) {
        if (database->serviceId() != service)
            continue;
        database->doLazyInit();
        for (const OrvExternalAlbum& candidate : database->albums()) {
            if (candidate.url().toString() == album || candidate.name() == album)
                return openAlbum(database, candidate.id());
        }
    }
    return false;
}

int OrvBrowserWindow::selectFotos(const QList<OrvExternalId>& fotoIds)
{
    QItemSelection selection;
    QModelIndex first;
    for (const OrvExternalId& id : fotoIds) {
        const QModelIndex index = myGrid->indexForFoto(id);
        if (!index.isValid())
            continue;
        selection.select(index, index);
        if (!first.isValid())
            first = index;
    }
    if (!first.isValid())
        return 0;
    myGridView->selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
    myGridView->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    myGridView->scrollTo(first);
    onGridCurrentChanged(first);
    return int(selection.indexes().size());
}

int OrvBrowserWindow::visibleWaiting() const
{
    if (myCentre->currentWidget() != myGridView)
        return 0;
    const QRect area = myGridView->viewport()->rect();
    const int rows = myGrid->rowCount();
    // Items lie in reading order: the first visible one is found by halving,
    // and the count stops past the bottom, however long the album.
    int low = 0;
    int high = rows;
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (myGridView->visualRect(myGrid->index(middle, 0)).bottom() < area.top())
            low = middle + 1;
        else
            high = middle;
    }
    int waiting = 0;
    for (int row = low; row < rows; ++row) {
        const QModelIndex index = myGrid->index(row, 0);
        const QRect item = myGridView->visualRect(index);
        if (item.top() > area.bottom())
            break;
        if (item.intersects(area) && index.data(OrvFotoGridModel::ThumbnailStateRole).toInt() == OrvFotoGridModel::Waiting)
            ++waiting;
    }
    return waiting;
}

bool OrvBrowserWindow::waitForVisibleThumbnails(int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    // Painting asks for what is visible; what arrives, or is to be asked for
    // again, marks its item for the next paint, as in any event loop. A
    // repaint of the whole grid on every turn would take the main thread
    // from the thumbnails it waits for.
    myGridView->viewport()->update();
    QTimer tick;  // wakes the wait now and then, whatever happens
    tick.start(20);
    const auto done = [this] {
        return visibleWaiting() == 0
            && (myCentre->currentWidget() == myPlaceholder || myGrid->rowCount() > 0
                || !(myShownSource && mySources->isLoading(myShownSource)));
    };
    do {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        if (done())
            return true;
    } while (timer.elapsed() < timeoutMs);
    return done();
}

void OrvBrowserWindow::updateStatus()
{
    QStringList parts;
    for (OrvExternalDatabase* database : mySources->shownSources()) {
        if (mySources->isLoading(database))
            parts.append(tr("%1: wird geladen, bisher %2 Fotos").arg(database->service().displayName()).arg(database->countFotos()));
    }
    if (myGrid->database()) {
        const int count = myGrid->rowCount();
        const int selected = selectedCount();
        if (selected > 0)
            parts.append(tr("%1 von %2 Fotos ausgewählt").arg(selected).arg(count));
        else
            parts.append(count == 1 ? tr("1 Foto") : tr("%1 Fotos").arg(count));
    }
    const int waiting = myLoader->waiting() + myLoader->running();
    if (waiting > 0)
        parts.append(waiting == 1 ? tr("1 Bild unterwegs") : tr("%1 Bilder unterwegs").arg(waiting));
    if (const OrvExportJob* job = myExport->job())
        parts.append(OrvExportController::progressText(myExport->kind(), job->done(), job->total()));
    myStatus->setText(parts.join(QStringLiteral(" · ")));
}

void OrvBrowserWindow::updateTitle()
{
    // The album and its source, as documents and their program are named.
    const QModelIndex current = myTree->currentIndex();
    OrvExternalDatabase* database = mySources->databaseFor(current);
    const QString source = database ? database->service().displayName() : QString();
    const QString album = mySources->albumFor(current).isValid() ? current.data().toString() : QString();
    setWindowTitle(!album.isEmpty() ? tr("%1 – %2").arg(album, source) : !source.isEmpty() ? source : tr("Fotos"));
}

QString OrvBrowserWindow::statusText() const { return myStatus->text(); }

void OrvBrowserWindow::exportSelection(const QString& folder, const OrvFotoExporter::Options& options)
{
    myExport->start(OrvExportController::Export, folder, options, selectedItems());
}

void OrvBrowserWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (OrvDroppedFotos::isAcceptable(event->mimeData()))
        event->acceptProposedAction();
}

void OrvBrowserWindow::dropEvent(QDropEvent* event)
{
    const QMimeData* data = event->mimeData();
    const int selected = data->hasFormat(QString::fromLatin1(OrvDroppedFotos::mimeType))
        ? dropFotos(data)
        : dropPasteboard({OrvDroppedFotos::convertibleTypes(data)});
    if (selected > 0)
        event->acceptProposedAction();
}

int OrvBrowserWindow::dropPasteboard(const QList<QMap<QString, QByteArray>>& items)
{
    const std::unique_ptr<QMimeData> converted = OrvSingleton<OrvMimeConverterRegistry>::instance()->mimeDataForPasteboard(items);
    return dropFotos(converted.get());
}

int OrvBrowserWindow::dropFotos(const QMimeData* data)
{
    const QList<OrvExternalId> ids = OrvDroppedFotos::ids(data);
    if (ids.isEmpty())
        return 0;
    // The album to show them in: the one shown if it has them, else the first that does.
    OrvExternalDatabase* database = nullptr;
    for (OrvExternalDatabase* source : mySources->shownSources()) {
        if (source->serviceId() == ids.first().serviceId())
            database = source;
    }
    if (!database)
        return 0;
    if (myGrid->database() != database || !myGrid->indexForFoto(ids.first()).isValid()) {
        const OrvExternalId album = database->findAlbumWithFoto(ids.first());
        if (album.isValid())
            openAlbum(database, album);
    }
    return selectFotos(ids);
}
