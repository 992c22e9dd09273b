#include "OrvMacICDevice.h"

#include "OrvImageCaptureHub.h"
#include "OrvMacFoundation.h"
#include "OrvMacICCameraFile.h"
#include "OrvMacICDeviceForwarder.h"
#include "OrvMacICDownload.h"
#include "OrvMacImageConversion.h"
#include "OrvMacWrapperCache.h"

using namespace OrvImageCapture;


OrvMacICDevice::OrvMacICDevice(ICDevice* device)
    : myDevice(device),
      // The interface's type bits are Image Capture's type and location masks.
      myType(quint32(device.type)),
      myName(OrvMacFoundation::string(device.name)),
      myUUID(OrvMacFoundation::string(device.UUIDString)),
      myIcon(OrvMacImageConversion::fromCGImage(device.icon))
{
}

std::shared_ptr<OrvMacICDevice> OrvMacICDevice::adapt(ICDevice* device)
{
    if (!device)
        return nullptr;
    return OrvMacWrapperCache<OrvMacICDevice>::shared().get((__bridge const void*)device,
                          [device] { return std::shared_ptr<OrvMacICDevice>(new OrvMacICDevice(device)); });
}

OrvMacICDevice::~OrvMacICDevice()
{
    OrvMacWrapperCache<OrvMacICDevice>::shared().forget((__bridge const void*)myDevice);
    // The device holds its delegate unretained and calls it on the main thread: the delegate leaves it there.
    ICDevice* device = myDevice;
    id forwarder = myForwarder;
    if (forwarder) {
        OrvMacFoundation::onMainThread(^{
            if (device.delegate == forwarder)
                device.delegate = nil;
        });
    }
}

void OrvMacICDevice::setDelegate(const std::weak_ptr<CameraDeviceDelegate>& delegate)
{
    OrvMacICDeviceForwarder* forwarder = [[OrvMacICDeviceForwarder alloc] initWithDevice:weak_from_this()];
    id previous = nil;
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myDelegate = delegate;
        previous = myForwarder;
        myForwarder = forwarder;
    }
    ICDevice* device = myDevice;
    // The previous forwarder lives until the device no longer knows it.
    OrvMacFoundation::onMainThread(^{
        device.delegate = forwarder;
        (void)previous;
    });
}

std::shared_ptr<CameraDeviceDelegate> OrvMacICDevice::delegate() const
{
    std::lock_guard<std::mutex> lock(myMutex);
    return myDelegate.lock();
}

void OrvMacICDevice::requestOpenSession()
{
    ICDevice* device = myDevice;
    OrvMacFoundation::onMainThread(^{
        [device requestOpenSession];
    });
}

void OrvMacICDevice::requestCloseSession()
{
    ICDevice* device = myDevice;
    OrvMacFoundation::onMainThread(^{
        [device requestCloseSession];
    });
}

QString OrvMacICDevice::autolaunchApplicationPath() const
{
    return OrvMacFoundation::string(myDevice.autolaunchApplicationPath);
}

void OrvMacICDevice::setAutolaunchApplicationPath(const QString& path)
{
    myDevice.autolaunchApplicationPath = path.isNull() ? nil : path.toNSString();
}

void OrvMacICDevice::requestDownloadFile(const CameraFilePtr& file, const DownloadOptions& options,
                                         const std::weak_ptr<DownloadDelegate>& delegate, void* contextInfo)
{
    const DownloadRequest request{file, options, delegate, contextInfo};
    const auto cameraFile = std::dynamic_pointer_cast<const OrvMacICCameraFile>(file);
    ICCameraDevice* camera =
        [myDevice isKindOfClass:[ICCameraDevice class]] ? static_cast<ICCameraDevice*>(myDevice) : nil;
    if (!cameraFile || !camera) {
        reportDownload(request, Error{ErrorFileNotFound, QStringLiteral("no file of this camera")});
        return;
    }
    NSMutableDictionary<ICDownloadOption, id>* downloadOptions = [NSMutableDictionary dictionary];
    [downloadOptions setObject:[NSURL fileURLWithPath:options.downloadsDirectoryURL.toLocalFile().toNSString()
                                          isDirectory:YES]
                        forKey:ICDownloadsDirectoryURL];
    if (!options.saveAsFilename.isEmpty())
        [downloadOptions setObject:options.saveAsFilename.toNSString() forKey:ICSaveAsFilename];
    [downloadOptions setObject:[NSNumber numberWithBool:options.overwrite] forKey:ICOverwrite];
    OrvMacICDownload* download = [[OrvMacICDownload alloc] initWithRequest:request];
    ICCameraFile* icFile = cameraFile->file();
    OrvMacFoundation::onMainThread(^{
        // The download keeps itself until Image Capture reports it: it is the context handed over.
        [camera requestDownloadFile:icFile
                            options:downloadOptions
                   downloadDelegate:download
                didDownloadSelector:@selector(didDownloadFile:error:options:contextInfo:)
                        contextInfo:(__bridge_retained void*)download];
    });
}

void OrvMacICDevice::keepThumbnail(const std::shared_ptr<const OrvMacICCameraFile>& file, const QImage& thumbnail)
{
    if (!file || thumbnail.isNull())
        return;
    file->setThumbnail(thumbnail);
    myThumbnailed.push_back(file);
    if (myThumbnailed.size() > keptThumbnails) {
        myThumbnailed.front()->setThumbnail(QImage());
        myThumbnailed.pop_front();
    }
}
