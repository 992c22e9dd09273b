// libFuzzer target: image bytes read as the host reads a photo file: through
// the host's file opener into the JPEG decoder or Qt's readers, Exiv2 and the
// orientation scan. The same bytes decoded from memory and from the file must
// give the same pixels, and the orientation patches must stay inside the head
// and leave nothing to patch when applied. Anything else is a finding.

#include "OrvExifOrientation.h"
#include "OrvMediaLoader.h"
#include "OrvNativeMetaData.h"

#include <QBuffer>
#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void finding(const char* what)
{
    std::fprintf(stderr, "image_fuzzer: %s\n", what);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static int argc = 1;
    static char name[] = "image_fuzzer";
    static char* argv[] = {name, nullptr};
    static QGuiApplication* app = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        return new QGuiApplication(argc, argv);
    }();
    static QTemporaryDir* dir = new QTemporaryDir;
    (void)app;
    OrvMediaLoader* loader = OrvMediaLoader::instance();
    // Small images only: the fuzzer looks for faults, not for big allocations.
    QImageReader::setAllocationLimit(32);

    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const QString path = dir->filePath(QStringLiteral("input"));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
            return 0;
    }
    for (const QSize& bounds : {QSize(48, 48), QSize()}) {
        const QImage fromFile = loader->load(path, bounds);
        QBuffer buffer;
        buffer.setData(bytes);
        buffer.open(QIODevice::ReadOnly);
        const QImage fromMemory = loader->load(&buffer, bounds);
        if (fromFile != fromMemory)
            finding("file and memory decode differently");
    }
    loader->load(path, QSize(), nullptr, OrvMediaLoader::KeepStored);
    loader->imageSize(path);
    loader->isIntact(path);
    OrvMediaLoader::isComplete(path);
    OrvNativeMetaDataExiv2(QFileInfo(path)).metaData();

    const OrvExifOrientation::Scan scan = OrvExifOrientation::scan(bytes);
    QByteArray upright = bytes;
    for (const OrvExifOrientation::Patch& patch : scan.upright) {
        if (patch.offset < 0 || patch.offset + patch.bytes.size() > bytes.size())
            finding("patch outside the bytes");
        upright.replace(patch.offset, patch.bytes.size(), patch.bytes);
    }
    if (scan.complete && !OrvExifOrientation::scan(upright).upright.isEmpty())
        finding("patched bytes still need patches");
    return 0;
}
