// The browser window driven as a user would: sources, albums, thumbnails,
// details, live changes, export, drag and drop. Screenshots of the main states
// go to the build folder (screenshots/).

#include "OrvBrowserWindow.h"
#include "OrvFotoDetailsView.h"
#include "OrvFotoGridModel.h"
#include "OrvAppleImageCaptureDatabase.h"
#include "OrvIPhotoDatabase.h"
#include "OrvMacPasteboardMimePhotosAsset.h"
#include "OrvPhotoKitDatabase.h"
#include "OrvSourceTreeModel.h"
#include "OrvThumbnailLoader.h"
#include "sim/OrvImageCaptureSim.h"
#include "sim/OrvPhotoKitSimLibrary.h"

#include "BrowserTestSupport.h"
#include "OrvFotoDate.h"
#include "OrvQtCompat.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QListView>
#include <QMimeData>
#include <QPixmap>
#include <QTemporaryDir>
#include <QTreeView>

using namespace BrowserTest;

namespace {

// A shown source with nothing in it but what its placeholder says.
struct EmptySource : OrvExternalDatabase
{
    explicit EmptySource(bool shown)
        : OrvExternalDatabase(OrvExternalService(QStringLiteral("empty"), QStringLiteral("Empty"), QIcon(), QIcon(), QImage(), 0),
                              OrvFotoDatabaseType(1u << 21)),
          myShown(shown)
    {
        service().setPlaceholderText(QStringLiteral("<b>Nothing here</b>"));
    }
    bool wantsToBeShown() override { return myShown; }
    bool myShown;
};

} // namespace

TEST(BrowserWindow, SourcesAlbumsAndPlaceholders)
{
    EmptySource hidden(false);
    EmptySource empty(true);
    OrvBrowserWindow window({iphoto(), &hidden, &empty, photokit()});
    window.show();
    const OrvSourceTreeModel& model = *window.sourceModel();
    EXPECT_EQ(childNames(model, QModelIndex()), (QStringList{"iPhoto", "Empty", "Fotos"})) << "the hidden source stays hidden";
    EXPECT_EQ(childNames(model, window.sourceModel()->indexForSource(iphoto())),
              (QStringList{"Holiday", "Trips", "Mixed", "Ann", "July 2010"}));
    // Not started yet: it says it is loading, in German unless translated.
    EXPECT_EQ(window.sourceModel()->indexForSource(photokit()).data(OrvSourceTreeModel::PlaceholderRole).toString(),
              QStringLiteral("<b>Fotos werden geladen</b>"));

    window.openSource(&empty);
    EXPECT_EQ(window.placeholderText(), QStringLiteral("<b>Nothing here</b>"));
    window.openSource(photokit());
    ASSERT_TRUE(OrvTest::waitFor([&] { return model.rowCount(window.sourceModel()->indexForSource(photokit())) >= 4; }));
    EXPECT_FALSE(window.sourceModel()->isLoading(photokit()));
    EXPECT_TRUE(window.placeholderText().isEmpty());
    window.treeView()->expandAll();
    screenshot(window, QStringLiteral("sources.png"));
}

TEST(BrowserWindow, ThumbnailsForWhatIsVisible)
{
    OrvBrowserWindow window({iphoto(), photokit()});
    window.resize(900, 600);
    window.show();
    ASSERT_TRUE(window.openAlbum(QStringLiteral("iphoto"), QStringLiteral("Holiday")));
    EXPECT_EQ(window.gridModel()->rowCount(), 30);
    ASSERT_TRUE(window.waitForVisibleThumbnails(20000));
    int shown = 0;
    int waiting = 0;
    for (int row = 0; row < window.gridModel()->rowCount(); ++row) {
        const int state = window.gridModel()->index(row, 0).data(OrvFotoGridModel::ThumbnailStateRole).toInt();
        shown += state == OrvFotoGridModel::Shown;
        waiting += state == OrvFotoGridModel::Waiting;
    }
    EXPECT_GT(shown, 0);
    EXPECT_GT(waiting, 0) << "fotos out of sight were not fetched";
    EXPECT_EQ(window.visibleWaiting(), 0);
    EXPECT_TRUE(window.gridModel()->index(0, 0).data().toString().startsWith(QStringLiteral("IMG_0001.JPG\n")));
    EXPECT_TRUE(window.statusText().contains(QStringLiteral("30 Fotos"))) << window.statusText().toStdString();
    screenshot(window, QStringLiteral("album.png"));

    // Scrolled to the end, the rest arrives; the first ones are served by the cache next time.
    window.gridView()->scrollToBottom();
    ASSERT_TRUE(window.waitForVisibleThumbnails(20000));
    EXPECT_EQ(window.gridModel()->index(29, 0).data(OrvFotoGridModel::ThumbnailStateRole).toInt(), OrvFotoGridModel::Shown);
}

