// The plug-in's Photos source on a real library: what the host is told at
// start and when an album opens, and the library's later changes reaching the
// host on its main thread.

#include "OrvImageIOQt.h"
#include "OrvPhotoKitDatabase.h"
#include "OrvPhotosLibrary.h"
#include "OrvPhotosLibraryPackage.h"
#include "PhotosLibraryTestSupport.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QThread>

using namespace PhotosLibraryTest;

namespace {

class PhotosSource : public RealLibraryTest
{
protected:
    void SetUp() override
    {
        RealLibraryTest::SetUp();
        if (!copyLibrary(QStringList{QStringLiteral("database/Photos.sqlite"), QStringLiteral("originals"),
                                                                  QStringLiteral("resources")}))
            return;
        QString error;
        package = open(copy->path(), &error);
        ASSERT_TRUE(package) << error.toStdString();
        OrvPhotosLibrary::install(package);
        database = std::make_unique<OrvPhotoKitDatabase>();
        OrvExternalDatabase* base = database.get();
        QObject::connect(base, &OrvExternalDatabase::fotosInserted, base, [this](const OrvExternalFotoList& fotos, const OrvExternalId& album) {
            for (const OrvExternalFoto& foto : fotos)
                inserted.append(album.type() + QLatin1Char(':') + foto.name());
            onMain = onMain && QThread::currentThread() == QCoreApplication::instance()->thread();
        });
        QObject::connect(base, &OrvExternalDatabase::fotosRemoved, base, [this](const QList<OrvExternalId>& fotos, const OrvExternalId& album) {
            for (const OrvExternalId& foto : fotos)
                removed.append(album.type() + QLatin1Char(':') + foto.remoteId());
            onMain = onMain && QThread::currentThread() == QCoreApplication::instance()->thread();
        });
        QObject::connect(base, &OrvExternalDatabase::albumRenamed, base, [this](const OrvExternalAlbum&, const QString& name) {
            renamed.append(name);
            onMain = onMain && QThread::currentThread() == QCoreApplication::instance()->thread();
        });
        database->doLazyInit();
    }
    void TearDown() override
    {
        if (package)
            package->waitForQueue();
        QCoreApplication::processEvents();
        database.reset();
        OrvPhotoKit::setSharedPhotoLibraryProvider(nullptr);
        RealLibraryTest::TearDown();
    }
    QStringList names(const QString& album) const
    {
        QStringList result;
        for (const OrvExternalFoto& foto : database->getExternalDataPoolConst().fotosInAlbum(OrvExternalId(QUrl(album))))
            result.append(foto.name());
        return result;
    }

    std::shared_ptr<OrvPhotosLibrary::Package> package;
    std::unique_ptr<OrvPhotoKitDatabase> database;
    QStringList inserted;
    QStringList removed;
    QStringList renamed;
    bool onMain = true;
};

} // namespace

TEST_F(PhotosSource, ShowsTheLibraryWithLocalTimesAndPixels)
{
    database->fetchMore(QUrl(QStringLiteral("photokit:all")));
    // Newest first, named by the local time they were taken at.
    EXPECT_EQ(names(QStringLiteral("photokit:all")), (QStringList{"2020-09-07T072740.jpg", "2020-08-12T154332.jpg", "2020-08-12T141215.jpg",
                                                                  "2020-07-18T120020.jpg", "2020-07-05T100704.jpg"}));
    const OrvExternalFotoList fotos = database->getExternalDataPoolConst().fotosInAlbum(OrvExternalId(QUrl(QStringLiteral("photokit:all"))));
    ASSERT_EQ(fotos.size(), 5);
    EXPECT_EQ(fotos.at(1).taken().offsetFromUtc(), -25200);
    const QImage thumbnail = database->drawable(fotos.at(1).id(), QSize(256, 256), false).image();
    EXPECT_EQ(thumbnail.size(), QSize(270, 360)) << "its 360 x 480 thumbnail at 6/8, covering 256 x 342";
    const QImage full = database->drawable(fotos.at(0).id(), QSize(-1, -1), true).image();
    EXPECT_EQ(full.size(), QSize(701, 903));
}

TEST_F(PhotosSource, ChangesInTheLibraryReachTheHostOnItsMainThread)
{
    database->fetchMore(QUrl(QStringLiteral("photokit:all")));
    inserted.clear();
    ASSERT_TRUE(copy->sql(QStringLiteral(
                              "BEGIN;"
                              "INSERT INTO ZASSET (Z_PK, Z_ENT, Z_OPT, ZUUID, ZKIND, ZWIDTH, ZHEIGHT, ZDATECREATED) VALUES "
                              "(100, 3, 1, '0A0B0C0D-1111-4222-8333-444455556666', 0, 40, 30, 700000000);"
                              "DELETE FROM Z_28ASSETS WHERE Z_3ASSETS = 1; DELETE FROM ZASSET WHERE Z_PK = 1;"
                              "UPDATE ZGENERICALBUM SET ZTITLE = 'Market' WHERE Z_PK = 41;"
                              "INSERT INTO ATRANSACTION (Z_ENT, Z_OPT) VALUES (16002, 1);"
                              "INSERT INTO ACHANGE (Z_ENT, Z_OPT, ZCHANGETYPE, ZENTITY, ZENTITYPK, ZTRANSACTIONID) VALUES "
                              "(16001, 1, 0, 3, 100, (SELECT max(Z_PK) FROM ATRANSACTION)), "
                              "(16001, 1, 2, 3, 1, (SELECT max(Z_PK) FROM ATRANSACTION)), "
                              "(16001, 1, 1, 28, 41, (SELECT max(Z_PK) FROM ATRANSACTION));"
                              "COMMIT;"),
                          true));
    ASSERT_TRUE(OrvTest::waitFor([&] { return !inserted.isEmpty() && !removed.isEmpty() && !renamed.isEmpty(); }, 20000));
    EXPECT_EQ(inserted, (QStringList{"all:2023-03-08T202640.jpg"}));
    EXPECT_EQ(removed, (QStringList{"all:B6DB996D-8A0A-4983-AFBD-D206B7D38A23_2FL0_2F001"}));
    EXPECT_EQ(renamed, (QStringList{"Market"}));
    EXPECT_TRUE(onMain);
}
