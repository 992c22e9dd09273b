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

    // Decodes for display: EXIF orientation applied, scaled to fit into
    // boundingSize keeping the aspect ratio (never enlarged). An invalid or empty
    // bounding size decodes at full size. Decoders that can decode at a reduced
    // scale (JPEG) do so instead of decoding the full image. Null on failure.
    QImage load(const QString& path, const QSize& boundingSize, OrvMetaData* colorInfo = nullptr) const;
    QImage load(QIODevice* device, const QSize& boundingSize, OrvMetaData* colorInfo = nullptr) const;
    OrvDrawable loadDrawable(const OrvMediaDescriptor& descriptor, const QSize& boundingSize) const;

    // Pixel size as displayed (orientation applied) without decoding; invalid on failure.
    QSize imageSize(const QString& path) const;

    // Encodes into device in format; quality -1 means the format's default.
    bool encode(const QImage& image, QIODevice* device, const OrvMediaFormat& format, int quality = -1) const;
    bool encode(const OrvDrawable& drawable, QIODevice* device, const OrvMediaFormat& format, int quality = -1) const;

    // The size that fits source into boundingSize keeping the aspect ratio, never larger than source.
    static QSize fittedSize(const QSize& source, const QSize& boundingSize);

private:
    friend class OrvSingleton<OrvMediaLoader>;
    OrvMediaLoader() = default;
};
