#pragma once

// The operating system's own frameworks as the backends of the platform
// interfaces on macOS: PhotoKit, MediaLibrary (with the workspace's running
// applications and security-scoped access), ImageCaptureCore and ImageIO. The
// program that runs the plug-in installs the ones it wants; the plug-in never
// names them.

namespace OrvMacOS {

// OrvPhotoKit::sharedPhotoLibrary() is PHPhotoLibrary from macOS 10.15 on, where
// PhotoKit fetches; before that, and where Photos.framework is missing (it is
// linked weakly), there is no library.
void installPhotoKit();
// OrvMediaLibrary's calls: MediaLibrary.framework loaded at run time,
// security-scoped access to its files, NSWorkspace's running applications.
void installMediaLibrary();
// OrvImageCapture::createDeviceBrowser() makes an ICDeviceBrowser.
void installImageCapture();
// OrvImageIO::sharedImageIO() is ImageIO.
void installImageIO();

} // namespace OrvMacOS
