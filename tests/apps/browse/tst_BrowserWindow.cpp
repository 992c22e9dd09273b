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

#include "TestSupport.h"
#include "OrvQtCompat.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QListView>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTreeView>

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

// An iPhoto library of real JPEGs, and the sample Photos library, as the two sources.
class Libraries : public ::testing::Environment
{
public:
    void SetUp() override
    {
        const QString root = dir.path();
        QByteArray fotos;
        QByteArray keys;
        for (int i = 1; i <= 30; ++i) {
            const QString path = QStringLiteral("%1/Masters/IMG_%2.JPG").arg(root).arg(i, 4, 10, QLatin1Char('0'));
            OrvTest::writeFile(path, OrvTest::makeJpeg(640, 480, 1, 60 + i));
            QByteArray more = "<key>DateAsTimerInterval</key><real>" + QByteArray::number(300000000 + i * 3600) + "</real>";
            if (i == 1) {
                more += "<key>Rating</key><integer>4</integer><key>Faces</key><array><dict><key>face key</key>"
                        "<string>7</string><key>rectangle</key><string>{{0.25, 0.5}, {0.2, 0.25}}</string></dict></array>";
            }
            fotos += "<key>" + QByteArray::number(i) + "</key><dict><key>Caption</key><string>IMG_" + QByteArray::number(i)
                + "</string><key>ImagePath</key><string>" + path.toUtf8() + "</string><key>ThumbPath</key><string>"
                + path.toUtf8() + "</string><key>MediaType</key><string>Image</string>" + more + "</dict>";
            keys += "<string>" + QByteArray::number(i) + "</string>";
        }
        const QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
                               "<key>List of Albums</key><array><dict><key>AlbumId</key><integer>5</integer>"
                               "<key>AlbumName</key><string>Holiday</string><key>Album Type</key><string>Regular</string>"
                               "<key>KeyList</key><array>" + keys + "</array></dict></array>"
                               "<key>List of Faces</key><dict><key>7</key><dict><key>name</key><string>Ann</string>"
                               "<key>key</key><integer>7</integer></dict></dict>"
                               "<key>Master Image List</key><dict>" + fotos + "</dict></dict></plist>";
        OrvTest::writeFile(root + QStringLiteral("/AlbumData.xml"), xml);
        OrvTest::writeFile(root + QStringLiteral("/config/apple/iphoto.conf"),
                           "[General]\nXMLDataFilePath=" + root.toUtf8() + "/AlbumData.xml\n");
        qputenv("XDG_CONFIG_HOME", (root + QStringLiteral("/config")).toLocal8Bit());

        OrvPhotoKitSim::install();
        library = OrvPhotoKitSim::Library::loadDescription(OrvTest::sourceDir() + QStringLiteral("/samples/photos/library.json"));
        OrvPhotoKitSim::setSharedLibrary(library);
    }
    void TearDown() override
    {
        if (library)
            library->waitForQueue();
    }

    QTemporaryDir dir;
    std::shared_ptr<OrvPhotoKitSim::Library> library;
};

Libraries* libraries = nullptr;
const auto registered = ::testing::AddGlobalTestEnvironment(libraries = new Libraries);

OrvExternalDatabase* iphoto() { return OrvIPhotoDatabase::instance(); }
OrvExternalDatabase* photokit() { return OrvSingleton<OrvPhotoKitDatabase>::instance(); }
OrvExternalId iphotoFoto(int n) { return OrvExternalId(QStringLiteral("iphoto"), QStringLiteral("foto"), QString::number(n)); }

QStringList selectedIds(OrvBrowserWindow& window)
{
    QStringList selected;
    for (const QModelIndex& index : window.gridView()->selectionModel()->selectedIndexes())
        selected.append(window.gridModel()->fotoAt(index.row()).id().remoteId());
    selected.sort();
    return selected;
}

void screenshot(QWidget& window, const QString& name)
{
    const QString folder = OrvTest::binaryDir() + QStringLiteral("/screenshots");
    QDir().mkpath(folder);
    window.grab().save(folder + QLatin1Char('/') + name);
}

QStringList childNames(const QAbstractItemModel& model, const QModelIndex& parent)
{
    QStringList names;
    for (int row = 0; row < model.rowCount(parent); ++row)
        names.append(model.index(row, 0, parent).data().toString());
    return names;
}

} // namespace

TEST(BrowserWindow, SourcesAlbumsAndPlaceholders)
{
    EmptySource hidden(false);
    EmptySource empty(true);
    OrvBrowserWindow window({iphoto(), &hidden, &empty, photokit()});
    window.show();
    const OrvSourceTreeModel& model = *window.sourceModel();
    EXPECT_EQ(childNames(model, QModelIndex()), (QStringList{"iPhoto", "Empty", "Fotos"})) << "the hidden source stays hidden";
    EXPECT_EQ(childNames(model, window.sourceModel()->indexForSource(iphoto())), (QStringList{"Holiday", "Ann", "July 2010"}));
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
    EXPECT_TRUE(window.statusText().contains(QStringLiteral("30 fotos"))) << window.statusText().toStdString();
    screenshot(window, QStringLiteral("album.png"));

    // Scrolled to the end, the rest arrives; the first ones are served by the cache next time.
    window.gridView()->scrollToBottom();
    ASSERT_TRUE(window.waitForVisibleThumbnails(20000));
    EXPECT_EQ(window.gridModel()->index(29, 0).data(OrvFotoGridModel::ThumbnailStateRole).toInt(), OrvFotoGridModel::Shown);
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
    EXPECT_TRUE(info.contains(QStringLiteral("Size: 640 × 480 pixels"))) << info.toStdString();
    EXPECT_TRUE(info.contains(QString(4, QChar(0x2605)))) << info.toStdString();
    EXPECT_TRUE(info.contains(QStringLiteral("Faces: Ann"))) << info.toStdString();
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
    libraries->library->addAsset(added);
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.gridModel()->rowCount() == before + 1; }));
    OrvPhotoKitSim::CollectionSpec album;
    album.localIdentifier = QStringLiteral("ALBUM-NEW/L0/040");
    album.title = QStringLiteral("Brand new");
    libraries->library->addCollection(album);
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.sourceModel()->rowCount(source) == albums + 1; }));
    EXPECT_TRUE(childNames(*window.sourceModel(), source).contains(QStringLiteral("Brand new")));

    libraries->library->removeAsset(added.localIdentifier);
    libraries->library->removeCollection(album.localIdentifier);
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
        QFile original(libraries->dir.path() + QStringLiteral("/Masters/") + url.fileName());
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
    ASSERT_EQ(window.selectFotos({window.gridModel()->fotoAt(1).id()}), 1);
    screenshot(window, QStringLiteral("camera.png"));

    // Pulled out: its album and fotos go, and nothing shown refers to them any more.
    OrvImageCaptureSim::unplug(spec.uuid);
    ASSERT_TRUE(OrvTest::waitFor([&] { return !childNames(*window.sourceModel(), source).contains(QStringLiteral("EOS R")); }));
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.gridModel()->rowCount() == 0; }));
    EXPECT_TRUE(window.gridView()->selectionModel()->selectedIndexes().isEmpty());
    QCoreApplication::processEvents();
}
