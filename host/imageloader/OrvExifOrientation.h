#pragma once

#include <QByteArray>
#include <QList>
#include <QSize>

// Where a JPEG or TIFF file keeps its orientation, found without a metadata
// library and without reading more than the file's head. The JPEG decoder
// reads it from there, and a copy of an original can set it to "as stored"
// in passing, byte for byte otherwise, however large the file.
namespace OrvExifOrientation {

// The orientation (1..8) in a TIFF structure, as found in a TIFF file or after
// "Exif\0\0" in a JPEG's APP1 segment; 0 when it has none. valueOffset gets
// the offset of the tag's two value bytes in data.
int fromTiff(const char* data, qint64 size, qint64* valueOffset = nullptr);

// Where the stored pixels end up when shown: orientations 5 to 8 swap the axes.
bool swapsAxes(int orientation);

struct Patch
{
    qint64 offset = 0;
    QByteArray bytes;
};

struct Scan
{
    int orientation = 0;       // EXIF orientation, 0 when there is none
    bool complete = false;     // every place that can hold an orientation was seen
    QList<Patch> upright;      // what turns every orientation found into 1
};

// Looks at the start of a JPEG (up to its first scan) or a TIFF file (its
// first directory) for the EXIF and XMP orientation. Not complete for other
// formats or when head ends too early.
Scan scan(const QByteArray& head);

} // namespace OrvExifOrientation
