#include "OrvJpegDecoder.h"

#include "OrvExifOrientation.h"
#include "OrvUserFile.h"

#include <QColorSpace>
#include <QImageReader>

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// jpeglib.h first: it decides which messages jerror.h declares.
#include <jpeglib.h>
#include <jerror.h>

namespace {

// Progressive files of real cameras and encoders have about ten scans.
constexpr int maxScans = 250;
// Enough for the coefficients of a 400-megapixel progressive file.
constexpr long maxLibjpegMemory = 2800L * 1024 * 1024;
constexpr size_t fileChunk = 256 * 1024;
// Everything before the first scan (EXIF, XMP, colour profiles, previews) fits easily.
constexpr qint64 maxHeaderBytes = 16 * 1024 * 1024;

struct ErrorManager
{
    jpeg_error_mgr base{};
    jmp_buf jump;
    bool damaged = false;
    bool tooManyScans = false;
    char message[JMSG_LENGTH_MAX] = {};
};

[[noreturn]] void errorExit(j_common_ptr info)
{
    auto* errors = reinterpret_cast<ErrorManager*>(info->err);
    (*info->err->format_message)(info, errors->message);
    std::longjmp(errors->jump, 1);
}

// Warnings that mean coded data is missing or broken; the others (stray bytes
// before a marker, unknown JFIF versions, Adobe transforms) leave the picture whole.
void emitMessage(j_common_ptr info, int level)
{
    if (level >= 0)
        return;
    auto* errors = reinterpret_cast<ErrorManager*>(info->err);
    switch (info->err->msg_code) {
    case JWRN_JPEG_EOF:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_ARITH_BAD_CODE:
    case JWRN_MUST_RESYNC:
    case JWRN_NOT_SEQUENTIAL:
        if (!errors->damaged)
            (*info->err->format_message)(info, errors->message);
        errors->damaged = true;
        break;
    default:
        break;
    }
    info->err->num_warnings++;
}

void outputMessage(j_common_ptr) {}

void progress(j_common_ptr info)
{
    auto* decompress = reinterpret_cast<j_decompress_ptr>(info);
    if (decompress->input_scan_number > maxScans) {
        reinterpret_cast<ErrorManager*>(info->err)->tooManyScans = true;
        std::strcpy(reinterpret_cast<ErrorManager*>(info->err)->message, "too many scans");
        std::longjmp(reinterpret_cast<ErrorManager*>(info->err)->jump, 1);
    }
}

// Hands libjpeg the bytes of memory or of a user file in chunks; at the end
// an end marker and the warning libjpeg's own sources give, which marks the
// data as incomplete. Until the header is read the bytes are bounded: a file
// of zeros behind a JPEG signature would otherwise be searched for a marker
// to its end.
struct Source
{
    jpeg_source_mgr base{};
    const QByteArray* bytes = nullptr;
    OrvUserFile* file = nullptr;
    qint64 offset = 0;
    qint64 headerLimit = 0;
    QByteArray buffer;
};

void initSource(j_decompress_ptr) {}

boolean fillInputBuffer(j_decompress_ptr info)
{
    auto* source = reinterpret_cast<Source*>(info->src);
    if (source->headerLimit > 0 && source->offset >= source->headerLimit) {
        auto* errors = reinterpret_cast<ErrorManager*>(info->err);
        std::strcpy(errors->message, "no image header where one belongs");
        std::longjmp(errors->jump, 1);
    }
    qint64 got = 0;
    if (source->file) {
        got = source->file->readAt(source->offset, source->buffer.data(), qint64(fileChunk));
        source->base.next_input_byte = reinterpret_cast<const JOCTET*>(source->buffer.constData());
    } else {
        got = qBound<qint64>(0, source->bytes->size() - source->offset, qint64(fileChunk));
        source->base.next_input_byte = reinterpret_cast<const JOCTET*>(source->bytes->constData() + source->offset);
    }
    if (got <= 0) {
        static const JOCTET endMarker[2] = {0xFF, JPEG_EOI};
        WARNMS(info, JWRN_JPEG_EOF);
        source->base.next_input_byte = endMarker;
        source->base.bytes_in_buffer = 2;
        return TRUE;
    }
    source->offset += got;
    source->base.bytes_in_buffer = size_t(got);
    return TRUE;
}

void skipInputData(j_decompress_ptr info, long count)
{
    auto* source = reinterpret_cast<Source*>(info->src);
    if (count <= 0)
        return;
    if (size_t(count) <= source->base.bytes_in_buffer) {
        source->base.next_input_byte += count;
        source->base.bytes_in_buffer -= size_t(count);
        return;
    }
    source->offset += count - qint64(source->base.bytes_in_buffer);
    source->base.bytes_in_buffer = 0;
    source->base.next_input_byte = nullptr;
}

void termSource(j_decompress_ptr) {}

} // namespace

