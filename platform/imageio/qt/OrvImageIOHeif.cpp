#include "OrvImageIOHeif.h"

#include "OrvImageIOMetadata.h"
#include "OrvMediaLoader.h"

#include <QColorSpace>
#include <QDebug>
#include <QtEndian>

#include <libheif/heif.h>

#include <cstring>
#include <memory>
#include <mutex>

using OrvImageIO::Properties;

namespace {

void ensureHeif()
{
    static std::once_flag once;
    std::call_once(once, [] { heif_init(nullptr); });
}

struct ContextDeleter
{
    void operator()(heif_context* context) const { heif_context_free(context); }
};
struct HandleDeleter
{
    void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
};
struct ImageDeleter
{
    void operator()(heif_image* image) const { heif_image_release(image); }
};
struct EncoderDeleter
{
    void operator()(heif_encoder* encoder) const { heif_encoder_release(encoder); }
};
using Context = std::unique_ptr<heif_context, ContextDeleter>;
using Handle = std::unique_ptr<heif_image_handle, HandleDeleter>;
using Image = std::unique_ptr<heif_image, ImageDeleter>;

bool ok(const heif_error& error, const char* what)
{
    if (error.code == heif_error_Ok)
        return true;
    qDebug() << "ImageIO: HEIF" << what << "failed:" << (error.message ? error.message : "");
    return false;
}

// The primary image of bytes, which must outlive the context.
bool open(const QByteArray& bytes, Context* context, Handle* handle)
{
    if (bytes.isEmpty())
        return false;
    ensureHeif();
    context->reset(heif_context_alloc());
    if (!*context)
        return false;
    if (!ok(heif_context_read_from_memory_without_copy(context->get(), bytes.constData(), size_t(bytes.size()), nullptr),
            "reading"))
        return false;
    heif_image_handle* primary = nullptr;
    if (!ok(heif_context_get_primary_image_handle(context->get(), &primary), "finding the image"))
        return false;
    handle->reset(primary);
    return true;
}

QByteArray metadataBlock(heif_image_handle* handle, const char* type, const char* contentType)
{
    heif_item_id ids[16];
    const int count = heif_image_handle_get_list_of_metadata_block_IDs(handle, type, ids, 16);
    for (int i = 0; i < count; ++i) {
        if (contentType && qstrcmp(heif_image_handle_get_metadata_content_type(handle, ids[i]), contentType) != 0)
            continue;
        const size_t size = heif_image_handle_get_metadata_size(handle, ids[i]);
        // Metadata of a photo is kilobytes; anything near this is no metadata.
        if (size == 0 || size > 64 * 1024 * 1024)
            continue;
        QByteArray block(qsizetype(size), Qt::Uninitialized);
        if (ok(heif_image_handle_get_metadata(handle, ids[i], block.data()), "reading metadata"))
            return block;
    }
    return {};
}

} // namespace

bool OrvImageIOHeif::sniff(const char* data, qsizetype size, QString* type)
{
    if (size < 12 || std::memcmp(data + 4, "ftyp", 4) != 0)
        return false;
    const QByteArray brand(data + 8, 4);
    static const QList<QByteArray> heic = {"heic", "heix", "heim", "heis", "hevc", "hevx", "hevm", "hevs"};
    static const QList<QByteArray> heif = {"mif1", "msf1"};
    if (heic.contains(brand)) {
        *type = QStringLiteral("public.heic");
        return true;
    }
    if (heif.contains(brand)) {
        *type = QStringLiteral("public.heif");
        return true;
    }
    return false;
}

bool OrvImageIOHeif::readProperties(const QByteArray& bytes, Properties* properties)
{
    Context context;
    Handle handle;
    if (!open(bytes, &context, &handle))
        return false;
    properties->pixelWidth = heif_image_handle_get_width(handle.get());
    properties->pixelHeight = heif_image_handle_get_height(handle.get());
    properties->hasAlpha = heif_image_handle_has_alpha_channel(handle.get()) != 0;
    // The EXIF block starts with the offset of its TIFF header.
    const QByteArray exif = metadataBlock(handle.get(), "Exif", nullptr);
    if (exif.size() > 4) {
        const quint32 offset = qFromBigEndian<quint32>(exif.constData());
        if (offset < quint32(exif.size() - 4))
            properties->exif = exif.mid(4 + qsizetype(offset));
    }
    properties->xmp = metadataBlock(handle.get(), "mime", "application/rdf+xml");
    const heif_color_profile_type profile = heif_image_handle_get_color_profile_type(handle.get());
    if (profile == heif_color_profile_type_prof || profile == heif_color_profile_type_rICC) {
        const size_t size = heif_image_handle_get_raw_color_profile_size(handle.get());
        if (size > 0 && size < 16 * 1024 * 1024) {
            properties->iccProfile.resize(qsizetype(size));
            if (!ok(heif_image_handle_get_raw_color_profile(handle.get(), properties->iccProfile.data()), "reading the profile"))
                properties->iccProfile.clear();
        }
    }
    OrvImageIOMetadata::describe(properties);
    // Decoding applies the transformations: the pixels come upright.
    properties->orientation = 1;
    return true;
}

