#pragma once

// When a camera's photo was taken, as ImageCaptureCore gives an item's creation
// date: EXIF DateTimeOriginal (with OffsetTimeOriginal where the camera wrote
// one), read from the EXIF block at the start of a JPEG and nothing else of it.

#include <QByteArray>
#include <QDateTime>
#include <functional>

class OrvUserFile;

namespace OrvGPhoto2 {

// Reads up to size bytes at offset into data; the count read, or <= 0.
using ReadAt = std::function<qint64(qint64 offset, char* data, qint64 size)>;

// The EXIF segment (APP1 "Exif") of a JPEG, found by walking its markers with
// a few small reads; empty when the file is no JPEG or has none before its image data.
QByteArray exifSegment(const ReadAt& read);
// The capture date of a JPEG; invalid when it has none (the caller then uses the file's time).
QDateTime captureDate(const ReadAt& read);
QDateTime captureDate(OrvUserFile* file);

} // namespace OrvGPhoto2
