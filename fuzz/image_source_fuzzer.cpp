// libFuzzer target: image bytes as Photos delivers them, through the image I/O
// the plug-in uses (type from the bytes, properties, a thumbnail, the full
// image, recoding to JPEG with the properties). Nothing decodes above the
// pixel bound; a thumbnail never exceeds its bound; a recoding that succeeds
// gives a JPEG that decodes again. Anything else is a finding.

#include "OrvImageIO.h"
#include "OrvImageIOQt.h"
#include "OrvMediaLoader.h"

#include <QGuiApplication>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void finding(const char* what)
{
    std::fprintf(stderr, "image_source_fuzzer: %s\n", what);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static int argc = 1;
    static char name[] = "image_source_fuzzer";
    static char* argv[] = {name, nullptr};
    static QGuiApplication* app = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        OrvImageIOQt::install();
        return new QGuiApplication(argc, argv);
    }();
    Q_UNUSED(app);
    const OrvImageIO::ImageIOPtr imageIO = OrvImageIO::sharedImageIO();

    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    // The hint stands for the type Photos named; the bytes decide.
    OrvImageIO::SourceOptions options;
    options.typeIdentifierHint = QStringLiteral("public.heic");
    options.createThumbnailWithTransform = true;
    options.thumbnailMaxPixelSize = 64;
    const OrvImageIO::ImageSourcePtr source = imageIO->createImageSourceWithData(bytes, options);
    if (!source)
        return 0;
    const auto properties = source->copyPropertiesAtIndex(0, options);
    const QImage thumbnail = source->createThumbnailAtIndex(0, options);
    if (thumbnail.width() > 64 || thumbnail.height() > 64)
        finding("thumbnail larger than its bound");
    const QImage full = source->createImageAtIndex(0, options);
    if (qint64(full.width()) * full.height() > OrvMediaLoader::maxPixels)
        finding("decoded above the pixel bound");
    QByteArray jpeg;
    const auto destination = imageIO->createImageDestinationWithData(&jpeg, QStringLiteral("public.jpeg"), 1);
    destination->addImageFromSource(source, 0, properties);
    if (destination->finalize()) {
        const auto again = imageIO->createImageSourceWithData(jpeg, {});
        if (!again || again->type() != QLatin1String("public.jpeg") || again->createImageAtIndex(0, {}).isNull())
            finding("a recoded JPEG that does not decode");
    }
    return 0;
}
