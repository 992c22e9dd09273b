#include "OrvImageIOMetadata.h"

#include "OrvExiv2Compat.h"
#include "OrvExiv2UserFileIo.h"
#include "OrvNativeMetaData.h"

#include <QDebug>

#include <mutex>

using OrvImageIO::Properties;

namespace {

const char* const kOrientation = "Exif.Image.Orientation";
const char* const kXmpOrientation = "Xmp.tiff.Orientation";

// Exiv2's log level and XMP toolkit are process-wide and set up by the host's
// metadata class once; making one record runs that set-up.
void ensureExiv2()
{
    static std::once_flag once;
    std::call_once(once, [] { OrvNativeMetaDataExiv2 setUp{OrvFotoMetaData()}; });
}

// By value: Exiv2 0.28 may drop entries that do not fit while it encodes.
QByteArray exifBlock(Exiv2::ExifData exif)
{
    if (exif.empty())
        return {};
    Exiv2::Blob blob;
    Exiv2::ExifParser::encode(blob, Exiv2::littleEndian, exif);
    return QByteArray(reinterpret_cast<const char*>(blob.data()), qsizetype(blob.size()));
}

bool decodeExif(const QByteArray& block, Exiv2::ExifData* exif)
{
    if (block.isEmpty())
        return false;
    Exiv2::ExifParser::decode(*exif, reinterpret_cast<const Exiv2::byte*>(block.constData()), uint32_t(block.size()));
    return true;
}

template <typename Data, typename Key>
void eraseAll(Data& data, const Key& key)
{
    for (auto it = data.findKey(key); it != data.end(); it = data.findKey(key))
        data.erase(it);
}

// The orientation and pixel size of what the image now is.
void adjust(Exiv2::ExifData& exif, const Properties& properties, const QSize& pixelSize)
{
    eraseAll(exif, Exiv2::ExifKey(kOrientation));
    if (properties.orientation > 1 && properties.orientation <= 8)
        exif[kOrientation] = uint16_t(properties.orientation);
    if (pixelSize.isValid()) {
        if (exif.findKey(Exiv2::ExifKey("Exif.Photo.PixelXDimension")) != exif.end())
            exif["Exif.Photo.PixelXDimension"] = uint32_t(pixelSize.width());
        if (exif.findKey(Exiv2::ExifKey("Exif.Photo.PixelYDimension")) != exif.end())
            exif["Exif.Photo.PixelYDimension"] = uint32_t(pixelSize.height());
    }
    // A thumbnail of the old pixels would show the old picture.
    Exiv2::ExifThumb(exif).erase();
}

QString shortText(const std::string& text)
{
    // Values past this length are binary blobs (maker notes, previews), of no use as text.
    constexpr size_t longest = 512;
    if (text.size() > longest)
        return {};
    return QString::fromUtf8(text.c_str()).trimmed();
}

} // namespace

bool OrvImageIOMetadata::read(const QByteArray& bytes, Properties* properties)
{
    if (bytes.isEmpty() || !properties)
        return false;
    ensureExiv2();
    try {
        auto image = OrvExiv2::openImage(bytes);
        if (!image.get())
            return false;
        image->readMetadata();
        properties->pixelWidth = image->pixelWidth();
        properties->pixelHeight = image->pixelHeight();
        properties->exif = exifBlock(image->exifData());
        if (!image->iptcData().empty()) {
            const Exiv2::DataBuf iptc = Exiv2::IptcParser::encode(image->iptcData());
            properties->iptc = OrvExiv2::toByteArray(iptc);
        }
        if (!image->xmpPacket().empty())
            properties->xmp = QByteArray::fromStdString(image->xmpPacket());
        properties->iccProfile = OrvExiv2::iccProfile(*image);
    } catch (const std::exception& e) {
        qDebug() << "ImageIO: cannot read the properties:" << e.what();
        return false;
    } catch (...) {
        qDebug() << "ImageIO: cannot read the properties";
        return false;
    }
    describe(properties);
    return true;
}

