#include "OrvBrowserWindow.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoDetailsView.h"
#include "OrvFotoGridModel.h"
#include "OrvFotoRetriever.h"
#include "OrvGenericUrlTreeModel.h"
#include "OrvMimeConverter.h"
#include "OrvMimeConverterRegistry.h"
#include "OrvSourceTreeModel.h"
#include "OrvThumbnailLoader.h"

#include <QAction>
#include <QApplication>
#include <QDataStream>
#include <QDragEnterEvent>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QListView>
#include <QMimeData>
#include <QRegularExpression>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QThread>
#include <QTimer>
#include <QToolBar>
#include <QTreeView>

namespace {

const char* const phassetMimeType = "text/x-orv-phasset";

// The fotos a drag of Photos assets names: a serialized list of URLs, or URLs one per line.
QList<OrvExternalId> droppedFotos(const QMimeData* data)
{
    const QByteArray payload = data->data(QString::fromLatin1(phassetMimeType));
    QList<QUrl> urls;
    QDataStream stream(payload);
    stream >> urls;
    if (stream.status() != QDataStream::Ok || !stream.atEnd()) {
        urls.clear();
        for (const QByteArray& line : payload.split('\n')) {
            const QUrl url(QString::fromUtf8(line.trimmed()));
            if (url.isValid() && !url.scheme().isEmpty())
                urls.append(url);
        }
    }
    QList<OrvExternalId> ids;
    for (const QUrl& url : std::as_const(urls)) {
        const OrvExternalId id(url);
        if (id.isValid())
            ids.append(id);
    }
    return ids;
}

// The types of the drag that a registered converter takes, as one pasteboard item.
OrvPasteboardItem convertibleTypes(const QMimeData* data)
{
    OrvPasteboardItem item;
    const QList<OrvMimeConverter*> converters = OrvSingleton<OrvMimeConverterRegistry>::instance()->converters();
    for (const QString& format : data->formats()) {
        for (const OrvMimeConverter* converter : converters) {
            if (!converter->mimeForUti(format).isEmpty()) {
                item.insert(format, data->data(format));
                break;
            }
        }
    }
    return item;
}

} // namespace

// An export running on a thread of its own; the retrievers were made on the main thread.
struct OrvBrowserWindow::ExportJob
{
    std::unique_ptr<OrvFotoExporter> exporter;
    QList<QPair<OrvExternalFoto, std::shared_ptr<OrvFotoRetrieverInterface>>> fotos;
    std::atomic<int> done{0};
    std::atomic<int> written{0};
    std::thread thread;
};

OrvBrowserWindow::OrvBrowserWindow(const QList<OrvExternalDatabase*>& sources, QWidget* parent)
    : QMainWindow(parent), myLoader(new OrvThumbnailLoader(0, this)), mySources(new OrvSourceTreeModel(this)),
      myGrid(new OrvFotoGridModel(myLoader, this)), myTree(new QTreeView), myGridView(new QListView),
      myCentre(new QStackedWidget), myPlaceholder(new QLabel), myDetails(new OrvFotoDetailsView(myLoader)),
      myStatus(new QLabel)
{
    setWindowTitle(tr("Photos"));
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
    myGridView->setIconSize(OrvFotoGridModel::thumbnailSize());
    myGridView->setGridSize(OrvFotoGridModel::thumbnailSize() + QSize(24, 48));
    myGridView->setWordWrap(true);
    myGridView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    myGridView->setDragEnabled(true);
    myGridView->setDragDropMode(QAbstractItemView::DragOnly);
    myGridView->setModel(myGrid);
    connect(myGridView->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { onGridCurrentChanged(current); });

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

    auto* toolbar = addToolBar(tr("Fotos"));
    toolbar->setObjectName(QStringLiteral("fotos"));
    QAction* exportAction = toolbar->addAction(tr("Export…"));
    connect(exportAction, &QAction::triggered, this, &OrvBrowserWindow::chooseExportFolder);

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
    });

    setAcceptDrops(true);
    resize(1280, 800);
    updateStatus();
}

