#pragma once

// A camera item's thumbnail, by the cheapest way the camera allows: its own
// preview, else the EXIF thumbnail at the start of the file, else the whole
// file decoded scaled (from a camera only for files small enough to read
// whole; a folder served as a camera is decoded as it is read, at any size).

#include <QByteArray>
#include <QImage>
#include <QString>

class OrvUserFile;
typedef struct _Camera Camera;
typedef struct _GPContext GPContext;

namespace OrvGPhoto2 {

// Files up to this size are read whole from a camera for a thumbnail when nothing smaller serves.
constexpr qint64 thumbnailReadBound = 64 * 1024 * 1024;

// Runs on the camera's thread. A null image when none of the ways gives one;
// result then holds libgphoto2's answer to the last read (a camera that is gone says so).
QImage readThumbnail(Camera* camera, GPContext* context, const QString& folder, const QString& name, qint64 size,
                     int edge, int* result);
// The same from a file opened directly (a folder served as a camera), which has no preview.
QImage readThumbnail(OrvUserFile* file, int edge);
// The JPEG thumbnail that the EXIF block at the start of a JPEG holds; empty when there is none.
QByteArray exifThumbnail(const QByteArray& head);

} // namespace OrvGPhoto2