TEST(BrowserWindow, APhotoWithoutADateIsDatedFromMetadataReadOffTheMainThread)
{
    GatedSource source;
    source.metaDataTaken = QDateTime(QDate(2021, 6, 21), QTime(21, 10), Qt::LocalTime);
    const OrvExternalId album = source.addAlbum(QStringLiteral("Card"), {QStringLiteral("undated")});
    OrvBrowserWindow window({&source});
    window.show();
    ASSERT_TRUE(window.openAlbum(&source, album));
    ASSERT_EQ(window.gridModel()->rowCount(), 1);
    const QString taken = OrvFotoDate::toDisplayString(source.metaDataTaken, QLocale::ShortFormat);
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.gridModel()->index(0, 0).data().toString().endsWith(taken); }, 20000));
    EXPECT_FALSE(source.metaDataOnMain) << "a paint waited for a source's metadata";
}

TEST(BrowserWindow, ThumbnailsThatComeLaterReplaceThePlaceholderOnTheFirstScreen)
{
    // As a camera answers before it has read its thumbnails: the host's placeholder, then the news.
    GatedSource source;
    QStringList names;
    for (int i = 0; i < 40; ++i)
        names.append(QStringLiteral("late%1").arg(i, 2, 10, QLatin1Char('0')));
    source.setLate(names);
    const OrvExternalId album = source.addAlbum(QStringLiteral("Card"), names);
    OrvBrowserWindow window({&source});
    window.resize(900, 600);
    window.show();
    ASSERT_TRUE(window.openAlbum(&source, album));
    ASSERT_EQ(window.gridModel()->rowCount(), 40);
    EXPECT_FALSE(window.waitForVisibleThumbnails(300)) << "a placeholder is no thumbnail";
    const int asked = source.served().size();
    EXPECT_GT(asked, 0);
    EXPECT_EQ(window.gridModel()->index(0, 0).data(OrvFotoGridModel::ThumbnailStateRole).toInt(), OrvFotoGridModel::Waiting);
    // Not asked again on every paint while the source has nothing new.
    window.waitForVisibleThumbnails(300);
    EXPECT_EQ(source.served().size(), asked);

    for (const QString& name : std::as_const(names))
        source.arrive(name);
    ASSERT_TRUE(window.waitForVisibleThumbnails(20000));
    EXPECT_EQ(window.gridModel()->index(0, 0).data(OrvFotoGridModel::ThumbnailStateRole).toInt(), OrvFotoGridModel::Shown);
    const QImage shown = window.gridModel()->index(0, 0).data(Qt::DecorationRole).value<QPixmap>().toImage();
    EXPECT_EQ(shown.pixelColor(shown.width() / 2, shown.height() / 2), QColor(Qt::green));
}

