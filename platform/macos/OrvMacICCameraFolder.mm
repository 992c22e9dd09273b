#include "OrvMacICCameraFolder.h"

#include "OrvMacFoundation.h"
#include "OrvMacWrapperCache.h"

using namespace OrvImageCapture;


OrvMacICCameraFolder::OrvMacICCameraFolder(ICCameraFolder* folder, ItemFields fields)
    : ListedFolder(std::move(fields)), myFolder(folder)
{
}

std::shared_ptr<const OrvMacICCameraFolder> OrvMacICCameraFolder::adapt(ICCameraFolder* folder,
                                                                        const std::weak_ptr<CameraDevice>& device)
{
    if (!folder)
        return nullptr;
    return OrvMacWrapperCache<const OrvMacICCameraFolder>::shared().get((__bridge const void*)folder, [folder, &device] {
        ItemFields fields;
        fields.name = OrvMacFoundation::string(folder.name);
        fields.uti = OrvMacFoundation::string(folder.UTI);
        if (NSDate* created = folder.creationDate)
            fields.creationDate = QDateTime::fromNSDate(created);
        fields.parent = adapt(folder.parentFolder, device);
        fields.device = device;
        return std::shared_ptr<const OrvMacICCameraFolder>(new OrvMacICCameraFolder(folder, std::move(fields)));
    });
}

OrvMacICCameraFolder::~OrvMacICCameraFolder()
{
    OrvMacWrapperCache<const OrvMacICCameraFolder>::shared().forget((__bridge const void*)myFolder);
}
