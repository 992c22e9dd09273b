#include "OrvPhotosLibraryFiles.h"

#include "OrvPhotosLibrarySchema.h"
#include "OrvPhotosLibraryStatement.h"

#include <QDir>
#include <QFileInfo>

namespace OrvPhotosLibrary {

namespace {

const QString attributesTable = QStringLiteral("ZADDITIONALASSETATTRIBUTES");
const QString resourceTable = QStringLiteral("ZINTERNALRESOURCE");
const QStringList imageExtensions = {QStringLiteral("jpeg"), QStringLiteral("heic"), QStringLiteral("jpg"),
                                     QStringLiteral("png"), QStringLiteral("tiff")};

// One step of a path as a database names it: no separator, no way up.
bool isPlainStep(const QString& step)
{
    return !step.isEmpty() && step != QLatin1String(".") && step != QLatin1String("..") && !step.contains(QLatin1Char('/'))
        && !step.contains(QChar(0));
}

QString firstExisting(const QString& base, const QStringList& extensions = imageExtensions)
{
    for (const QString& extension : extensions) {
        const QString path = base + QLatin1Char('.') + extension;
        if (QFileInfo::exists(path))
            return path;
    }
    return QString();
}

// A referenced original on a volume of its own: where Linux mounts a volume by that name.
QString onVolume(const QString& volume, const QString& relative)
{
    if (!isPlainStep(volume) || relative.isEmpty() || relative.split(QLatin1Char('/')).contains(QStringLiteral("..")))
        return QString();
    const QString user = qEnvironmentVariable("USER");
    for (const QString& mount : {QStringLiteral("/Volumes/"), QStringLiteral("/media/") + user + QLatin1Char('/'),
                                 QStringLiteral("/run/media/") + user + QLatin1Char('/'), QStringLiteral("/mnt/")}) {
        const QString path = QDir::cleanPath(mount + volume + QLatin1Char('/') + relative);
        if (QFileInfo::exists(path))
            return path;
    }
    return QString();
}

} // namespace

std::optional<Files> Files::of(sqlite3* db, const Schema& schema, const QString& packagePath, const Asset& asset)
{
    const QString table = schema.assetTable();
    const auto a = [&](const QStringList& columns) { return schema.column(QStringLiteral("a"), table, columns); };
    const bool attributes = schema.hasTable(attributesTable) && schema.hasColumn(table, QStringLiteral("ZADDITIONALATTRIBUTES"));
    Statement row(db, QStringLiteral("SELECT %1, %2, %3, %4 FROM %5 a%6 WHERE a.Z_PK = ?1")
                          .arg(a({QStringLiteral("ZDIRECTORY")}), a({QStringLiteral("ZFILENAME")}),
                               a({QStringLiteral("ZHASADJUSTMENTS"), QStringLiteral("ZADJUSTMENTSSTATE")}),
                               attributes ? schema.column(QStringLiteral("aa"), attributesTable, QStringLiteral("ZORIGINALFILENAME"))
                                          : QStringLiteral("NULL"),
                               table,
                               attributes ? QStringLiteral(" LEFT JOIN ZADDITIONALASSETATTRIBUTES aa ON aa.Z_PK = a.ZADDITIONALATTRIBUTES")
                                          : QString()));
    row.bind(1, asset.primaryKey());
    if (!row.next())
        return std::nullopt;
    Files files;
    const QDir package(packagePath);
    const QString uuid = asset.uuid();
    const QString directory = row.text(0);
    const QString fileName = row.text(1);
    files.isEdited = row.integer(2) != 0;
    files.originalFilename = row.text(3).isEmpty() ? fileName : row.text(3);

    if (isPlainStep(fileName)) {
        if (directory.startsWith(QLatin1Char('/'))) {
            files.referenced = true;
            const QString path = QDir::cleanPath(directory + QLatin1Char('/') + fileName);
            if (QFileInfo::exists(path))
                files.original = path;
        } else if (isPlainStep(directory)) {
            for (const QString& root : {QStringLiteral("originals"), QStringLiteral("scopes/cloudsharing/data"),
                                        QStringLiteral("resources/cloudsharing/data")}) {
                const QString path = package.filePath(root + QLatin1Char('/') + directory + QLatin1Char('/') + fileName);
                if (QFileInfo::exists(path)) {
                    files.original = path;
                    break;
                }
            }
        }
    }

    // The original's resource row: whether it is here or only in iCloud, and where a referenced one lives.
    if (schema.hasColumn(resourceTable, QStringLiteral("ZASSET"))) {
        const auto r = [&](const QString& column) { return schema.column(QStringLiteral("r"), resourceTable, column); };
        const QString bookmarkTable = QStringLiteral("ZFILESYSTEMBOOKMARK");
        const QString volumeTable = QStringLiteral("ZFILESYSTEMVOLUME");
        const bool bookmarks = schema.hasColumn(resourceTable, bookmarkTable) && schema.hasColumn(resourceTable, volumeTable)
            && schema.hasTable(bookmarkTable) && schema.hasTable(volumeTable);
        Statement original(db, QStringLiteral("SELECT %1, %2, %3 FROM ZINTERNALRESOURCE r%4 WHERE r.ZASSET = ?1 AND %5 = 1 "
                                              "ORDER BY %6 LIMIT 1")
                                   .arg(r(QStringLiteral("ZLOCALAVAILABILITY")),
                                        bookmarks ? schema.column(QStringLiteral("v"), volumeTable, QStringLiteral("ZNAME")) : QStringLiteral("NULL"),
                                        bookmarks ? schema.column(QStringLiteral("b"), bookmarkTable, QStringLiteral("ZPATHRELATIVETOVOLUME"))
                                                  : QStringLiteral("NULL"),
                                        bookmarks ? QStringLiteral(" LEFT JOIN ZFILESYSTEMBOOKMARK b ON b.Z_PK = r.ZFILESYSTEMBOOKMARK "
                                                                   "LEFT JOIN ZFILESYSTEMVOLUME v ON v.Z_PK = r.ZFILESYSTEMVOLUME")
                                                  : QString(),
                                        r(QStringLiteral("ZDATASTORESUBTYPE")), r(QStringLiteral("ZRESOURCETYPE"))));
        original.bind(1, asset.primaryKey());
        if (original.next()) {
            // Not downloaded (-1): only iCloud has it, unless the file is there after all.
            files.originalInCloud = original.integer(0, 1) < 0 && files.original.isEmpty();
            if (files.original.isEmpty() && !original.isNull(1)) {
                files.referenced = true;
                files.original = onVolume(original.text(1), original.text(2));
            }
        }
    }

    const QString bucket = uuid.left(1);
    if (files.isEdited) {
        files.render = firstExisting(package.filePath(QStringLiteral("resources/renders/%1/%2_1_201_a").arg(bucket, uuid)));
        const QString adjustments = package.filePath(QStringLiteral("resources/renders/%1/%2.plist").arg(bucket, uuid));
        if (QFileInfo::exists(adjustments))
            files.adjustments = adjustments;
    }
    if (asset.mediaType() == Asset::Image && !files.original.isEmpty()) {
        const QFileInfo originalFile(files.original);
        files.pairedVideo = firstExisting(originalFile.absolutePath() + QLatin1Char('/') + uuid + QStringLiteral("_3"),
                                          {QStringLiteral("mov"), QStringLiteral("MOV")});
    }
    // Smallest first: the thumbnail (360 on its short side), the preview (about 1024), the large
    // preview (2048; of the unedited photo, so only where there is no edit).
    QStringList renditions = {firstExisting(package.filePath(QStringLiteral("resources/derivatives/masters/%1/%2_4_5005_c").arg(bucket, uuid))),
                              firstExisting(package.filePath(QStringLiteral("resources/derivatives/%1/%2_1_105_c").arg(bucket, uuid)))};
    if (!files.isEdited)
        renditions.append(firstExisting(package.filePath(QStringLiteral("resources/derivatives/%1/%2_1_102_o").arg(bucket, uuid))));
    renditions.removeAll(QString());
    files.renditions = renditions;
    return files;
}

} // namespace OrvPhotosLibrary