TEST(BrowserWindow, DetailsOfTheSelectedFoto)
{
    OrvBrowserWindow window({iphoto()});
    window.show();
    ASSERT_TRUE(window.openAlbum(QStringLiteral("iphoto"), QStringLiteral("Holiday")));
    ASSERT_EQ(window.selectFotos({iphotoFoto(1)}), 1);
    OrvFotoDetailsView* details = window.detailsView();
    ASSERT_TRUE(OrvTest::waitFor([&] { return details->hasFullImage() && details->hasMetaData(); }, 20000));
    EXPECT_EQ(details->imageSize(), QSize(640, 480));
    const QString info = details->infoText();
    EXPECT_TRUE(info.contains(QStringLiteral("Größe: 640 × 480 Pixel"))) << info.toStdString();
    EXPECT_TRUE(info.contains(QString(4, QChar(0x2605)))) << info.toStdString();
    EXPECT_TRUE(info.contains(QStringLiteral("Gesichter: Ann"))) << info.toStdString();
    ASSERT_EQ(details->faces().size(), 1);
    EXPECT_EQ(details->faces().first().rect, QRectF(0.25, 0.25, 0.2, 0.25)) << "origin top left";
    screenshot(window, QStringLiteral("details.png"));

    // Another foto: the details follow the selection.
    window.selectFotos({iphotoFoto(2)});
    ASSERT_TRUE(OrvTest::waitFor([&] { return details->hasMetaData(); }, 20000));
    EXPECT_TRUE(details->faces().isEmpty());
    EXPECT_EQ(details->fotoId(), iphotoFoto(2));
}

TEST(BrowserWindow, FollowsTheLibraryAsItChanges)
{
    OrvBrowserWindow window({photokit()});
    window.show();
    window.openSource(photokit());
    const OrvExternalId all(QStringLiteral("photokit"), QStringLiteral("all"), QString());
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.sourceModel()->indexForAlbum(photokit(), all).isValid(); }));
    window.openAlbum(photokit(), all);
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.gridModel()->rowCount() > 0; }));
    const int before = window.gridModel()->rowCount();
    const QModelIndex source = window.sourceModel()->indexForSource(photokit());
    const int albums = window.sourceModel()->rowCount(source);

    OrvPhotoKitSim::AssetSpec added;
    added.localIdentifier = QStringLiteral("NEW-1/L0/001");
    added.creationDate = OrvQt::utc(QDate(2024, 5, 1), QTime(9, 0));
    libraries().photos->addAsset(added);
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.gridModel()->rowCount() == before + 1; }));
    OrvPhotoKitSim::CollectionSpec album;
    album.localIdentifier = QStringLiteral("ALBUM-NEW/L0/040");
    album.title = QStringLiteral("Brand new");
    libraries().photos->addCollection(album);
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.sourceModel()->rowCount(source) == albums + 1; }));
    EXPECT_TRUE(childNames(*window.sourceModel(), source).contains(QStringLiteral("Brand new")));

    libraries().photos->removeAsset(added.localIdentifier);
    libraries().photos->removeCollection(album.localIdentifier);
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.gridModel()->rowCount() == before; }));
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.sourceModel()->rowCount(source) == albums; }));
}

TEST(BrowserWindow, ExportDragOutAndDropIn)
{
    OrvBrowserWindow window({iphoto()});
    window.show();
    ASSERT_TRUE(window.openAlbum(QStringLiteral("iphoto"), QStringLiteral("Holiday")));
    ASSERT_EQ(window.selectFotos({iphotoFoto(3), iphotoFoto(4)}), 2);

    QTemporaryDir out;
    int written = -1;
    QObject::connect(&window, &OrvBrowserWindow::exportFinished, [&](int count, int) { written = count; });
    OrvFotoExporter::Options options;
    options.full = true;
    window.exportSelection(out.path(), options);
    ASSERT_TRUE(OrvTest::waitFor([&] { return written >= 0; }, 20000));
    EXPECT_EQ(written, 2);
    EXPECT_EQ(QDir(out.path()).entryList(QDir::Files), (QStringList{"IMG_0003.JPG", "IMG_0004.JPG"}));

    // Dragged out: the files themselves, as URLs of copies in the temporary folder.
    const QModelIndexList dragged = window.gridView()->selectionModel()->selectedIndexes();
    const std::unique_ptr<QMimeData> data(window.gridModel()->mimeData(dragged));
    ASSERT_TRUE(data);
    ASSERT_EQ(data->urls().size(), 2);
    for (const QUrl& url : data->urls()) {
        QFile copy(url.toLocalFile());
        QFile original(libraries().dir.path() + QStringLiteral("/Masters/") + url.fileName());
        ASSERT_TRUE(copy.open(QIODevice::ReadOnly) && original.open(QIODevice::ReadOnly)) << url.toString().toStdString();
        EXPECT_EQ(copy.readAll(), original.readAll());
    }

    // Dropped in: a payload of Photos assets selects those fotos.
    QByteArray payload;
    QDataStream stream(&payload, QIODevice::WriteOnly);
    stream << QList<QUrl>{iphotoFoto(7).toUrl(), iphotoFoto(9).toUrl()};
    QMimeData dropped;
    dropped.setData(QStringLiteral("text/x-orv-phasset"), payload);
    EXPECT_EQ(window.dropFotos(&dropped), 2);
    EXPECT_EQ(selectedIds(window), (QStringList{"7", "9"}));
}

