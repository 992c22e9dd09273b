#pragma once

#import <ImageCaptureCore/ImageCaptureCore.h>

#include "OrvImageCaptureItem.h"

// ICCameraFolder as OrvImageCapture::CameraFolder: what the camera told of it
// when it was first adapted, one adapter for each folder while anyone holds it.
class OrvMacICCameraFolder : public OrvImageCapture::ListedFolder
{
public:
    // Null for nil. Main thread, where Image Capture hands out its items.
    static std::shared_ptr<const OrvMacICCameraFolder> adapt(ICCameraFolder* folder,
                                                              const std::weak_ptr<OrvImageCapture::CameraDevice>& device);
    ~OrvMacICCameraFolder() override;

    ICCameraFolder* folder() const { return myFolder; }

private:
    OrvMacICCameraFolder(ICCameraFolder* folder, OrvImageCapture::ItemFields fields);
    ICCameraFolder* myFolder;
};
