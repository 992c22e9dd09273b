#include "OrvMacOSBackend.h"

#include "OrvImageCapture.h"
#include "OrvImageIO.h"
#include "OrvMacICDeviceBrowser.h"
#include "OrvMacImageIO.h"
#include "OrvMacMediaLibraryBackend.h"
#include "OrvMacPhotoLibrary.h"
#include "OrvMediaLibrary.h"
#include "OrvPhotoKit.h"

#import <Foundation/Foundation.h>

namespace OrvMacOS {

void installPhotoKit()
{
    OrvPhotoKit::setSharedPhotoLibraryProvider([]() -> OrvPhotoKit::PhotoLibraryPtr {
        if (@available(macOS 10.15, *)) {
            // Photos.framework is linked weakly: on a system without it the class is not there.
            static const OrvPhotoKit::PhotoLibraryPtr shared =
                NSClassFromString(@"PHPhotoLibrary") ? std::make_shared<OrvMacPhotoLibrary>() : nullptr;
            return shared;
        }
        return nullptr;
    });
}

void installMediaLibrary()
{
    OrvMediaLibrary::setBackend(std::make_shared<OrvMacMediaLibraryBackend>());
}

void installImageCapture()
{
    OrvImageCapture::setDeviceBrowserProvider([] { return OrvImageCapture::DeviceBrowserPtr(OrvMacICDeviceBrowser::create()); });
}

void installImageIO()
{
    static const OrvImageIO::ImageIOPtr shared = std::make_shared<OrvMacImageIO>();
    OrvImageIO::setImageIOProvider([] { return shared; });
}

} // namespace OrvMacOS
