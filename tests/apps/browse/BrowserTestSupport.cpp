#include "BrowserTestSupport.h"

#include "OrvLibraryFolders.h"

#include "OrvBrowserWindow.h"
#include "OrvFotoGridModel.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRegistries.h"
#include "OrvFotoRetriever.h"
#include "OrvIPhotoDatabase.h"
#include "OrvPhotoKitDatabase.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QItemSelectionModel>
#include <QListView>
#include <QThread>

namespace BrowserTest {

namespace {

QByteArray albumXml(int id, const QByteArray& name, const QByteArray& type, int parent, const QList<int>& keys)
{
    QByteArray xml = "<dict><key>AlbumId</key><integer>" + QByteArray::number(id) + "</integer><key>AlbumName</key><string>"
        + name + "</string><key>Album Type</key><string>" + type + "</string>";
    if (parent > 0)
        xml += "<key>Parent</key><integer>" + QByteArray::number(parent) + "</integer>";
    if (!keys.isEmpty()) {
        xml += "<key>KeyList</key><array>";
        for (int key : keys)
            xml += "<string>" + QByteArray::number(key) + "</string>";
        xml += "</array>";
    }
    return xml + "</dict>";
}

QByteArray fotoXml(int key, const QString& path, double seconds, const QByteArray& more = {})
{
    return "<key>" + QByteArray::number(key) + "</key><dict><key>ImagePath</key><string>" + path.toUtf8()
        + "</string><key>ThumbPath</key><string>" + path.toUtf8() + "</string><key>MediaType</key><string>Image</string>"
        + "<key>DateAsTimerInterval</key><real>" + QByteArray::number(seconds, 'f', 0) + "</real>" + more + "</dict>";
}

class Environment : public ::testing::Environment
{
public:
    void SetUp() override
    {
        Libraries& libs = libraries();
        const QString root = libs.dir.path();
        QByteArray fotos;
        QList<int> holiday;
        for (int i = 1; i <= 30; ++i) {
            const QString path = QStringLiteral("%1/Masters/IMG_%2.JPG").arg(root).arg(i, 4, 10, QLatin1Char('0'));
            OrvTest::writeFile(path, OrvTest::makeJpeg(640, 480, 1, 60 + i));
            QByteArray more;
            if (i == 1) {
                more = "<key>Rating</key><integer>4</integer><key>Faces</key><array><dict><key>face key</key>"
                       "<string>7</string><key>rectangle</key><string>{{0.25, 0.5}, {0.2, 0.25}}</string></dict></array>";
            }
            fotos += fotoXml(i, path, 300000000 + i * 3600, more);
            holiday.append(i);
        }
        // Names and dates in different orders.
        const QList<QPair<const char*, double>> mixed{{"b.jpg", 300900000}, {"c.jpg", 300100000}, {"a.jpg", 300500000}};
        for (int i = 0; i < int(mixed.size()); ++i) {
            const QString path = root + QStringLiteral("/Masters/") + QString::fromLatin1(mixed.at(i).first);
            OrvTest::writeFile(path, OrvTest::makeJpeg(320, 240, 1, 70));
            fotos += fotoXml(31 + i, path, mixed.at(i).second);
        }
        const QByteArray albums = albumXml(5, "Holiday", "Regular", 0, holiday) + albumXml(40, "Trips", "Folder", 0, {})
            + albumXml(41, "Coast", "Regular", 40, {3, 1, 2}) + albumXml(42, "Old", "Folder", 40, {})
            + albumXml(43, "Hills", "Smart", 42, {5, 1}) + albumXml(44, "Nothing", "Folder", 40, {})
            + albumXml(45, "Mixed", "Regular", 0, {31, 32, 33});
        const QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
                               "<key>List of Albums</key><array>" + albums + "</array>"
                               "<key>List of Faces</key><dict><key>7</key><dict><key>name</key><string>Ann</string>"
                               "<key>key</key><integer>7</integer></dict></dict>"
                               "<key>Master Image List</key><dict>" + fotos + "</dict></dict></plist>";
        OrvTest::writeFile(root + QStringLiteral("/AlbumData.xml"), xml);
        OrvTest::writeFile(root + QStringLiteral("/config/apple/iphoto.conf"),
                           "[General]\nXMLDataFilePath=" + root.toUtf8() + "/AlbumData.xml\n");
        qputenv("XDG_CONFIG_HOME", (root + QStringLiteral("/config")).toLocal8Bit());
        // As the program does: the library's folders from its file.
        OrvLibraryFolders::arrange(iphoto(), [root] { return root + QStringLiteral("/AlbumData.xml"); });

        OrvPhotoKitSim::install();
        libs.photos = OrvPhotoKitSim::Library::loadDescription(OrvTest::sourceDir() + QStringLiteral("/samples/photos/library.json"));
        OrvPhotoKitSim::setSharedLibrary(libs.photos);
    }
    void TearDown() override
    {
        if (libraries().photos)
            libraries().photos->waitForQueue();
    }
};

[[maybe_unused]] const auto* environment = ::testing::AddGlobalTestEnvironment(new Environment);

// ---- the gated source's retrievers

struct GatedData : OrvFotoRetrieverData
{
    GatedData(const GatedSource* source, const OrvExternalId& id) : mySource(const_cast<GatedSource*>(source)), myId(id) {}
    OrvFetchDrawableResult drawable(const QSize& size) override
    {
        std::unique_lock<std::mutex> lock(mySource->mutex);
        if (!mySource->gatedSize.isValid() || size == mySource->gatedSize) {
            ++mySource->atGate;
            mySource->changed.notify_all();
            mySource->changed.wait(lock, [this] { return mySource->open || mySource->permits > 0; });
            --mySource->atGate;
            if (!mySource->open)
                --mySource->permits;
        }
        mySource->servedIds.append(myId.remoteId());
        if (QThread::currentThread() == QCoreApplication::instance()->thread())
            mySource->offMainThread = false;
        if (myId.remoteId() == QLatin1String("broken"))
            return {};
        if (mySource->late.contains(myId.remoteId()))
            return OrvFetchDrawableResult(OrvFotoCacheDrawable::placeHolder());
        QImage image(size.isValid() ? QSize(qRound(size.width() * mySource->widerBy), size.height()) : QSize(40, 30),
                     QImage::Format_RGB32);
        image.fill(Qt::green);
        return OrvFetchDrawableResult(OrvDrawable(image));
    }
    OrvFoto foto() const override { return mySource->createFoto(myId); }
    GatedSource* mySource;
    OrvExternalId myId;
};

struct GatedMetaData : OrvFotoRetrieverMetaData
{
    explicit GatedMetaData(GatedSource* source) : mySource(source) {}
    OrvFotoMetaData metaData() override
    {
        if (QThread::currentThread() == QCoreApplication::instance()->thread())
            mySource->metaDataOnMain = true;
        OrvFotoMetaData metaData;
        metaData.setPictureTaken(mySource->metaDataTaken);
        return metaData;
    }
    GatedSource* mySource;
};

struct GatedRetriever : OrvFotoRetrieverInterfaceReadOnly
{
    GatedRetriever(const GatedSource* source, const OrvExternalId& id) : mySource(source), myId(id) {}
    OrvFotoRetrieverInterface* clone() const override { return new GatedRetriever(mySource, myId); }
    OrvFotoRetrieverData* retrieve(const QSize&) override { return new GatedData(mySource, myId); }
    OrvFotoRetrieverMetaData* retrieveMetaData() override
    {
        return mySource->metaDataTaken.isValid() ? new GatedMetaData(const_cast<GatedSource*>(mySource)) : nullptr;
    }
    bool operator==(const OrvFotoRetrieverInterface&) const override { return false; }
    size_t hash() const override { return 0; }
    const GatedSource* mySource;
    OrvExternalId myId;
};

} // namespace

Libraries& libraries()
{
    static Libraries theLibraries;
    return theLibraries;
}

OrvExternalDatabase* iphoto() { return OrvIPhotoDatabase::instance(); }
OrvExternalDatabase* photokit() { return OrvSingleton<OrvPhotoKitDatabase>::instance(); }
OrvExternalId iphotoFoto(int n) { return OrvExternalId(QStringLiteral("iphoto"), QStringLiteral("foto"), QString::number(n)); }
OrvExternalId iphotoAlbum(int n) { return OrvExternalId(QStringLiteral("iphoto"), QStringLiteral("album"), QString::number(n)); }

QStringList selectedIds(OrvBrowserWindow& window)
{
    QStringList selected;
    for (const QModelIndex& index : window.gridView()->selectionModel()->selectedIndexes())
        selected.append(window.gridModel()->fotoAt(index.row()).id().remoteId());
    selected.sort();
    return selected;
}

QStringList childNames(const QAbstractItemModel& model, const QModelIndex& parent)
{
    QStringList names;
    for (int row = 0; row < model.rowCount(parent); ++row)
        names.append(model.index(row, 0, parent).data().toString());
    return names;
}

void screenshot(QWidget& widget, const QString& name)
{
    const QString folder = OrvTest::binaryDir() + QStringLiteral("/screenshots");
    QDir().mkpath(folder);
    widget.grab().save(folder + QLatin1Char('/') + name);
}

GatedSource::GatedSource()
    : OrvExternalDatabase(OrvExternalService(QStringLiteral("gated"), QStringLiteral("Gated"), QIcon(), QIcon(), QImage(), 0),
                          OrvFotoDatabaseType(1u << 20))
{
}

OrvFotoRetrieverInterface* GatedSource::createRetrieverInterface(const OrvExternalId& id) const
{
    return new GatedRetriever(this, id);
}

OrvExternalId GatedSource::foto(const QString& name) const { return urlBuilder().build(QStringLiteral("foto"), name); }

OrvExternalId GatedSource::addAlbum(const QString& name, const QStringList& fotoNames)
{
    const OrvExternalId album = urlBuilder().build(QStringLiteral("album"), name);
    emit albumAdded(OrvExternalAlbum(album, name, {}, OrvExternalAlbumType::Regular), QIcon());
    OrvExternalFotoList fotos;
    for (const QString& fotoName : fotoNames) {
        fotos.append(OrvExternalFoto(new OrvExternalFotoImplDataWebService(foto(fotoName), fotoName + QStringLiteral(".jpg"),
                                                                           OrvMediaFormat(OrvMediaFormat::Jpeg), QDateTime(),
                                                                           QSize(40, 30))));
    }
    emit fotosInserted(fotos, album);
    return album;
}

void GatedSource::setLate(const QStringList& names)
{
    std::lock_guard<std::mutex> lock(mutex);
    late = QSet<QString>(names.begin(), names.end());
}

void GatedSource::arrive(const QString& name)
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        late.remove(name);
    }
    OrvSingleton<OrvFotoChangeDispatcher>::instance()->dispatchNewAvailableBitmap(createFoto(foto(name)), QSize(40, 30));
}

void GatedSource::setOpen(bool isOpen)
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        open = isOpen;
    }
    changed.notify_all();
}

void GatedSource::permit(int count)
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        permits += count;
    }
    changed.notify_all();
}

int GatedSource::waiting() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return atGate;
}

QStringList GatedSource::served() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return servedIds;
}

} // namespace BrowserTest