TEST(BrowserWindow, DraggedPhotosAssetsOpenTheirAlbum)
{
    const OrvMacPasteboardMimePhotosAsset converter;
    OrvBrowserWindow window({iphoto(), photokit()});
    window.show();
    ASSERT_TRUE(window.openAlbum(QStringLiteral("iphoto"), QStringLiteral("Holiday")));
    // What Photos puts on the pasteboard: a property list per asset; the converter makes the payload.
    const QString flavour = QStringLiteral("com.apple.photos.object-reference.asset");
    QFile plist(OrvTest::sourceDir() + QStringLiteral("/tests/data/photos-asset.plist"));
    ASSERT_TRUE(plist.open(QIODevice::ReadOnly));
    QMimeData dragged;
    dragged.setData(flavour, plist.readAll());
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &drop);
    EXPECT_TRUE(drop.isAccepted());
    EXPECT_EQ(window.gridModel()->database(), photokit()) << "the album that holds the asset is opened";
    EXPECT_EQ(selectedIds(window), (QStringList{"A1B2C3D4-0004_2FL0_2F001"})) << "remote ids escape the slashes";

    // Several items keep their order; an unknown asset selects nothing of its own.
    QByteArray unknown = dragged.data(flavour);
    unknown.replace("A1B2C3D4-0004", "NOT-THERE");
    EXPECT_EQ(window.dropPasteboard({{{flavour, unknown}}, {{flavour, dragged.data(flavour)}}}), 1);
    EXPECT_EQ(window.dropPasteboard({{{flavour, QByteArray("no property list")}}}), 0);
}

