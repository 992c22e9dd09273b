#include "OrvNativeMetaData.h"
#include "OrvExiv2Compat.h"
#include "OrvExiv2UserFileIo.h"
#include "OrvQtCompat.h"

#include <QDebug>
#include <QFile>

#include <cmath>
#include <mutex>

// ---------------------------------------------------------------------------
// OrvNativeMetaDataGeneric

OrvNativeMetaDataGeneric::OrvNativeMetaDataGeneric() { myData.setValid(true); }

void OrvNativeMetaDataGeneric::setAdobeRating(int rating) { myData.setAdobeRating(rating); }

void OrvNativeMetaDataGeneric::setGeoPosition(const OrvGeoPosition& position) { myData.setGeoPosition(position); }

void OrvNativeMetaDataGeneric::setPictureTaken(const QDateTime& taken) { myData.setPictureTaken(taken); }

void OrvNativeMetaDataGeneric::setPreferredSize(const QSize& size) { myData.setPreferredSize(size); }

OrvFotoMetaData OrvNativeMetaDataGeneric::metaData() const { return myData; }

// ---------------------------------------------------------------------------
// OrvNativeMetaDataExiv2

namespace {

const char* const kOrientation = "Exif.Image.Orientation";
const char* const kXmpOrientation = "Xmp.tiff.Orientation";
const char* const kDateTimeOriginal = "Exif.Photo.DateTimeOriginal";
const char* const kDateTimeDigitized = "Exif.Photo.DateTimeDigitized";
const char* const kSubSecOriginal = "Exif.Photo.SubSecTimeOriginal";
const char* const kOffsetOriginal = "Exif.Photo.OffsetTimeOriginal";
const char* const kRating = "Exif.Image.Rating";
const char* const kXmpRating = "Xmp.xmp.Rating";
const char* const kMake = "Exif.Image.Make";
const char* const kModel = "Exif.Image.Model";
const char* const kDescription = "Exif.Image.ImageDescription";

void xmpLockUnlock(void* data, bool lock)
{
    auto* mutex = static_cast<std::recursive_mutex*>(data);
    if (lock)
        mutex->lock();
    else
        mutex->unlock();
}

// Exiv2's log level and the XMP toolkit are process globals that are not safe
// to set up concurrently; everything below calls this first.
void ensureExiv2()
{
    static std::once_flag once;
    std::call_once(once, [] {
        try {
            Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
            // Leaked on purpose: the toolkit may take the lock during static destruction.
            static auto* xmpMutex = new std::recursive_mutex;
            Exiv2::XmpParser::initialize(xmpLockUnlock, xmpMutex);
            OrvExiv2::enableBmff();
        } catch (...) {
            qDebug("OrvNativeMetaDataExiv2: Exiv2 initialisation failed");
        }
    });
}

QString toQString(const std::string& s)
{
    // EXIF ASCII fields are NUL-padded; anything after the first NUL is junk.
    return QString::fromUtf8(s.c_str()).trimmed();
}

const Exiv2::Exifdatum* findExif(const Exiv2::ExifData& exif, const char* key)
{
    const auto it = exif.findKey(Exiv2::ExifKey(key));
    return (it != exif.end() && it->count() > 0) ? &*it : nullptr;
}

const Exiv2::Xmpdatum* findXmp(const Exiv2::XmpData& xmp, const char* key)
{
    const auto it = xmp.findKey(Exiv2::XmpKey(key));
    return (it != xmp.end() && it->count() > 0) ? &*it : nullptr;
}

QString exifString(const Exiv2::ExifData& exif, const char* key)
{
    const Exiv2::Exifdatum* datum = findExif(exif, key);
    return datum ? toQString(datum->toString()) : QString();
}

bool parseNumber(const std::string& text, long* value)
{
    bool ok = false;
    const double parsed = QString::fromStdString(text).trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(parsed) || std::fabs(parsed) > 1e9)
        return false;
    *value = std::lround(parsed);
    return true;
}

