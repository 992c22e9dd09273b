#pragma once

#include "OrvFotoMetaData.h"
#include "OrvQtCompat.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace OrvTest {

// What the test photos carry in their EXIF.
inline QDateTime photoTaken() { return OrvQt::withOffset(QDate(2021, 7, 14), QTime(11, 12, 13), 7200); }
inline OrvGeoPosition photoPlace() { return OrvGeoPosition(48.8584, 2.2945); }

// A JPEG (makeJpeg's pattern: red top left, blue bottom right) with EXIF: the
// date and place above, camera "Orv" "Test 1", and the orientation.
QByteArray jpegWithExif(int width, int height, int orientation = 1);
// The bytes recoded into type by the installed image I/O; empty when that fails.
QByteArray recoded(const QByteArray& bytes, const QString& type);
// The metadata the host reads from bytes.
OrvFotoMetaData metaDataOf(const QByteArray& bytes);
// A small green PNG whose header declares width x height (a decompression bomb when large),
// its header's checksum matching.
QByteArray pngDeclaring(quint32 width, quint32 height);
// Where the red mark of makeJpeg's pattern is: the corner ("tl", "tr", "bl", "br") that is reddest.
QString redCorner(const QImage& image);

} // namespace OrvTest