QImage OrvImageIOHeif::decode(const QByteArray& bytes, int maxPixelSize)
{
    Context context;
    Handle handle;
    if (!open(bytes, &context, &handle))
        return {};
    const int width = heif_image_handle_get_width(handle.get());
    const int height = heif_image_handle_get_height(handle.get());
    if (width <= 0 || height <= 0)
        return {};
    if (qint64(width) * height > OrvMediaLoader::maxPixels) {
        qDebug() << "ImageIO: refusing" << width << "x" << height << "pixels of a HEIF image";
        return {};
    }
    const bool alpha = heif_image_handle_has_alpha_channel(handle.get()) != 0;
    heif_image* decoded = nullptr;
    if (!ok(heif_decode_image(handle.get(), &decoded, heif_colorspace_RGB,
                              alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, nullptr),
            "decoding"))
        return {};
    Image image(decoded);
    const int w = heif_image_get_width(image.get(), heif_channel_interleaved);
    const int h = heif_image_get_height(image.get(), heif_channel_interleaved);
    int stride = 0;
    uint8_t* plane = heif_image_get_plane(image.get(), heif_channel_interleaved, &stride);
    if (!plane || w <= 0 || h <= 0 || stride < w * (alpha ? 4 : 3))
        return {};
    // The decoded plane becomes the image's pixels, not copied: a 12-megapixel
    // photo is 36 MB that would be allocated and written twice.
    QImage result(plane, w, h, stride, alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888,
                  [](void* owned) { heif_image_release(static_cast<heif_image*>(owned)); }, image.get());
    if (result.isNull())
        return {};
    image.release();
    const heif_color_profile_type profile = heif_image_handle_get_color_profile_type(handle.get());
    if (profile == heif_color_profile_type_prof || profile == heif_color_profile_type_rICC) {
        QByteArray icc(qsizetype(heif_image_handle_get_raw_color_profile_size(handle.get())), Qt::Uninitialized);
        if (!icc.isEmpty() && heif_image_handle_get_raw_color_profile(handle.get(), icc.data()).code == heif_error_Ok)
            result.setColorSpace(QColorSpace::fromIccProfile(icc));
    }
    if (maxPixelSize > 0 && (w > maxPixelSize || h > maxPixelSize))
        result = result.scaled(OrvMediaLoader::fittedSize(result.size(), QSize(maxPixelSize, maxPixelSize)),
                               Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return result;
}

bool OrvImageIOHeif::encode(const QImage& source, const std::optional<Properties>& properties, QByteArray* out)
{
    if (source.isNull() || !out)
        return false;
    ensureHeif();
    const Context context(heif_context_alloc());
    heif_encoder* rawEncoder = nullptr;
    if (!context || !ok(heif_context_get_encoder_for_format(context.get(), heif_compression_HEVC, &rawEncoder), "finding an encoder"))
        return false;
    const std::unique_ptr<heif_encoder, EncoderDeleter> encoder(rawEncoder);
    heif_encoder_set_lossy_quality(encoder.get(), 90);

    const QImage rgb = source.convertToFormat(QImage::Format_RGB888);
    heif_image* rawImage = nullptr;
    if (!ok(heif_image_create(rgb.width(), rgb.height(), heif_colorspace_RGB, heif_chroma_interleaved_RGB, &rawImage),
            "creating the image"))
        return false;
    const Image image(rawImage);
    if (!ok(heif_image_add_plane(image.get(), heif_channel_interleaved, rgb.width(), rgb.height(), 8), "adding a plane"))
        return false;
    int stride = 0;
    uint8_t* plane = heif_image_get_plane(image.get(), heif_channel_interleaved, &stride);
    if (!plane)
        return false;
    for (int y = 0; y < rgb.height(); ++y)
        std::memcpy(plane + qsizetype(y) * stride, rgb.constScanLine(y), size_t(rgb.width()) * 3);
    const QByteArray icc = properties && !properties->iccProfile.isEmpty() ? properties->iccProfile : source.colorSpace().iccProfile();
    if (!icc.isEmpty())
        heif_image_set_raw_color_profile(image.get(), "prof", icc.constData(), size_t(icc.size()));

    heif_image_handle* rawHandle = nullptr;
    if (!ok(heif_context_encode_image(context.get(), image.get(), encoder.get(), nullptr, &rawHandle), "encoding"))
        return false;
    const Handle handle(rawHandle);
    if (properties) {
        // The pixels are written upright: the orientation goes.
        Properties upright = *properties;
        upright.orientation = 1;
        const QByteArray exif = OrvImageIOMetadata::adjustedExif(upright, rgb.size());
        if (!exif.isEmpty())
            ok(heif_context_add_exif_metadata(context.get(), handle.get(), exif.constData(), int(exif.size())), "adding EXIF");
        if (!properties->xmp.isEmpty())
            ok(heif_context_add_XMP_metadata(context.get(), handle.get(), properties->xmp.constData(), int(properties->xmp.size())),
               "adding XMP");
    }
    QByteArray written;
    heif_writer writer{};
    writer.writer_api_version = 1;
    writer.write = [](heif_context*, const void* data, size_t size, void* userdata) {
        static_cast<QByteArray*>(userdata)->append(static_cast<const char*>(data), qsizetype(size));
        return heif_error{heif_error_Ok, heif_suberror_Unspecified, "ok"};
    };
    if (!ok(heif_context_write(context.get(), &writer, &written), "writing") || written.isEmpty())
        return false;
    *out = written;
    return true;
}