struct OrvJpegDecoder::Private
{
    jpeg_decompress_struct info{};
    ErrorManager errors;
    jpeg_progress_mgr monitor{};
    Source source;
    QByteArray bytes;
    OrvUserFile* file = nullptr;
    bool created = false;
    bool headerRead = false;
    bool failed = false;
    int orientation = 1;
    QString error;

    bool begin();
    bool configure(const QSize& scaledSize, bool* cmyk);
    bool decode(QImage* image, JSAMPLE* cmykRow, QByteArray* iccProfile);
};

bool OrvJpegDecoder::Private::begin()
{
    info.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = errorExit;
    errors.base.emit_message = emitMessage;
    errors.base.output_message = outputMessage;
    if (setjmp(errors.jump)) {
        error = QString::fromLatin1(errors.message);
        return false;
    }
    jpeg_create_decompress(&info);
    created = true;
    info.mem->max_memory_to_use = maxLibjpegMemory;
    monitor.progress_monitor = progress;
    info.progress = &monitor;
    source.file = file;
    source.bytes = &bytes;
    if (file)
        source.buffer.resize(qsizetype(fileChunk));
    source.headerLimit = maxHeaderBytes;
    source.base.init_source = initSource;
    source.base.fill_input_buffer = fillInputBuffer;
    source.base.skip_input_data = skipInputData;
    source.base.resync_to_restart = jpeg_resync_to_restart;
    source.base.term_source = termSource;
    info.src = &source.base;
    return true;
}

OrvJpegDecoder::OrvJpegDecoder(const QByteArray& bytes) : d(new Private)
{
    d->bytes = bytes;
    d->failed = !d->begin();
}

OrvJpegDecoder::OrvJpegDecoder(OrvUserFile* file) : d(new Private)
{
    d->file = file;
    d->failed = !file || !d->begin();
}

OrvJpegDecoder::~OrvJpegDecoder()
{
    if (d->created)
        jpeg_destroy_decompress(&d->info);
}

bool OrvJpegDecoder::isJpeg(const char* head, qint64 size)
{
    return size >= 3 && uchar(head[0]) == 0xFF && uchar(head[1]) == 0xD8 && uchar(head[2]) == 0xFF;
}

bool OrvJpegDecoder::readHeader()
{
    if (d->headerRead || d->failed)
        return d->headerRead;
    if (setjmp(d->errors.jump)) {
        d->failed = true;
        d->error = QString::fromLatin1(d->errors.message);
        return false;
    }
    jpeg_save_markers(&d->info, JPEG_APP0 + 1, 0xFFFF);
    jpeg_save_markers(&d->info, JPEG_APP0 + 2, 0xFFFF);
    if (jpeg_read_header(&d->info, TRUE) != JPEG_HEADER_OK) {
        d->failed = true;
        d->error = QStringLiteral("no image");
        return false;
    }
    for (jpeg_saved_marker_ptr marker = d->info.marker_list; marker; marker = marker->next) {
        if (marker->marker == JPEG_APP0 + 1 && marker->data_length > 6 && std::memcmp(marker->data, "Exif\0\0", 6) == 0) {
            const int found = OrvExifOrientation::fromTiff(reinterpret_cast<const char*>(marker->data) + 6,
                                                           qint64(marker->data_length) - 6);
            if (found > 0) {
                d->orientation = found;
                break;
            }
        }
    }
    d->source.headerLimit = 0;
    d->headerRead = true;
    return true;
}

QSize OrvJpegDecoder::storedSize() const
{
    return d->headerRead ? QSize(int(d->info.image_width), int(d->info.image_height)) : QSize();
}

int OrvJpegDecoder::orientation() const { return d->orientation; }

QString OrvJpegDecoder::errorString() const { return d->error; }

