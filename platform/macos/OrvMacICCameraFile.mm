#include "OrvMacICCameraFile.h"

#include "OrvMacFoundation.h"
#include "OrvMacICCameraFolder.h"
#include "OrvMacImageConversion.h"
#include "OrvMacWrapperCache.h"

using namespace OrvImageCapture;


OrvMacICCameraFile::OrvMacICCameraFile(ICCameraFile* file, ItemFields fields, qint64 size)
    : ListedFile(std::move(fields), size), myFile(file)
{
}

std::shared_ptr<const OrvMacICCameraFile> OrvMacICCameraFile::adapt(ICCameraFile* file,
                                                                    const std::weak_ptr<CameraDevice>& device)
{
    if (!file)
        return nullptr;
    return OrvMacWrapperCache<const OrvMacICCameraFile>::shared().get((__bridge const void*)file, [file, &device] {
        ItemFields fields;
        fields.name = OrvMacFoundation::string(file.name);
        fields.uti = OrvMacFoundation::string(file.UTI);
        if (NSDate* created = file.creationDate)
            fields.creationDate = QDateTime::fromNSDate(created);
        fields.parent = OrvMacICCameraFolder::adapt(file.parentFolder, device);
        fields.device = device;
        return std::shared_ptr<const OrvMacICCameraFile>(
            new OrvMacICCameraFile(file, std::move(fields), qint64(file.fileSize)));
    });
}

CameraItemPtr OrvMacICCameraFile::adaptItem(ICCameraItem* item, const std::weak_ptr<CameraDevice>& device)
{
    if ([item isKindOfClass:[ICCameraFolder class]])
        return OrvMacICCameraFolder::adapt(static_cast<ICCameraFolder*>(item), device);
    if ([item isKindOfClass:[ICCameraFile class]])
        return adapt(static_cast<ICCameraFile*>(item), device);
    return nullptr;
}

OrvMacICCameraFile::~OrvMacICCameraFile()
{
    OrvMacWrapperCache<const OrvMacICCameraFile>::shared().forget((__bridge const void*)myFile);
}

QImage OrvMacICCameraFile::thumbnailIfAvailable() const
{
    const QImage kept = ListedFile::thumbnailIfAvailable();
    if (!kept.isNull() || ![NSThread isMainThread])
        return kept;
    return readThumbnail();
}

QImage OrvMacICCameraFile::readThumbnail() const
{
    if (@available(macOS 10.15, *))
        return OrvMacImageConversion::fromCGImage(myFile.thumbnail);
    ORV_MAC_OLDER_SYSTEMS(return OrvMacImageConversion::fromCGImage(myFile.thumbnailIfAvailable);)
}
