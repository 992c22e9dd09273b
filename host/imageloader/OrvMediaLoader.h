#pragma once

#include "OrvSingleton.h"
#include "OrvDrawable.h"
#include "OrvFotoMetaData.h"
#include "OrvMediaDescriptor.h"
#include "OrvMediaFormat.h"

#include <QIODevice>
#include <QImage>
#include <QSize>

class OrvMediaLoaderAbstract
{
public:
    virtual ~OrvMediaLoaderAbstract() = default;
    virtual bool isSupportedFormat(const OrvMediaFormat& format) const = 0;
};

// The host's decoder and encoder. Thread-safe: every call is independent.
class OrvMediaLoader : public OrvMediaLoaderAbstract, public OrvSingleton<OrvMediaLoader>
{
public:
    bool isSupportedFormat(const OrvMediaFormat& format) const override;

    // Images above this many pixels are refused before anything is decoded:
    // four times the largest camera sensors (100 to 150 megapixels), and what
    // a 20000x20000 panorama has. Up to it every image decodes at full size.
    static constexpr qint64 maxPixels = 400'000'000;

    // ShowOriented applies the EXIF orientation, KeepStored gives the pixels as stored.
    enum Orientation { ShowOriented, KeepStored };

    // Decodes, scaled to fit into boundingSize keeping the aspect ratio (never
    // enlarged); an invalid or empty bounding size decodes at full size.
    // Decoders that can decode at a reduced scale (JPEG) do so instead of
    // decoding the full image. Null on failure, and for images that end early,
    // carry broken data or exceed maxPixels: sized or not, every path refuses
    // the same images.
    QImage load(const QString& path, const QSize& boundingSize, OrvMetaData* colorInfo = nullptr,
                Orientation orientation = ShowOriented) const;
    QImage load(QIODevice* device, const QSize& boundingSize, OrvMetaData* colorInfo = nullptr,
                Orientation orientation = ShowOriented) const;
    OrvDrawable loadDrawable(const OrvMediaDescriptor& descriptor, const QSize& boundingSize) const;

    // Whether the image in a file is whole, for copies of files as they are: a
    // JPEG decodes (at its smallest scale) without running out of data or
    // hitting broken data, a PNG ends with its end chunk. Other formats, and
    // images above maxPixels, are not judged and count as whole.
    bool isIntact(const QString& path) const;
    // Cheaper: the file is not cut off (a JPEG reaches its end marker, a PNG its
    // end chunk), found by reading alone. For bytes that came whole from a device.
    static bool isComplete(const QString& path);

    // Pixel size as displayed (orientation applied) without decoding; invalid on failure.
    QSize imageSize(const QString& path) const;

    // Encodes into device in format; quality -1 means the format's default.
    bool encode(const QImage& image, QIODevice* device, const OrvMediaFormat& format, int quality = -1) const;
    bool encode(const OrvDrawable& drawable, QIODevice* device, const OrvMediaFormat& format, int quality = -1) const;

    // The size that fits source into boundingSize keeping the aspect ratio, never larger than source.
    static QSize fittedSize(const QSize& source, const QSize& boundingSize);

private:
    friend class OrvSingleton<OrvMediaLoader>;
    OrvMediaLoader();
};