TEST(BrowserWindow, FollowsDevicesPluggedAndUnplugged)
{
    OrvImageCaptureSim::install();
    OrvImageCaptureSim::unplugAll();
    OrvAppleImageCaptureDatabase devices;
    OrvBrowserWindow window({&devices});
    window.resize(900, 600);
    window.show();
    window.openSource(&devices);

    QTemporaryDir storage;
    for (int i = 1; i <= 4; ++i) {
        ASSERT_TRUE(OrvTest::writeFile(QStringLiteral("%1/DCIM/100CANON/IMG_%2.JPG").arg(storage.path()).arg(i),
                                       OrvTest::makeJpeg(320, 240, 1, 40 + i * 30)));
    }
    OrvImageCaptureSim::DeviceSpec spec;
    spec.name = QStringLiteral("EOS R");
    spec.uuid = QStringLiteral("UUID-EOS-R");
    spec.storage = storage.path();
    OrvImageCaptureSim::plug(OrvImageCaptureSim::Device::create(spec));
    const QModelIndex source = window.sourceModel()->indexForSource(&devices);
    ASSERT_TRUE(OrvTest::waitFor([&] { return childNames(*window.sourceModel(), source).contains(QStringLiteral("EOS R")); }));
    ASSERT_TRUE(window.openAlbum(devices.serviceId(), QStringLiteral("EOS R")));
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.gridModel()->rowCount() == 4; }, 20000));
    ASSERT_TRUE(window.waitForVisibleThumbnails(20000));
    EXPECT_EQ(window.gridModel()->index(0, 0).data(OrvFotoGridModel::ThumbnailStateRole).toInt(), OrvFotoGridModel::Shown);
    // The grid dates it once its metadata is read on a loading thread.
    ASSERT_TRUE(OrvTest::waitFor(
        [&] { return !window.gridModel()->index(1, 0).data().toString().section(QLatin1Char('\n'), 1).isEmpty(); }, 20000));
    ASSERT_EQ(window.selectFotos({window.gridModel()->fotoAt(1).id()}), 1);
    // The camera's date of the file, in the same form as every other date: no zone it does not know.
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.detailsView()->hasMetaData(); }, 20000));
    const QString taken = window.detailsView()->infoText().section(QLatin1Char('\n'), 1, 1);
    EXPECT_TRUE(taken.startsWith(QStringLiteral("Aufgenommen: "))) << taken.toStdString();
    EXPECT_FALSE(taken.contains(QStringLiteral("unbekannt")) || taken.contains(QStringLiteral("UTC"))) << taken.toStdString();
    // The grid, the details and the foto (what tree --json prints) give one date.
    const QDateTime cameraDate = OrvFotoDate::takenOf(&devices, devices.findExternalFoto(window.gridModel()->fotoAt(1).id()));
    ASSERT_TRUE(cameraDate.isValid());
    EXPECT_EQ(taken, QStringLiteral("Aufgenommen: ") + OrvFotoDate::toDisplayString(cameraDate, QLocale::LongFormat));
    EXPECT_EQ(window.gridModel()->index(1, 0).data().toString().section(QLatin1Char('\n'), 1),
              OrvFotoDate::toDisplayString(cameraDate, QLocale::ShortFormat));
    screenshot(window, QStringLiteral("camera.png"));

    // Pulled out: its album and fotos go, and nothing shown refers to them any more.
    OrvImageCaptureSim::unplug(spec.uuid);
    ASSERT_TRUE(OrvTest::waitFor([&] { return !childNames(*window.sourceModel(), source).contains(QStringLiteral("EOS R")); }));
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.gridModel()->rowCount() == 0; }));
    EXPECT_TRUE(window.gridView()->selectionModel()->selectedIndexes().isEmpty());
    QCoreApplication::processEvents();
}

TEST(BrowserWindow, IPhotoFoldersHoldTheirAlbums)
{
    OrvBrowserWindow window({iphoto()});
    window.resize(1000, 650);
    window.show();
    const OrvSourceTreeModel& model = *window.sourceModel();
    const QModelIndex trips = model.indexForAlbum(iphoto(), iphotoAlbum(40));
    ASSERT_TRUE(trips.isValid());
    EXPECT_EQ(model.parent(trips), model.indexForSource(iphoto()));
    EXPECT_EQ(childNames(model, trips), (QStringList{"Coast", "Old", "Nothing"}));
    EXPECT_EQ(childNames(model, model.indexForAlbum(iphoto(), iphotoAlbum(42))), QStringList{"Hills"});
    EXPECT_FALSE(childNames(model, model.indexForSource(iphoto())).contains(QStringLiteral("Coast"))) << "not beside its folder";

    // A folder shows the fotos of its albums (and of their folders), each once, in the tree's order.
    window.setSortColumn(-1);
    ASSERT_TRUE(window.openAlbum(iphoto(), iphotoAlbum(40)));
    QStringList shown;
    for (int row = 0; row < window.gridModel()->rowCount(); ++row)
        shown.append(window.gridModel()->fotoAt(row).id().remoteId());
    EXPECT_EQ(shown, (QStringList{"3", "1", "2", "5"}));
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Trips – iPhoto"));
    ASSERT_TRUE(window.waitForVisibleThumbnails(20000));
    screenshot(window, QStringLiteral("folders.png"));

    // Written as the user exports them: every foto of the folder once.
    window.action(OrvBrowserWindow::SelectAllCommand)->trigger();
    QTemporaryDir out;
    int written = -1;
    QObject::connect(&window, &OrvBrowserWindow::exportFinished, [&](int count, int, bool) { written = count; });
    OrvFotoExporter::Options options;
    options.full = true;
    window.exportSelection(out.path(), options);
    ASSERT_TRUE(OrvTest::waitFor([&] { return written >= 0; }, 20000));
    EXPECT_EQ(QDir(out.path()).entryList(QDir::Files),
              (QStringList{"IMG_0001.JPG", "IMG_0002.JPG", "IMG_0003.JPG", "IMG_0005.JPG"}));

    // An empty folder shows nothing; an album deep down opens the folders above it.
    ASSERT_TRUE(window.openAlbum(iphoto(), iphotoAlbum(44)));
    EXPECT_EQ(window.gridModel()->rowCount(), 0);
    window.treeView()->collapseAll();
    ASSERT_TRUE(window.openAlbum(iphoto(), iphotoAlbum(43)));
    EXPECT_TRUE(window.treeView()->isExpanded(model.indexForAlbum(iphoto(), iphotoAlbum(42))));
    EXPECT_TRUE(window.treeView()->isExpanded(trips));
    EXPECT_EQ(window.gridModel()->rowCount(), 2);
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Hills – iPhoto"));
    window.setSortColumn(1);
}