namespace {

// The smallest eighth of stored that still covers wanted.
int eighthsCovering(const QSize& stored, const QSize& wanted)
{
    const auto eighth = [](int edge, int eighths) { return (qint64(edge) * eighths + 7) / 8; };
    int eighths = 1;
    while (eighths < 8 && (eighth(stored.width(), eighths) < wanted.width() || eighth(stored.height(), eighths) < wanted.height()))
        ++eighths;
    return eighths;
}

} // namespace

QSize OrvJpegDecoder::coveringEighth(const QSize& stored, const QSize& wanted)
{
    const int eighths = eighthsCovering(stored, wanted);
    return QSize(int((qint64(stored.width()) * eighths + 7) / 8), int((qint64(stored.height()) * eighths + 7) / 8));
}

// Only plain values live in the frames that a libjpeg error jumps out of:
// jumping over a C++ destructor would be undefined.
bool OrvJpegDecoder::Private::configure(const QSize& scaledSize, bool* cmyk)
{
    if (setjmp(errors.jump)) {
        error = QString::fromLatin1(errors.message);
        return false;
    }
    if (scaledSize.isValid()) {
        info.scale_num = unsigned(eighthsCovering(QSize(int(info.image_width), int(info.image_height)), scaledSize));
        info.scale_denom = 8;
    }
    *cmyk = false;
    switch (info.jpeg_color_space) {
    case JCS_GRAYSCALE:
        info.out_color_space = JCS_GRAYSCALE;
        break;
    case JCS_CMYK:
    case JCS_YCCK:
        info.out_color_space = JCS_CMYK;
        *cmyk = true;
        break;
    default:
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
        info.out_color_space = JCS_EXT_BGRX;
#else
        info.out_color_space = JCS_EXT_XRGB;
#endif
        break;
    }
    jpeg_calc_output_dimensions(&info);
    return true;
}

bool OrvJpegDecoder::Private::decode(QImage* image, JSAMPLE* cmykRow, QByteArray* iccProfile)
{
    if (setjmp(errors.jump)) {
        error = QString::fromLatin1(errors.message);
        return false;
    }
    jpeg_start_decompress(&info);
    while (info.output_scanline < info.output_height) {
        const int y = int(info.output_scanline);
        JSAMPROW row = cmykRow ? cmykRow : reinterpret_cast<JSAMPROW>(image->scanLine(y));
        if (jpeg_read_scanlines(&info, &row, 1) != 1) {
            std::strcpy(errors.message, "incomplete image");
            return false;
        }
        if (cmykRow) {
            // Adobe writes inverted CMYK, as Qt's own reader assumes too.
            auto* out = reinterpret_cast<QRgb*>(image->scanLine(y));
            const JSAMPLE* in = cmykRow;
            for (JDIMENSION x = 0; x < info.output_width; ++x, in += 4) {
                const int k = in[3];
                out[x] = qRgb(k * in[0] / 255, k * in[1] / 255, k * in[2] / 255);
            }
        }
    }
    JOCTET* profile = nullptr;
    unsigned int profileLength = 0;
    if (jpeg_read_icc_profile(&info, &profile, &profileLength) && profile) {
        *iccProfile = QByteArray(reinterpret_cast<const char*>(profile), int(profileLength));
        std::free(profile);
    }
    // Not jpeg_finish_decompress: it would read on to the end marker, through
    // whatever junk follows the last scan.
    jpeg_abort_decompress(&info);
    return true;
}

