#include "OrvFotoRetriever.h"

#include "OrvColorProfileConverter.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoRegistries.h"
#include "OrvMediaLoader.h"
#include "OrvNativeMetaData.h"

#include <QBuffer>
#include <QDebug>
#include <QFile>
#include <QImageReader>

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

QByteArray OrvFotoRetrieverData::convertThisFileToFormat(const OrvMediaFormat& format)
{
    if (!myDescriptor.isValid())
        return {};
    QFile in(myDescriptor.fileInfo().absoluteFilePath());
    if (!in.open(QIODevice::ReadOnly)) {
        qDebug() << "cannot read" << in.fileName();
        return {};
    }
    const QByteArray original = in.readAll();
    const OrvMediaFormat stored = myDescriptor.format();
    if (!format.isValid() || format == stored)
        return original;
    // Recode from the stored pixels (not rotated: the tag travels with the metadata).
    QBuffer source;
    source.setData(original);
    source.open(QIODevice::ReadOnly);
    QImageReader reader(&source);
    reader.setAutoTransform(false);
    const QImage image = reader.read();
    if (image.isNull())
        return {};
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadWrite);
    if (!mediaLoader()->encode(image, &buffer, format))
        return {};
    OrvNativeMetaDataExiv2 metaData(myDescriptor.fileInfo(), original);
    if (metaData.isValid())
        metaData.store(&buffer);
    return buffer.data();
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
