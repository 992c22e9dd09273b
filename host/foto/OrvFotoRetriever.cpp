#include "OrvFotoRetriever.h"

#include "OrvColorProfileConverter.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRegistries.h"
#include "OrvMediaLoader.h"
#include "OrvNativeMetaData.h"
#include "OrvTargetFolder.h"
#include "OrvUserFile.h"

#include <QBuffer>
#include <QDebug>

OrvFotoRetrieverInterface::~OrvFotoRetrieverInterface() = default;

bool OrvFotoRetrieverInterfaceReadOnly::storeDrawable(const OrvDrawable&) { return false; }

bool OrvFotoRetrieverInterfaceReadOnly::storeMetaData(const OrvFotoMetaData&) { return false; }

// ---- data

OrvFotoRetrieverData::~OrvFotoRetrieverData() = default;

QByteArray OrvFotoRetrieverData::file(const OrvMediaFormat& format) { return recodedFile(format); }

QByteArray OrvFotoRetrieverData::recodedFile(const OrvMediaFormat& format)
{
    const OrvFetchDrawableResult result = drawable(FOTO_CACHE_SIZE_FULL);
    if (!result.isValid())
        return {};
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const OrvMediaFormat target = format.isValid() ? format : OrvMediaFormat(OrvMediaFormat::Jpeg);
    if (!mediaLoader()->encode(result.drawable(), &buffer, target))
        return {};
    return bytes;
}

OrvMediaLoader* OrvFotoRetrieverData::mediaLoader() const { return OrvSingleton<OrvMediaLoader>::instance(); }

OrvNativeMetaDataExiv2* OrvFotoRetrieverData::createNativeMetaData() const
{
    if (myDescriptor.isValid())
        return new OrvNativeMetaDataExiv2(myDescriptor.fileInfo());
    OrvFotoMetaData cached = OrvSingleton<OrvFotoCacheManager>::instance()->metaData(foto(), OrvPriorityNormal, false);
    return new OrvNativeMetaDataExiv2(cached);
}

bool OrvFotoRetrieverData::isStoredFormat(const OrvMediaFormat& format) const
{
    return !format.isValid() || format == myDescriptor.format();
}

QByteArray OrvFotoRetrieverData::convertThisFileToFormat(const OrvMediaFormat& format)
{
    if (!myDescriptor.isValid())
        return {};
    const QString path = myDescriptor.fileInfo().absoluteFilePath();
    if (isStoredFormat(format)) {
        if (!mediaLoader()->isIntact(path))
            return {};
        return OrvUserFile::readAll(path, OrvUserFile::Image);
    }
    // Recode from the stored pixels (not rotated: the tag travels with the
    // metadata), decoded by the same loader, with the same checks, as any bitmap.
    const QImage image = mediaLoader()->load(path, QSize(), nullptr, OrvMediaLoader::KeepStored);
    if (image.isNull())
        return {};
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadWrite);
    if (!mediaLoader()->encode(image, &buffer, format))
        return {};
    OrvNativeMetaDataExiv2 metaData(myDescriptor.fileInfo());
    if (metaData.isValid())
        metaData.store(&buffer);
    return buffer.data();
}

bool OrvFotoRetrieverData::writeFile(const OrvMediaFormat& format, QIODevice* target)
{
    const QByteArray bytes = file(format);
    return target && !bytes.isEmpty() && target->write(bytes) == bytes.size();
}

bool OrvFotoRetrieverData::saveFile(const OrvMediaFormat& format, OrvTargetFolder* folder, const QString& name)
{
    return folder && folder->create(name, [&](QIODevice* target) { return writeFile(format, target); });
}

bool OrvFotoRetrieverData::copyThisFile(QIODevice* target, const QList<OrvExifOrientation::Patch>& patches) const
{
    if (!myDescriptor.isValid() || !target)
        return false;
    const QString path = myDescriptor.fileInfo().absoluteFilePath();
    return mediaLoader()->isIntact(path) && streamFile(path, target, patches);
}