// A pixel dimension, 0 where it does not fit.
int dimension(const Exiv2::Exifdatum& datum)
{
    const int64_t value = OrvExiv2::toInt64(datum);
    return value > 0 && value <= INT_MAX ? int(value) : 0;
}

int orientationOf(const Exiv2::ExifData& exif, const Exiv2::XmpData& xmp)
{
    long value = 0;
    if (const Exiv2::Exifdatum* datum = findExif(exif, kOrientation))
        value = long(OrvExiv2::toInt64(*datum));
    else if (const Exiv2::Xmpdatum* xdatum = findXmp(xmp, kXmpOrientation))
        parseNumber(xdatum->toString(), &value);
    return (value >= 1 && value <= 8) ? int(value) : 1;
}

bool swapsAxes(int orientation) { return orientation >= 5 && orientation <= 8; }

// "YYYY:MM:DD HH:MM:SS"; also tolerates '-' or 'T' separators some writers use.
QDateTime parseExifDate(const QString& text, const QString& subSeconds, const QString& offset)
{
    int numbers[6] = {0, 0, 0, 0, 0, 0};
    int count = 0;
    int digits = 0;
    for (const QChar c : text) {
        if (c.isDigit()) {
            if (count >= 6)
                break;
            if (++digits > 4)
                return QDateTime();
            numbers[count] = numbers[count] * 10 + c.digitValue();
        } else if (digits > 0) {
            ++count;
            digits = 0;
        }
    }
    if (digits > 0)
        ++count;
    if (count < 3)
        return QDateTime();
    const QDate date(numbers[0], numbers[1], numbers[2]);
    if (!date.isValid())
        return QDateTime();
    int msec = 0;
    const QString sub = subSeconds.trimmed().left(3);
    if (!sub.isEmpty()) {
        bool ok = false;
        const int value = sub.toInt(&ok);
        if (ok && value >= 0)
            msec = value * (sub.size() == 1 ? 100 : sub.size() == 2 ? 10 : 1);
    }
    const QTime time(numbers[3], numbers[4], numbers[5], msec);
    if (!time.isValid())
        return QDateTime();

    // "+HH:MM"; without it the wall clock of wherever the camera was is all we know.
    const QString off = offset.trimmed();
    if (off.size() == 6 && (off[0] == QLatin1Char('+') || off[0] == QLatin1Char('-')) && off[3] == QLatin1Char(':')) {
        bool okHours = false;
        bool okMinutes = false;
        const int hours = off.mid(1, 2).toInt(&okHours);
        const int minutes = off.mid(4, 2).toInt(&okMinutes);
        if (okHours && okMinutes && hours <= 14 && minutes < 60) {
            const int seconds = (hours * 3600 + minutes * 60) * (off[0] == QLatin1Char('-') ? -1 : 1);
            return OrvQt::withOffset(date, time, seconds);
        }
    }
    return OrvQt::local(date, time);
}

// Degrees, minutes, seconds as up to three rationals; NaN when unusable.
double parseDms(const Exiv2::Exifdatum* datum)
{
    if (!datum)
        return std::nan("");
    const size_t n = std::min<size_t>(datum->count(), 3);
    double result = 0.0;
    double unit = 1.0;
    for (size_t i = 0; i < n; ++i) {
        const Exiv2::Rational r = datum->toRational(i);
        if (r.second == 0)
            return std::nan("");
        result += double(r.first) / double(r.second) / unit;
        unit *= 60.0;
    }
    return result;
}

OrvGeoPosition geoPositionOf(const Exiv2::ExifData& exif)
{
    double latitude = parseDms(findExif(exif, "Exif.GPSInfo.GPSLatitude"));
    double longitude = parseDms(findExif(exif, "Exif.GPSInfo.GPSLongitude"));
    if (!std::isfinite(latitude) || !std::isfinite(longitude))
        return OrvGeoPosition();
    if (exifString(exif, "Exif.GPSInfo.GPSLatitudeRef").startsWith(QLatin1Char('S'), Qt::CaseInsensitive))
        latitude = -latitude;
    if (exifString(exif, "Exif.GPSInfo.GPSLongitudeRef").startsWith(QLatin1Char('W'), Qt::CaseInsensitive))
        longitude = -longitude;
    const OrvGeoPosition position(latitude, longitude);
    return position.isValid() ? position : OrvGeoPosition();
}

