#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

#include <memory>

class OrvUserFile;

// JPEG decoding straight on libjpeg. Qt's reader pads a file that ends early
// with an end marker and returns a half grey picture as a success; this one
// refuses a file that ends early or whose coded data is broken, while it
// accepts the harmless oddities cameras write (stray bytes before a marker).
// Sized requests are scaled in the DCT, so a thumbnail never costs a full-size
// decode; the memory libjpeg may use and the number of progressive scans are
// bounded, so a hostile file cannot make it allocate or loop without end.
class OrvJpegDecoder
{
public:
    // Reads from memory (the bytes are not copied: keep them alive) or from an open file.
    explicit OrvJpegDecoder(const QByteArray& bytes);
    explicit OrvJpegDecoder(OrvUserFile* file);
    ~OrvJpegDecoder();
    OrvJpegDecoder(const OrvJpegDecoder&) = delete;
    OrvJpegDecoder& operator=(const OrvJpegDecoder&) = delete;

    // A JPEG starts FF D8 FF.
    static bool isJpeg(const char* head, qint64 size);

    // Whether the file runs from its start marker through every segment and the
    // coded data to its end marker (what follows that, as behind phones' motion
    // photos, does not matter). Reads, never decodes: a file cut off is told
    // from a whole one at the speed of reading it.
    static bool reachesEnd(OrvUserFile* file);
    // What a scaled decode of stored gives for wanted: the smallest eighth of
    // stored that covers wanted (stored itself when none does).
    static QSize coveringEighth(const QSize& stored, const QSize& wanted);

    // Parses up to the first scan. False for what is no JPEG.
    bool readHeader();
    // Pixels as stored, before the orientation.
    QSize storedSize() const;
    // The EXIF orientation, 1 when there is none.
    int orientation() const;

    // Decodes the stored pixels at a DCT scale that covers scaledSize (stored
    // orientation), then smooths them to exactly that size; an invalid size
    // decodes at full size. Null when the data is broken or incomplete, or the
    // image's memory cannot be had.
    QImage read(const QSize& scaledSize);

    QString errorString() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