TEST(BrowserWindow, DatesAgreeBetweenGridDetailsAndTree)
{
    OrvBrowserWindow window({iphoto(), photokit()});
    window.show();
    window.openSource(photokit());
    const OrvExternalId all(QStringLiteral("photokit"), QStringLiteral("all"), QString());
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.sourceModel()->indexForAlbum(photokit(), all).isValid(); }));
    window.openAlbum(photokit(), all);
    // Taken at 21:10 in California, which is 04:10 UTC the next day.
    const OrvExternalId evening(QStringLiteral("photokit"), QStringLiteral("foto"), QStringLiteral("A1B2C3D4-0006_2FL0_2F001"));
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.gridModel()->indexForFoto(evening).isValid(); }));
    const QDateTime taken = photokit()->findExternalFoto(evening).taken();
    EXPECT_EQ(OrvFotoDate::toIsoString(taken), QStringLiteral("2023-06-21T21:10:00-07:00")) << "as tree --json says it";
    const QString inGrid = window.gridModel()->indexForFoto(evening).data().toString().section(QLatin1Char('\n'), 1);
    EXPECT_EQ(inGrid, OrvFotoDate::toDisplayString(taken, QLocale::ShortFormat));
    EXPECT_TRUE(inGrid.contains(QStringLiteral("21:10")) && inGrid.endsWith(QStringLiteral("UTC-07:00"))) << inGrid.toStdString();
    ASSERT_EQ(window.selectFotos({evening}), 1);
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.detailsView()->hasMetaData(); }, 20000));
    const QString inDetails = window.detailsView()->infoText().section(QLatin1Char('\n'), 1, 1);
    EXPECT_EQ(inDetails, QStringLiteral("Aufgenommen: ") + OrvFotoDate::toDisplayString(taken, QLocale::LongFormat));
    EXPECT_TRUE(inDetails.endsWith(QStringLiteral("21:10:00 UTC-07:00"))) << inDetails.toStdString();

    // iPhoto keeps clock times without a place: shown as they are, with no zone at all.
    ASSERT_TRUE(window.openAlbum(QStringLiteral("iphoto"), QStringLiteral("Holiday")));
    ASSERT_EQ(window.selectFotos({iphotoFoto(2)}), 1);
    const QDateTime clock = iphoto()->findExternalFoto(iphotoFoto(2)).taken();
    EXPECT_EQ(OrvFotoDate::toIsoString(clock), clock.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")));
    const QString iphotoGrid = window.gridModel()->indexForFoto(iphotoFoto(2)).data().toString().section(QLatin1Char('\n'), 1);
    EXPECT_EQ(iphotoGrid, OrvFotoDate::toDisplayString(clock, QLocale::ShortFormat));
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.detailsView()->hasMetaData(); }, 20000));
    const QString iphotoDetails = window.detailsView()->infoText().section(QLatin1Char('\n'), 1, 1);
    EXPECT_EQ(iphotoDetails, QStringLiteral("Aufgenommen: ") + OrvFotoDate::toDisplayString(clock, QLocale::LongFormat));
    EXPECT_FALSE(iphotoDetails.contains(QStringLiteral("UTC")) || iphotoGrid.contains(QStringLiteral("UTC")));
}
