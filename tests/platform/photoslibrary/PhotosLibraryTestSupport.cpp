#include "PhotosLibraryTestSupport.h"

#include "OrvImageIOQt.h"
#include "OrvPhotosLibraryPackage.h"
#include "TestSupport.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

namespace PhotosLibraryTest {

QString realLibrary(const QString& name)
{
    const QString path = QDir(OrvTest::sourceDir()).absoluteFilePath(QStringLiteral("../shared/photos-libraries/") + name);
    return QFileInfo(path).isDir() ? QDir::cleanPath(path) : QString();
}

QMap<QString, QByteArray> fingerprint(const QString& folder)
{
    QMap<QString, QByteArray> result;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info(path);
        QByteArray digest = info.isDir() ? QByteArray("folder") : QByteArray("unreadable");
        QFile file(path);
        if (info.isFile() && file.open(QIODevice::ReadOnly)) {
            QCryptographicHash hash(QCryptographicHash::Sha1);
            hash.addData(&file);
            digest = hash.result().toHex();
        }
        result.insert(QDir(folder).relativeFilePath(path), digest);
    }
    return result;
}

PackageCopy::PackageCopy(const QString& from, const QStringList& only)
{
    myPath = myDir.filePath(QFileInfo(from).fileName());
    QDirIterator it(from, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString source = it.next();
        const QString relative = QDir(from).relativeFilePath(source);
        if (!only.isEmpty() && std::none_of(only.cbegin(), only.cend(), [&](const QString& prefix) { return relative.startsWith(prefix); }))
            continue;
        const QString target = myPath + QLatin1Char('/') + relative;
        QDir().mkpath(QFileInfo(target).absolutePath());
        QFile::copy(source, target);
        QFile::setPermissions(target, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    }
    QDir().mkpath(myPath + QStringLiteral("/database"));
}

bool sql(const QString& database, const QString& statements, bool keepLog)
{
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(QFile::encodeName(database).constData(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << "cannot open " << database.toStdString() << ": " << sqlite3_errmsg(db);
        sqlite3_close(db);
        return false;
    }
    // Photos' triggers call functions that Core Data provides in Photos' own process.
    const auto nothing = [](sqlite3_context* context, int, sqlite3_value**) { sqlite3_result_null(context); };
    for (const char* function : {"NSCoreDataDATriggerInsertUpdatedAffectedObjectValue", "NSCoreDataDATriggerUpdatedAffectedObjectValue",
                                 "NSCoreDataTriggerUpdateAffectedObjectValue"})
        sqlite3_create_function_v2(db, function, -1, SQLITE_UTF8, nullptr, nothing, nullptr, nullptr, nullptr);
    if (keepLog)
        sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    char* message = nullptr;
    const bool ok = sqlite3_exec(db, statements.toUtf8().constData(), nullptr, nullptr, &message) == SQLITE_OK;
    if (!ok)
        ADD_FAILURE() << "SQL failed: " << (message ? message : "") << "\n" << statements.toStdString();
    sqlite3_free(message);
    sqlite3_close(db);
    return ok;
}

bool PackageCopy::sql(const QString& statements, bool keepLog) const
{
    return PhotosLibraryTest::sql(database(), statements, keepLog);
}

QString PackageCopy::value(const QString& query) const
{
    sqlite3* db = nullptr;
    QString result;
    if (sqlite3_open_v2(QFile::encodeName(database()).constData(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db, query.toUtf8().constData(), -1, &statement, nullptr) == SQLITE_OK
            && sqlite3_step(statement) == SQLITE_ROW)
            result = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
        sqlite3_finalize(statement);
    }
    sqlite3_close(db);
    return result;
}

std::shared_ptr<OrvPhotosLibrary::Package> open(const QString& path, QString* error)
{
    return OrvPhotosLibrary::Package::open(path, error);
}

QStringList ids(const std::shared_ptr<const OrvPhotoKit::ObjectEnumeration>& objects)
{
    QStringList result;
    for (qsizetype i = 0; objects && i < objects->count(); ++i)
        result.append(objects->objectAtIndex(i)->localIdentifier());
    return result;
}

QStringList ids(const OrvPhotoKit::FetchResultPtr& result) { return ids(std::shared_ptr<const OrvPhotoKit::ObjectEnumeration>(result)); }

QStringList titles(const OrvPhotoKit::FetchResultPtr& result)
{
    QStringList titles;
    for (qsizetype i = 0; result && i < result->count(); ++i) {
        const auto collection = OrvPhotoKit::asCollection(result->objectAtIndex(i));
        titles.append(collection ? collection->localizedTitle() : QStringLiteral("(not a collection)"));
    }
    return titles;
}

QStringList uuids(const OrvPhotoKit::FetchResultPtr& result)
{
    QStringList list = ids(result);
    for (QString& id : list)
        id = id.section(QLatin1Char('-'), 0, 0);
    return list;
}

const QMap<QString, QByteArray>& RealLibraryTest::before(const QString& path)
{
    static QMap<QString, QMap<QString, QByteArray>> prints;
    if (!prints.contains(path))
        prints.insert(path, fingerprint(path));
    return prints[path];
}

void RealLibraryTest::SetUp()
{
    library = realLibrary();
    if (library.isEmpty()) {
        GTEST_SKIP() << noLibraries();
    }
    before(library);
    before(realLibrary(QStringLiteral("photos8-macos-13.0.1-single.photoslibrary")));
}

bool RealLibraryTest::copyLibrary(const QStringList& copied)
{
    if (library.isEmpty())
        return false;
    OrvImageIOQt::install();
    copy = std::make_unique<PackageCopy>(library, copied);
    return true;
}

void RealLibraryTest::TearDown()
{
    if (library.isEmpty())
        return;
    // Not a byte changed, no file added or taken away, in either library.
    for (const QString& path : {library, realLibrary(QStringLiteral("photos8-macos-13.0.1-single.photoslibrary"))}) {
        if (!path.isEmpty()) {
            EXPECT_EQ(fingerprint(path), before(path)) << path.toStdString();
        }
    }
}

} // namespace PhotosLibraryTest
