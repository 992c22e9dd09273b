// Reading simulated devices from a description file (README.md).

#include "OrvImageCaptureSim.h"

#include "OrvUserFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>
#include <QUuid>

using namespace OrvImageCapture;

namespace OrvImageCaptureSim {

namespace {

QString relativeTo(const QDir& base, const QString& path) { return path.isEmpty() ? path : base.absoluteFilePath(path); }

bool readDevice(const QJsonObject& object, const QDir& base, DeviceSpec* spec, QString* error)
{
    spec->name = object.value(QStringLiteral("name")).toString();
    if (spec->name.isEmpty()) {
        *error = QStringLiteral("a device has no name");
        return false;
    }
    // A device's identity is stable across runs, as a real device's is.
    spec->uuid = object.value(QStringLiteral("uuid")).toString(
        QUuid::createUuidV5(QUuid(), spec->name).toString(QUuid::WithoutBraces).toUpper());
    const QString type = object.value(QStringLiteral("type")).toString(QStringLiteral("camera"));
    if (type != QLatin1String("camera") && type != QLatin1String("scanner")) {
        *error = QStringLiteral("unknown device type %1").arg(type);
        return false;
    }
    spec->type = (type == QLatin1String("camera") ? DeviceTypeCamera : DeviceTypeScanner) | DeviceLocationTypeLocal;
    spec->storage = relativeTo(base, object.value(QStringLiteral("storage")).toString());
    for (const QJsonValue& value : object.value(QStringLiteral("items")).toArray()) {
        const QJsonObject item = value.toObject();
        ItemSpec itemSpec;
        itemSpec.name = item.value(QStringLiteral("name")).toString();
        if (itemSpec.name.isEmpty()) {
            *error = QStringLiteral("an item of %1 has no name").arg(spec->name);
            return false;
        }
        itemSpec.folder = item.value(QStringLiteral("folder")).toString();
        itemSpec.uti = item.value(QStringLiteral("uti")).toString();
        itemSpec.created = QDateTime::fromString(item.value(QStringLiteral("created")).toString(), Qt::ISODate);
        itemSpec.file = relativeTo(base, item.value(QStringLiteral("file")).toString());
        spec->items.append(itemSpec);
    }
    spec->itemBatch = object.value(QStringLiteral("itemBatch")).toInt(spec->itemBatch);
    spec->thumbnailBatch = object.value(QStringLiteral("thumbnailBatch")).toInt(spec->thumbnailBatch);
    spec->thumbnailEdge = qBound(1, object.value(QStringLiteral("thumbnailEdge")).toInt(spec->thumbnailEdge), 1024);
    const QString thumbnails = object.value(QStringLiteral("thumbnails")).toString(QStringLiteral("afterCatalog"));
    if (thumbnails == QLatin1String("withItems"))
        spec->thumbnails = ThumbnailTiming::WithItems;
    else if (thumbnails == QLatin1String("none"))
        spec->thumbnails = ThumbnailTiming::None;
    else if (thumbnails != QLatin1String("afterCatalog")) {
        *error = QStringLiteral("unknown thumbnail timing %1").arg(thumbnails);
        return false;
    }
    const QJsonObject download = object.value(QStringLiteral("download")).toObject();
    spec->downloadDelayMs = qMax(0, download.value(QStringLiteral("delayMs")).toInt(0));
    const QString result = download.value(QStringLiteral("result")).toString(QStringLiteral("complete"));
    const QHash<QString, DownloadResult> results{{QStringLiteral("complete"), DownloadResult::Complete},
                                                 {QStringLiteral("fail"), DownloadResult::Fail},
                                                 {QStringLiteral("never"), DownloadResult::Never},
                                                 {QStringLiteral("held"), DownloadResult::Held}};
    if (!results.contains(result)) {
        *error = QStringLiteral("unknown download result %1").arg(result);
        return false;
    }
    spec->download = results.value(result);
    spec->autolaunchApplicationPath = object.value(QStringLiteral("autolaunch")).toString();
    spec->sessionFails = object.value(QStringLiteral("sessionFails")).toBool(false);
    return true;
}

} // namespace

bool readDescription(const QString& path, QList<DeviceSpec>* devices, QString* error)
{
    QString ignored;
    QString& message = error ? *error : ignored;
    OrvUserFile::Status status = OrvUserFile::NotOpened;
    const QByteArray bytes = OrvUserFile::readAll(path, OrvUserFile::LibraryDescription, &status);
    if (status != OrvUserFile::Ok) {
        message = QStringLiteral("cannot read %1: %2").arg(path, OrvUserFile::describe(status, OrvUserFile::LibraryDescription));
        return false;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (!document.isObject() || !document.object().value(QStringLiteral("devices")).isArray()) {
        message = QStringLiteral("%1 is no device description").arg(path);
        return false;
    }
    const QDir base = QFileInfo(path).absoluteDir();
    for (const QJsonValue& value : document.object().value(QStringLiteral("devices")).toArray()) {
        DeviceSpec spec;
        if (!readDevice(value.toObject(), base, &spec, &message))
            return false;
        devices->append(spec);
    }
    return true;
}

bool loadDescription(const QString& path, QString* error)
{
    QList<DeviceSpec> specs;
    if (!readDescription(path, &specs, error))
        return false;
    QJsonArray objects = QJsonDocument::fromJson(OrvUserFile::readAll(path, OrvUserFile::LibraryDescription))
                             .object()
                             .value(QStringLiteral("devices"))
                             .toArray();
    for (qsizetype i = 0; i < specs.size(); ++i) {
        const QJsonObject object = objects.at(i).toObject();
        const std::shared_ptr<Device> device = Device::create(specs.at(i));
        const int plugAfter = object.value(QStringLiteral("plugAfterMs")).toInt(0);
        const int unplugAfter = object.value(QStringLiteral("unplugAfterMs")).toInt(-1);
        if (plugAfter <= 0)
            plug(device);
        else
            QTimer::singleShot(plugAfter, QCoreApplication::instance(), [device] { plug(device); });
        if (unplugAfter >= 0) {
            const QString uuid = device->UUIDString();
            QTimer::singleShot(qMax(plugAfter, 0) + unplugAfter, QCoreApplication::instance(), [uuid] { unplug(uuid); });
        }
    }
    return true;
}

} // namespace OrvImageCaptureSim