void addDms(Exiv2::ExifData& exif, const char* key, double degrees)
{
    const double value = std::fabs(degrees);
    const double whole = std::floor(value);
    const double minutes = std::floor((value - whole) * 60.0);
    const double seconds = (value - whole - minutes / 60.0) * 3600.0;
    Exiv2::URationalValue dms;
    dms.value_.push_back({uint32_t(whole), 1});
    dms.value_.push_back({uint32_t(minutes), 1});
    dms.value_.push_back({uint32_t(std::llround(std::max(0.0, seconds) * 1e6)), 1000000});
    exif.add(Exiv2::ExifKey(key), &dms);
}

QString formatOffset(int seconds)
{
    const QChar sign = seconds < 0 ? QLatin1Char('-') : QLatin1Char('+');
    const int minutes = std::abs(seconds) / 60;
    return QStringLiteral("%1%2:%3")
        .arg(sign)
        .arg(minutes / 60, 2, 10, QLatin1Char('0'))
        .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

struct OrvNativeMetaDataExiv2::Private
{
    bool valid = false;
    bool fromFile = false;
    QString fileName;
    QSize storedSize;  // pixels as stored, before orientation
    QByteArray iccProfile;
    Exiv2::ExifData exif;
    Exiv2::IptcData iptc;
    Exiv2::XmpData xmp;

    void read(Exiv2::Image& image)
    {
        image.readMetadata();
        exif = image.exifData();
        iptc = image.iptcData();
        xmp = image.xmpData();
        storedSize = QSize(image.pixelWidth(), image.pixelHeight());
        if (storedSize.isEmpty()) {
            const Exiv2::Exifdatum* w = findExif(exif, "Exif.Photo.PixelXDimension");
            const Exiv2::Exifdatum* h = findExif(exif, "Exif.Photo.PixelYDimension");
            storedSize = (w && h) ? QSize(dimension(*w), dimension(*h)) : QSize();
            if (storedSize.isEmpty())
                storedSize = QSize();
        }
        iccProfile = OrvExiv2::iccProfile(image);
        valid = true;
        fromFile = true;
    }

    void reset()
    {
        valid = false;
        storedSize = QSize();
        iccProfile.clear();
        exif.clear();
        iptc.clear();
        xmp.clear();
    }
};

OrvNativeMetaDataExiv2::OrvNativeMetaDataExiv2(const QFileInfo& file, const QByteArray& bytes) : d(new Private)
{
    d->fileName = file.fileName();
    if (bytes.isEmpty())
        return;
    ensureExiv2();
    try {
        auto image = OrvExiv2::openImage(bytes);
        if (image.get())
            d->read(*image);
    } catch (const std::exception& e) {
        qDebug() << "OrvNativeMetaDataExiv2: cannot read" << d->fileName << e.what();
        d->reset();
    } catch (...) {
        qDebug() << "OrvNativeMetaDataExiv2: cannot read" << d->fileName;
        d->reset();
    }
}

OrvNativeMetaDataExiv2::OrvNativeMetaDataExiv2(const QFileInfo& file) : d(new Private)
{
    d->fileName = file.fileName();
    const QString path = file.absoluteFilePath();
    if (file.filePath().isEmpty())
        return;
    ensureExiv2();
    try {
        OrvExiv2::IoPtr io(new OrvExiv2UserFileIo(path));
        if (io->open() != 0 || io->size() == 0)
            return;
        io->close();
        auto image = OrvExiv2::openImage(std::move(io));
        if (image.get())
            d->read(*image);
    } catch (const std::exception& e) {
        qDebug() << "OrvNativeMetaDataExiv2: cannot read" << path << e.what();
        d->reset();
    } catch (...) {
        qDebug() << "OrvNativeMetaDataExiv2: cannot read" << path;
        d->reset();
    }
}

OrvNativeMetaDataExiv2::OrvNativeMetaDataExiv2(const OrvFotoMetaData& data) : d(new Private)
{
    ensureExiv2();
    try {
        Exiv2::ExifData& exif = d->exif;
        const QDateTime taken = data.pictureTaken();
        if (taken.isValid()) {
            exif[kDateTimeOriginal] = taken.toString(QStringLiteral("yyyy:MM:dd HH:mm:ss")).toStdString();
            if (taken.time().msec() != 0)
                exif[kSubSecOriginal] = QString::number(taken.time().msec()).rightJustified(3, QLatin1Char('0')).toStdString();
            // A local time carries no offset worth recording; anything else pins the instant.
            if (taken.timeSpec() != Qt::LocalTime)
                exif[kOffsetOriginal] = formatOffset(taken.offsetFromUtc()).toStdString();
        }
        const int rating = data.adobeRating();
        if (rating > 0) {
            exif[kRating] = uint16_t(rating);
        } else if (rating < 0) {
            // EXIF's rating is unsigned; "rejected" exists only in XMP.
            d->xmp[kXmpRating] = std::to_string(rating);
        }
        const OrvGeoPosition position = data.geoPosition();
        if (position.isValid()) {
            OrvExiv2::ValuePtr version = Exiv2::Value::create(Exiv2::unsignedByte);
            version->read("2 2 0 0");
            exif.add(Exiv2::ExifKey("Exif.GPSInfo.GPSVersionID"), version.get());
            exif["Exif.GPSInfo.GPSLatitudeRef"] = std::string(position.latitude() < 0 ? "S" : "N");
            addDms(exif, "Exif.GPSInfo.GPSLatitude", position.latitude());
            exif["Exif.GPSInfo.GPSLongitudeRef"] = std::string(position.longitude() < 0 ? "W" : "E");
            addDms(exif, "Exif.GPSInfo.GPSLongitude", position.longitude());
        }
        if (!data.cameraMake().isEmpty())
            exif[kMake] = data.cameraMake().toStdString();
        if (!data.cameraModel().isEmpty())
            exif[kModel] = data.cameraModel().toStdString();
        if (!data.caption().isEmpty())
            exif[kDescription] = data.caption().toStdString();
        const int orientation = data.orientation();
        if (orientation != 1)
            exif[kOrientation] = uint16_t(orientation);
        const QSize size = data.preferredSize();
        d->storedSize = swapsAxes(orientation) ? size.transposed() : size;
        d->valid = true;
    } catch (const std::exception& e) {
        qDebug() << "OrvNativeMetaDataExiv2: cannot build EXIF" << e.what();
        d->reset();
    } catch (...) {
        qDebug() << "OrvNativeMetaDataExiv2: cannot build EXIF";
        d->reset();
    }
}

OrvNativeMetaDataExiv2::~OrvNativeMetaDataExiv2() = default;

bool OrvNativeMetaDataExiv2::isValid() const { return d->valid; }

int OrvNativeMetaDataExiv2::exifOrientation() const
{
    try {
        return orientationOf(d->exif, d->xmp);
    } catch (...) {
        return 1;
    }
}

OrvFotoMetaData OrvNativeMetaDataExiv2::metaData() const
{
    OrvFotoMetaData result;
    if (!d->valid)
        return result;
    result.setValid(true);
    result.setFlag(OrvFotoMetaDataFromFile, d->fromFile);
    try {
        const Exiv2::ExifData& exif = d->exif;
        const int orientation = orientationOf(exif, d->xmp);
        result.setOrientation(orientation);
        if (d->storedSize.isValid())
            result.setPreferredSize(swapsAxes(orientation) ? d->storedSize.transposed() : d->storedSize);

        QString dateText = exifString(exif, kDateTimeOriginal);
        if (dateText.isEmpty())
            dateText = exifString(exif, kDateTimeDigitized);
        if (!dateText.isEmpty()) {
            const QDateTime taken =
                parseExifDate(dateText, exifString(exif, kSubSecOriginal), exifString(exif, kOffsetOriginal));
            if (taken.isValid())
                result.setPictureTaken(taken);
        }

        long rating = 0;
        if (const Exiv2::Exifdatum* datum = findExif(exif, kRating))
            rating = long(OrvExiv2::toInt64(*datum));
        else if (const Exiv2::Xmpdatum* xdatum = findXmp(d->xmp, kXmpRating))
            parseNumber(xdatum->toString(), &rating);
        result.setAdobeRating(int(qBound(-1L, rating, 5L)));

        const OrvGeoPosition position = geoPositionOf(exif);
        if (position.isValid())
            result.setGeoPosition(position);

        result.setCameraMake(exifString(exif, kMake));
        result.setCameraModel(exifString(exif, kModel));

        QString caption = exifString(exif, kDescription);
        if (caption.isEmpty()) {
            if (const Exiv2::Xmpdatum* xdatum = findXmp(d->xmp, "Xmp.dc.description"))
                caption = toQString(xdatum->toString(0));
        }
        if (caption.isEmpty()) {
            const auto it = d->iptc.findKey(Exiv2::IptcKey("Iptc.Application2.Caption"));
            if (it != d->iptc.end())
                caption = toQString(it->toString());
        }
        result.setCaption(caption);

        if (!d->iccProfile.isEmpty()) {
            const QColorSpace space = QColorSpace::fromIccProfile(d->iccProfile);
            if (space.isValid())
                result.setColorInfo(OrvMetaData(space));
        }
    } catch (const std::exception& e) {
        qDebug() << "OrvNativeMetaDataExiv2: bad metadata in" << d->fileName << e.what();
    } catch (...) {
        qDebug() << "OrvNativeMetaDataExiv2: bad metadata in" << d->fileName;
    }
    return result;
}

void OrvNativeMetaDataExiv2::clearExifRotation()
{
    try {
        const Exiv2::ExifKey exifKey(kOrientation);
        for (auto it = d->exif.findKey(exifKey); it != d->exif.end(); it = d->exif.findKey(exifKey))
            d->exif.erase(it);
        const Exiv2::XmpKey xmpKey(kXmpOrientation);
        for (auto it = d->xmp.findKey(xmpKey); it != d->xmp.end(); it = d->xmp.findKey(xmpKey))
            d->xmp.erase(it);
    } catch (...) {
        qDebug() << "OrvNativeMetaDataExiv2: cannot clear the orientation of" << d->fileName;
    }
}

bool OrvNativeMetaDataExiv2::store(QBuffer* buffer) const
{
    if (!buffer || !d->valid)
        return false;
    const QByteArray source = buffer->data();
    if (source.isEmpty())
        return false;
    ensureExiv2();
    QByteArray result;
    try {
        auto image = OrvExiv2::openImage(source);
        if (!image.get())
            return false;
        // Reading first keeps what we do not own (ICC profile, comment) in place.
        image->readMetadata();
        image->setExifData(d->exif);
        image->setIptcData(d->iptc);
        image->setXmpData(d->xmp);
        image->writeMetadata();

        if (!orvExiv2WrittenBytes(*image, &result))
            return false;
    } catch (const std::exception& e) {
        qDebug() << "OrvNativeMetaDataExiv2: cannot store metadata of" << d->fileName << e.what();
        return false;
    } catch (...) {
        qDebug() << "OrvNativeMetaDataExiv2: cannot store metadata of" << d->fileName;
        return false;
    }

    // setData() refuses an open buffer and reopening a write-only one would
    // truncate it, so swap the bytes underneath and rewind.
    if (buffer->isOpen()) {
        buffer->buffer() = result;
        buffer->seek(0);
    } else {
        buffer->setData(result);
    }
    return true;
}