void OrvImageIOMetadata::describe(Properties* properties)
{
    ensureExiv2();
    properties->values.clear();
    try {
        Exiv2::ExifData exif;
        if (decodeExif(properties->exif, &exif)) {
            for (const Exiv2::Exifdatum& datum : exif) {
                const QString text = shortText(datum.toString());
                if (!text.isEmpty())
                    properties->values.insert(QString::fromStdString(datum.key()), text);
            }
        }
        if (!properties->iptc.isEmpty()) {
            Exiv2::IptcData iptc;
            Exiv2::IptcParser::decode(iptc, reinterpret_cast<const Exiv2::byte*>(properties->iptc.constData()),
                                      uint32_t(properties->iptc.size()));
            for (const Exiv2::Iptcdatum& datum : iptc) {
                const QString text = shortText(datum.toString());
                if (!text.isEmpty())
                    properties->values.insert(QString::fromStdString(datum.key()), text);
            }
        }
        if (!properties->xmp.isEmpty()) {
            Exiv2::XmpData xmp;
            if (Exiv2::XmpParser::decode(xmp, properties->xmp.toStdString()) == 0) {
                for (const Exiv2::Xmpdatum& datum : xmp) {
                    const QString text = shortText(datum.toString());
                    if (!text.isEmpty())
                        properties->values.insert(QString::fromStdString(datum.key()), text);
                }
            }
        }
    } catch (...) {
        qDebug() << "ImageIO: unreadable metadata values";
    }
    bool ok = false;
    int orientation = properties->values.value(QString::fromLatin1(kOrientation)).toInt(&ok);
    if (!ok)
        orientation = properties->values.value(QString::fromLatin1(kXmpOrientation)).toInt(&ok);
    properties->orientation = ok && orientation >= 1 && orientation <= 8 ? orientation : 1;
}

bool OrvImageIOMetadata::write(QByteArray* encoded, const Properties& properties, const QSize& pixelSize)
{
    if (!encoded || encoded->isEmpty())
        return false;
    if (properties.exif.isEmpty() && properties.iptc.isEmpty() && properties.xmp.isEmpty())
        return true;
    ensureExiv2();
    try {
        auto image = OrvExiv2::openImage(*encoded);
        if (!image.get())
            return false;
        image->readMetadata();
        Exiv2::ExifData exif;
        decodeExif(properties.exif, &exif);
        adjust(exif, properties, pixelSize);
        image->setExifData(exif);
        Exiv2::IptcData iptc;
        if (!properties.iptc.isEmpty())
            Exiv2::IptcParser::decode(iptc, reinterpret_cast<const Exiv2::byte*>(properties.iptc.constData()),
                                      uint32_t(properties.iptc.size()));
        image->setIptcData(iptc);
        Exiv2::XmpData xmp;
        if (!properties.xmp.isEmpty())
            Exiv2::XmpParser::decode(xmp, properties.xmp.toStdString());
        eraseAll(xmp, Exiv2::XmpKey(kXmpOrientation));
        if (properties.orientation > 1 && properties.orientation <= 8 && !xmp.empty())
            xmp[kXmpOrientation] = std::to_string(properties.orientation);
        image->setXmpData(xmp);
        image->writeMetadata();

        if (!orvExiv2WrittenBytes(*image, encoded))
            return false;
    } catch (const std::exception& e) {
        qDebug() << "ImageIO: cannot write the properties:" << e.what();
        return false;
    } catch (...) {
        qDebug() << "ImageIO: cannot write the properties";
        return false;
    }
    return true;
}

QByteArray OrvImageIOMetadata::adjustedExif(const Properties& properties, const QSize& pixelSize)
{
    ensureExiv2();
    try {
        Exiv2::ExifData exif;
        if (!decodeExif(properties.exif, &exif))
            return {};
        adjust(exif, properties, pixelSize);
        return exifBlock(std::move(exif));
    } catch (...) {
        qDebug() << "ImageIO: unreadable EXIF";
        return {};
    }
}