bool OrvFotoRetrieverData::streamFile(const QString& path, QIODevice* target, const QList<OrvExifOrientation::Patch>& patches)
{
    OrvUserFile in(path, OrvUserFile::Media);
    if (!target || !in.open())
        return false;
    QByteArray chunk(1024 * 1024, Qt::Uninitialized);
    qint64 offset = 0;
    for (;;) {
        const qint64 got = in.readAt(offset, chunk.data(), chunk.size());
        if (got < 0)
            return false;
        if (got == 0)
            break;
        for (const OrvExifOrientation::Patch& patch : patches) {
            for (qsizetype i = 0; i < patch.bytes.size(); ++i) {
                const qint64 at = patch.offset + i - offset;
                if (at >= 0 && at < got)
                    chunk[qsizetype(at)] = patch.bytes.at(i);
            }
        }
        if (target->write(chunk.constData(), got) != got)
            return false;
        offset += got;
    }
    return offset > 0;
}

OrvFotoRetrieverDataFileInfo::OrvFotoRetrieverDataFileInfo(const OrvMediaDescriptor& descriptor)
    : OrvFotoRetrieverData(descriptor)
{
}

OrvFetchDrawableResult OrvFotoRetrieverDataFileInfo::drawable(const QSize& size)
{
    if (!myDescriptor.isValid())
        return {};
    OrvMetaData colorInfo;
    QImage image = mediaLoader()->load(myDescriptor.fileInfo().absoluteFilePath(), size, &colorInfo);
    if (image.isNull())
        return {};
    image = OrvSingleton<OrvColorProfileConverter>::instance()->convert(image, colorInfo);
    return OrvFetchDrawableResult(OrvDrawable(std::move(image)));
}

QByteArray OrvFotoRetrieverDataFileInfo::file(const OrvMediaFormat& format) { return convertThisFileToFormat(format); }

bool OrvFotoRetrieverDataFileInfo::writeFile(const OrvMediaFormat& format, QIODevice* target)
{
    return isStoredFormat(format) ? copyThisFile(target) : OrvFotoRetrieverData::writeFile(format, target);
}

OrvFoto OrvFotoRetrieverDataFileInfo::foto() const { return OrvFoto(myDescriptor); }

// ---- metadata

OrvFotoRetrieverMetaData::~OrvFotoRetrieverMetaData() = default;

OrvFotoMetaData OrvFotoRetrieverMetaData::metaData()
{
    if (myDescriptor.format().isVideo())
        return buildVideoMetaData(myDescriptor);
    return buildFotoMetaData(myDescriptor);
}

OrvFotoMetaData OrvFotoRetrieverMetaData::buildFotoMetaData(const OrvMediaDescriptor& descriptor) const
{
    if (!descriptor.isValid())
        return {};
    OrvFotoMetaData data = OrvSingleton<OrvMetaDataCache>::instance()->metaData(descriptor.fileInfo());
    if (!data.isValid())
        return data;
    if (!data.preferredSize().isValid())
        data.setPreferredSize(OrvSingleton<OrvMediaLoader>::instance()->imageSize(descriptor.fileInfo().absoluteFilePath()));
    data.setFlag(OrvFotoMetaDataFromFile, true);
    return data;
}

OrvFotoMetaData OrvFotoRetrieverMetaData::buildVideoMetaData(const OrvMediaDescriptor& descriptor) const
{
    const QFileInfo file(descriptor.fileInfo().absoluteFilePath());
    if (!file.isFile())
        return {};
    // No video decoder here: the file's time is the best date there is.
    OrvFotoMetaData data;
    data.setPictureTaken(file.lastModified());
    data.setFlag(OrvFotoMetaDataFromFile, true);
    return data;
}

OrvFotoMetaData OrvFotoRetrieverMetaData::buildWicMetaData(const OrvMediaDescriptor& descriptor) const
{
    return buildFotoMetaData(descriptor);
}

OrvFotoRetrieverMetaDataFileInfo::OrvFotoRetrieverMetaDataFileInfo(const OrvMediaDescriptor& descriptor)
    : OrvFotoRetrieverMetaData(descriptor)
{
}

OrvFotoMetaData OrvFotoRetrieverMetaDataFileInfo::metaData() { return OrvFotoRetrieverMetaData::metaData(); }
