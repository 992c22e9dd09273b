#pragma once

#import <ImageCaptureCore/ImageCaptureCore.h>

#include "OrvImageCaptureItem.h"

// ICCameraFile as OrvImageCapture::CameraFile: what the camera told of it when
// it was first adapted, one adapter for each file while anyone holds it. The
// thumbnail is the one the device delivered last, kept while the device keeps
// it among its recent ones; asked for on the main thread without one, it is
// read from Image Capture.
class OrvMacICCameraFile : public OrvImageCapture::ListedFile
{
public:
    // Null for nil. Main thread, where Image Capture hands out its items.
    static std::shared_ptr<const OrvMacICCameraFile> adapt(ICCameraFile* file,
                                                            const std::weak_ptr<OrvImageCapture::CameraDevice>& device);
    // The adapter of a file or folder (by its class); null for nil.
    static OrvImageCapture::CameraItemPtr adaptItem(ICCameraItem* item,
                                                    const std::weak_ptr<OrvImageCapture::CameraDevice>& device);
    ~OrvMacICCameraFile() override;

    ICCameraFile* file() const { return myFile; }
    QImage thumbnailIfAvailable() const override;
    // Image Capture's own thumbnail of the file (main thread); null while it has none.
    QImage readThumbnail() const;

private:
    OrvMacICCameraFile(ICCameraFile* file, OrvImageCapture::ItemFields fields, qint64 size);
    ICCameraFile* myFile;
};
