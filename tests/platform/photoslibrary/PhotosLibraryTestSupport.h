#pragma once

// What the tests of the library package backend share: the real Photos 8
// libraries beside the checkout (../shared/photos-libraries, read-only, never
// to be changed), copies of them to change as Photos would, and SQL on those
// copies.

#include "OrvPhotoKit.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <ostream>

// Readable lists in failure messages.
inline void PrintTo(const QStringList& list, std::ostream* os) { *os << '[' << list.join(QStringLiteral(", ")).toStdString() << ']'; }

namespace OrvPhotosLibrary {
class Package;
}

namespace PhotosLibraryTest {

// A real library by name ("photos8-macos-13.0.1.photoslibrary"); empty when the
// libraries are not beside the checkout.
QString realLibrary(const QString& name = QStringLiteral("photos8-macos-13.0.1.photoslibrary"));
inline const char* noLibraries() { return "no ../shared/photos-libraries beside the checkout: tests of real libraries skipped"; }

// Every file below folder (relative path) with a digest of its bytes.
QMap<QString, QByteArray> fingerprint(const QString& folder);

// A writable copy of a package (or of the parts of it named), made as tests change it.
class PackageCopy
{
public:
    explicit PackageCopy(const QString& from, const QStringList& only = {});
    QString path() const { return myPath; }
    QString database() const { return myPath + QStringLiteral("/database/Photos.sqlite"); }
    QString file(const QString& relative) const { return myPath + QLatin1Char('/') + relative; }
    // Runs statements on the copy's database as Photos would (read-write, WAL); false and a failure when one fails.
    // Photos keeps the database open, so what it commits stays in the log: with keepLog, so here.
    bool sql(const QString& statements, bool keepLog = false) const;
    // The first value of a query on the copy's database.
    QString value(const QString& query) const;

private:
    QTemporaryDir myDir;
    QString myPath;
};

// Runs statements on the database at path; false and a gtest failure when one fails.
bool sql(const QString& database, const QString& statements, bool keepLog = false);

std::shared_ptr<OrvPhotosLibrary::Package> open(const QString& path, QString* error = nullptr);

QStringList ids(const std::shared_ptr<const OrvPhotoKit::ObjectEnumeration>& objects);
QStringList ids(const OrvPhotoKit::FetchResultPtr& result);
QStringList titles(const OrvPhotoKit::FetchResultPtr& result);
// Asset identifiers without their /L0/001.
QStringList uuids(const OrvPhotoKit::FetchResultPtr& result);

// The real library is read-only: tests that read it check after each test that
// not a byte of it changed and no file appeared.
class RealLibraryTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;
    // A private copy of the real library in which these parts are copies (the rest links),
    // with the image I/O its pictures are read through; false without a real library.
    bool copyLibrary(const QStringList& copied);
    QString library;
    std::unique_ptr<PackageCopy> copy;

private:
    static const QMap<QString, QByteArray>& before(const QString& path);
};

} // namespace PhotosLibraryTest