QImage OrvJpegDecoder::read(const QSize& scaledSize)
{
    if (!readHeader())
        return QImage();
    const bool wantScaled = scaledSize.isValid() && !scaledSize.isEmpty()
        && (scaledSize.width() < int(d->info.image_width) || scaledSize.height() < int(d->info.image_height));
    bool cmyk = false;
    if (!d->configure(wantScaled ? scaledSize : QSize(), &cmyk)) {
        d->failed = true;
        return QImage();
    }
    const QImage::Format format = d->info.out_color_space == JCS_GRAYSCALE ? QImage::Format_Grayscale8 : QImage::Format_RGB32;
    // The process-wide allocation limit of Qt's image readers holds here too.
    const qint64 bytes = qint64(d->info.output_width) * d->info.output_height * (format == QImage::Format_RGB32 ? 4 : 1);
    const int limit = QImageReader::allocationLimit();
    if (limit > 0 && bytes > qint64(limit) * 1024 * 1024) {
        d->failed = true;
        d->error = QStringLiteral("%1x%2 pixels exceed the allocation limit").arg(d->info.output_width).arg(d->info.output_height);
        return QImage();
    }
    QImage image(int(d->info.output_width), int(d->info.output_height), format);
    QByteArray cmykRow(cmyk ? qsizetype(d->info.output_width) * 4 : 0, Qt::Uninitialized);
    if (image.isNull() || (cmyk && cmykRow.isEmpty())) {
        d->failed = true;
        d->error = QStringLiteral("no memory for %1x%2 pixels").arg(d->info.output_width).arg(d->info.output_height);
        return QImage();
    }
    QByteArray iccProfile;
    const bool decoded = d->decode(&image, cmyk ? reinterpret_cast<JSAMPLE*>(cmykRow.data()) : nullptr, &iccProfile);
    if (!decoded || d->errors.damaged) {
        d->failed = true;
        d->error = QString::fromLatin1(d->errors.message);
        return QImage();
    }
    if (!iccProfile.isEmpty()) {
        const QColorSpace space = QColorSpace::fromIccProfile(iccProfile);
        if (space.isValid())
            image.setColorSpace(space);
    }
    if (wantScaled && image.size() != scaledSize)
        image = image.scaled(scaledSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return image;
}

namespace {

// The file in windows of a few hundred kilobytes, byte by byte for the markers
// and by memchr through the coded data.
class JpegWalk
{
public:
    explicit JpegWalk(OrvUserFile* file) : myFile(file), myWindow(256 * 1024, Qt::Uninitialized) {}

    // The byte at position, -1 past the end.
    int at(qint64 position)
    {
        if (!covers(position) && !load(position))
            return -1;
        return uchar(myWindow.at(qsizetype(position - myStart)));
    }
    // The first 0xFF at or after position, -1 when there is none.
    qint64 nextFF(qint64 position)
    {
        for (;;) {
            if (!covers(position) && !load(position))
                return -1;
            const char* begin = myWindow.constData() + (position - myStart);
            const auto* found = static_cast<const char*>(std::memchr(begin, 0xFF, size_t(myStart + myLength - position)));
            if (found)
                return position + (found - begin);
            position = myStart + myLength;
        }
    }

private:
    bool covers(qint64 position) const { return position >= myStart && position < myStart + myLength; }
    bool load(qint64 position)
    {
        const qint64 got = myFile->readAt(position, myWindow.data(), myWindow.size());
        myStart = position;
        myLength = got > 0 ? got : 0;
        return myLength > 0;
    }

    OrvUserFile* myFile;
    QByteArray myWindow;
    qint64 myStart = 0;
    qint64 myLength = 0;
};

} // namespace

bool OrvJpegDecoder::reachesEnd(OrvUserFile* file)
{
    if (!file)
        return false;
    JpegWalk walk(file);
    if (walk.at(0) != 0xFF || walk.at(1) != 0xD8)
        return false;
    qint64 position = 2;
    for (;;) {
        // Stray bytes before a marker are a known camera oddity, and so is padding with 0xFF.
        position = walk.nextFF(position);
        if (position < 0)
            return false;
        int marker = walk.at(++position);
        while (marker == 0xFF)
            marker = walk.at(++position);
        if (marker < 0)
            return false;
        ++position;
        if (marker == 0xD9)
            return true;
        if (marker == 0x00 || marker == 0x01 || marker == 0xD8 || (marker >= 0xD0 && marker <= 0xD7))
            continue;
        const int high = walk.at(position);
        const int low = walk.at(position + 1);
        if (high < 0 || low < 0 || (high << 8 | low) < 2)
            return false;
        position += high << 8 | low;
        if (marker != 0xDA)
            continue;
        // Coded data: 0xFF 0x00 is a stuffed byte and restart markers belong to it; any other marker ends it.
        for (;;) {
            position = walk.nextFF(position);
            if (position < 0)
                return false;
            const int next = walk.at(position + 1);
            if (next < 0)
                return false;
            if (next != 0x00 && next != 0xFF && !(next >= 0xD0 && next <= 0xD7))
                break;
            position += next == 0xFF ? 1 : 2;
        }
    }
}
