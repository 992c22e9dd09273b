#include "OrvFotoRetrieverDataIPhoto.h"

#include "OrvExifOrientation.h"
#include "OrvIPhotoDatabase.h"
#include "OrvNativeMetaData.h"
#include "OrvUserFile.h"

#include <QBuffer>
#include <QDebug>

#include <memory>

namespace {

// JPEG and TIFF keep their orientation within the first segments; 4 MiB
// holds them even with large previews and colour profiles.
constexpr qint64 headBytes = 4 * 1024 * 1024;
// Other formats get their orientation removed by Exiv2, which rewrites the
// whole file in memory: fine for a photo, not for a file of gigabytes.
constexpr qint64 rewriteBytes = 256 * 1024 * 1024;

} // namespace

OrvFotoRetrieverDataIPhoto::OrvFotoRetrieverDataIPhoto(const OrvExternalId& id, const OrvMediaDescriptor& descriptor)
    : OrvFotoRetrieverDataFileInfo(descriptor), myId(id)
{
}

OrvFotoRetrieverDataIPhoto::~OrvFotoRetrieverDataIPhoto() = default;

QByteArray OrvFotoRetrieverDataIPhoto::file(const OrvMediaFormat& format)
{
    if (!isStoredFormat(format))
        return withoutRotation(OrvFotoRetrieverDataFileInfo::file(format));
    // As stored: the same bytes that writeFile streams, if they fit in memory.
    if (!myDescriptor.isValid()
        || OrvUserFile::check(myDescriptor.fileInfo().absoluteFilePath(), OrvUserFile::Image) != OrvUserFile::Ok)
        return {};
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return writeFile(format, &buffer) ? bytes : QByteArray();
}

bool OrvFotoRetrieverDataIPhoto::writeFile(const OrvMediaFormat& format, QIODevice* target)
{
    if (!isStoredFormat(format) || !myDescriptor.isValid())
        return OrvFotoRetrieverData::writeFile(format, target);
    OrvUserFile in(myDescriptor.fileInfo().absoluteFilePath(), OrvUserFile::Media);
    if (!in.open())
        return false;
    QByteArray head(qsizetype(qMin(in.size(), headBytes)), Qt::Uninitialized);
    if (in.readAt(0, head.data(), head.size()) != head.size())
        return false;
    // Where JPEG and TIFF keep the orientation is known: it is set to "as
    // stored" while the bytes are copied, the rest stays byte for byte.
    const OrvExifOrientation::Scan scan = OrvExifOrientation::scan(head);
    if (scan.complete)
        return copyThisFile(target, scan.upright);
    if (in.size() <= rewriteBytes) {
        const QByteArray bytes = withoutRotation(OrvFotoRetrieverDataFileInfo::file(format));
        return !bytes.isEmpty() && target->write(bytes) == bytes.size();
    }
    qDebug() << "OrvFotoRetrieverDataIPhoto: copying" << in.path() << "with its orientation";
    return copyThisFile(target);
}

QByteArray OrvFotoRetrieverDataIPhoto::withoutRotation(QByteArray bytes) const
{
    if (bytes.isEmpty())
        return bytes;
    const std::unique_ptr<OrvNativeMetaDataExiv2> metaData(createNativeMetaData());
    if (metaData->exifOrientation() == 1)
        return bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadWrite);
    metaData->clearExifRotation();
    metaData->store(&buffer);
    return bytes;
}

OrvFoto OrvFotoRetrieverDataIPhoto::foto() const
{
    // The scheme is compared here, unlike the interface's prefix test of the whole URL.
    const bool aperture = myId.toUrl().scheme() == QLatin1String("aperture");
    const OrvIPhotoDatabase* database = aperture ? OrvIPhotoDatabase::apertureInstance() : OrvIPhotoDatabase::instance();
    return database->createFoto(myId);
}