OrvBrowserWindow::~OrvBrowserWindow()
{
    if (myExport && myExport->thread.joinable())
        myExport->thread.join();
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
        myGrid->setAlbum(database, album);
    } else {
        myGrid->setAlbum(database, OrvExternalId());
    }
    myDetails->clear();
    showCentre();
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
        myTree->expand(row.parent());
        myTree->setCurrentIndex(row);
        myTree->scrollTo(row);
    } else {
        myShownSource = database;
        database->fetchMore(albumId.toUrl());
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
    do {
        // Painting asks for what is visible.
        myGridView->viewport()->repaint();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        if (visibleWaiting() == 0 && (myCentre->currentWidget() == myPlaceholder || myGrid->rowCount() > 0
                                      || !(myShownSource && mySources->isLoading(myShownSource))))
            return true;
        QThread::msleep(5);
    } while (timer.elapsed() < timeoutMs);
    return false;
}

void OrvBrowserWindow::updateStatus()
{
    QStringList parts;
    for (OrvExternalDatabase* database : mySources->shownSources()) {
        if (mySources->isLoading(database))
            parts.append(tr("%1: loading, %2 fotos so far").arg(database->service().displayName()).arg(database->countFotos()));
    }
    if (myGrid->database())
        parts.append(myGrid->rowCount() == 1 ? tr("1 foto") : tr("%1 fotos").arg(myGrid->rowCount()));
    const int waiting = myLoader->waiting() + myLoader->running();
    if (waiting > 0)
        parts.append(waiting == 1 ? tr("1 bitmap on the way") : tr("%1 bitmaps on the way").arg(waiting));
    if (myExport)
        parts.append(tr("exporting %1 of %2").arg(myExport->done.load()).arg(myExport->fotos.size()));
    myStatus->setText(parts.join(QStringLiteral(" · ")));
}

QString OrvBrowserWindow::statusText() const { return myStatus->text(); }

void OrvBrowserWindow::chooseExportFolder()
{
    const QString folder = QFileDialog::getExistingDirectory(this, tr("Export the selected fotos to"));
    if (folder.isEmpty())
        return;
    OrvFotoExporter::Options options;
    options.full = true;
    exportSelection(folder, options);
}

void OrvBrowserWindow::exportSelection(const QString& folder, const OrvFotoExporter::Options& options)
{
    OrvExternalDatabase* database = myGrid->database();
    if (myExport || !database)
        return;
    auto job = std::make_unique<ExportJob>();
    job->exporter = std::make_unique<OrvFotoExporter>(folder, options);
    QModelIndexList rows = myGridView->selectionModel()->selectedIndexes();
    std::sort(rows.begin(), rows.end(), [](const QModelIndex& a, const QModelIndex& b) { return a.row() < b.row(); });
    for (const QModelIndex& index : std::as_const(rows)) {
        const OrvExternalFoto foto = myGrid->fotoAt(index.row());
        job->fotos.append({foto, std::shared_ptr<OrvFotoRetrieverInterface>(database->createRetrieverInterface(foto.id()))});
    }
    if (!job->exporter->isOpen() || job->fotos.isEmpty()) {
        emit exportFinished(0, int(job->fotos.size()));
        return;
    }
    myExport = std::move(job);
    ExportJob* running = myExport.get();
    running->thread = std::thread([this, running] {
        for (const auto& [foto, retriever] : std::as_const(running->fotos)) {
            const OrvFotoExporter::Result result = running->exporter->write(foto, retriever.get());
            if (result == OrvFotoExporter::FolderRefused)
                break;
            if (result == OrvFotoExporter::Written)
                ++running->written;
            ++running->done;
        }
        QMetaObject::invokeMethod(this, [this] { finishExport(); }, Qt::QueuedConnection);
    });
    updateStatus();
}

void OrvBrowserWindow::finishExport()
{
    if (!myExport)
        return;
    myExport->thread.join();
    const int written = myExport->written;
    const int total = int(myExport->fotos.size());
    myExport.reset();
    statusBar()->showMessage(tr("Exported %1 of %2 fotos").arg(written).arg(total), 5000);
    updateStatus();
    emit exportFinished(written, total);
}

void OrvBrowserWindow::dragEnterEvent(QDragEnterEvent* event)
{
    const QMimeData* data = event->mimeData();
    if (data->hasFormat(QString::fromLatin1(phassetMimeType)) || !convertibleTypes(data).isEmpty())
        event->acceptProposedAction();
}

void OrvBrowserWindow::dropEvent(QDropEvent* event)
{
    const QMimeData* data = event->mimeData();
    const int selected = data->hasFormat(QString::fromLatin1(phassetMimeType)) ? dropFotos(data)
                                                                              : dropPasteboard({convertibleTypes(data)});
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
    const QList<OrvExternalId> ids = data ? droppedFotos(data) : QList<OrvExternalId>();
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
