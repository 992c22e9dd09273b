#include "OrvMediaCheck.h"

#include "OrvJpegDecoder.h"
#include "OrvMediaLoader.h"
#include "OrvUserFile.h"

#include <QDebug>
#include <QFileInfo>
#include <QImageReader>

#include <cstring>

namespace {

bool hasAt(const QByteArray& head, int at, const char* magic, int size)
{
    return head.size() >= at + size && std::memcmp(head.constData() + at, magic, size_t(size)) == 0;
}

// The ISO media file's brand says what it holds: a still image, a camera's raw, a movie.
OrvMediaFormat isoMediaFormat(const QByteArray& brand)
{
    static const QByteArrayList stillImages = {"heic", "heix", "hevc", "hevx", "heim", "heis",
                                               "hevm", "hevs", "mif1", "msf1", "avif", "avis"};
    if (stillImages.contains(brand))
        return OrvMediaFormat(OrvMediaFormat::Heic);
    if (brand == "crx ")
        return OrvMediaFormat(OrvMediaFormat::Raw);
    return OrvMediaFormat(brand == "qt  " ? OrvMediaFormat::Mov : OrvMediaFormat::Mp4);
}

bool isMovie(const OrvMediaFormat& format)
{
    return format.code() == OrvMediaFormat::Mov || format.code() == OrvMediaFormat::Mp4;
}

// Whether bytes that show found may stand for kind.
bool fits(const OrvMediaFormat& kind, const OrvMediaFormat& found)
{
    if (!kind.isValid())
        return found.isValid();
    if (kind == found || (isMovie(kind) && isMovie(found)))
        return true;
    return kind.code() == OrvMediaFormat::Raw
        && (!found.isValid() || found.code() == OrvMediaFormat::Tiff || found.code() == OrvMediaFormat::Raw);
}

qint64 pixelsOf(const QSize& size) { return qint64(size.width()) * size.height(); }

// The pixels the header declares, where it can be read without decoding; -1 when it cannot be told.
qint64 declaredPixels(OrvUserFile* file, const OrvMediaFormat& found, const QByteArray& head)
{
    switch (found.code()) {
    case OrvMediaFormat::Jpeg: {
        OrvJpegDecoder decoder(file);
        return decoder.readHeader() ? pixelsOf(decoder.storedSize()) : 0;
    }
    case OrvMediaFormat::Png: {
        // The header chunk comes first: width and height, four bytes each, big-endian.
        if (!hasAt(head, 12, "IHDR", 4) || head.size() < 24)
            return 0;
        auto number = [&head](int at) {
            return qint64(quint8(head[at])) << 24 | qint64(quint8(head[at + 1])) << 16 | qint64(quint8(head[at + 2])) << 8
                | qint64(quint8(head[at + 3]));
        };
        return number(16) * number(20);
    }
    case OrvMediaFormat::Gif:
    case OrvMediaFormat::Bmp:
    case OrvMediaFormat::Tiff:
    case OrvMediaFormat::Webp:
    case OrvMediaFormat::Psd: {
        file->seek(0);
        QImageReader reader(file, found.qtFormat());
        const QSize size = reader.size();
        return size.isValid() && !size.isEmpty() ? pixelsOf(size) : -1;
    }
    default:
        return -1;
    }
}

} // namespace

OrvMediaFormat OrvMediaCheck::formatOf(const QByteArray& head)
{
    using F = OrvMediaFormat;
    if (OrvJpegDecoder::isJpeg(head.constData(), head.size()))
        return F(F::Jpeg);
    if (hasAt(head, 0, "\x89PNG\r\n\x1a\n", 8))
        return F(F::Png);
    if (hasAt(head, 0, "GIF87a", 6) || hasAt(head, 0, "GIF89a", 6))
        return F(F::Gif);
    // "BM", the file's size, two reserved words that are zero.
    if (hasAt(head, 0, "BM", 2) && hasAt(head, 6, "\0\0\0\0", 4))
        return F(F::Bmp);
    if (hasAt(head, 0, "RIFF", 4) && hasAt(head, 8, "WEBP", 4))
        return F(F::Webp);
    if (hasAt(head, 0, "RIFF", 4) && hasAt(head, 8, "AVI ", 4))
        return F(F::Avi);
    if (hasAt(head, 0, "8BPS", 4))
        return F(F::Psd);
    if (hasAt(head, 0, "II*\0", 4) || hasAt(head, 0, "MM\0*", 4) || hasAt(head, 0, "II+\0", 4) || hasAt(head, 0, "MM\0+", 4))
        return F(F::Tiff);
    // Raw formats of their own: Olympus, Panasonic and Leica, Fujifilm, old Canon, Sigma, Minolta.
    for (const QByteArray& raw : {QByteArray("IIRO"), QByteArray("IIRS"), QByteArray("MMOR"), QByteArray("IIU\0", 4),
                                  QByteArray("FUJIFILMCCD-RAW"), QByteArray("II\x1a\0\0\0HEAPCCDR", 14),
                                  QByteArray("FOVb"), QByteArray("\0MRM", 4)}) {
        if (head.startsWith(raw))
            return F(F::Raw);
    }
    if (hasAt(head, 4, "ftyp", 4) && head.size() >= 12)
        return isoMediaFormat(head.mid(8, 4));
    // QuickTime files older than the ISO format start with one of these atoms.
    for (const char* atom : {"moov", "mdat", "wide", "free", "skip", "pnot"}) {
        if (hasAt(head, 4, atom, 4))
            return F(F::Mov);
    }
    return F();
}

bool OrvMediaCheck::pngReachesEnd(OrvUserFile* file)
{
    const qint64 tailSize = qMin<qint64>(file->size(), 4096);
    QByteArray tail(qsizetype(tailSize), Qt::Uninitialized);
    if (file->readAt(file->size() - tailSize, tail.data(), tailSize) == tailSize
        && tail.contains(QByteArray("IEND\xAE\x42\x60\x82", 8)))
        return true;
    qDebug() << "OrvMediaCheck: PNG without its end" << file->path();
    return false;
}

OrvMediaCheck::Verdict OrvMediaCheck::check(OrvUserFile* file, const OrvMediaFormat& kind, OrvMediaFormat* found)
{
    if (found)
        *found = OrvMediaFormat();
    if (!file || (!file->isOpen() && !file->open()))
        return Unreadable;
    QByteArray head(headSize, Qt::Uninitialized);
    const qint64 got = file->readAt(0, head.data(), head.size());
    if (got < 0)
        return Unreadable;
    if (got == 0)
        return Empty;
    head.truncate(qsizetype(got));
    const OrvMediaFormat shown = formatOf(head);
    if (found)
        *found = shown;
    if (!fits(kind, shown))
        return OtherKind;
    if (shown.code() == OrvMediaFormat::Jpeg && !OrvJpegDecoder::reachesEnd(file))
        return CutOff;
    if (shown.code() == OrvMediaFormat::Png && !pngReachesEnd(file))
        return CutOff;
    // A raw file's TIFF part is mostly a preview: its pixels say nothing of the photo.
    const qint64 pixels = kind.code() == OrvMediaFormat::Raw ? -1 : declaredPixels(file, shown, head);
    if (pixels == 0)
        return OtherKind;
    return pixels > OrvMediaLoader::maxPixels ? TooManyPixels : Whole;
}

OrvMediaCheck::Verdict OrvMediaCheck::check(const QString& path, const OrvMediaFormat& kind, OrvMediaFormat* found)
{
    OrvUserFile file(path, OrvUserFile::Media);
    return check(&file, kind, found);
}

QString OrvMediaCheck::describe(Verdict verdict, const OrvMediaFormat& kind, const OrvMediaFormat& found)
{
    const QString what = kind.isValid() ? kind.name().toUpper() + QStringLiteral(" image") : QStringLiteral("image");
    QString why;
    switch (verdict) {
    case Whole:
        return QString();
    case Unreadable:
        why = QStringLiteral("it cannot be read");
        break;
    case Empty:
        why = QStringLiteral("it is empty");
        break;
    case OtherKind:
        why = found.isValid() && found != kind ? QStringLiteral("it holds a %1 file").arg(found.name().toUpper())
                                               : QStringLiteral("it holds no image");
        break;
    case CutOff:
        why = QStringLiteral("it is cut off");
        break;
    case TooManyPixels:
        why = QStringLiteral("it declares more than %1 megapixels").arg(OrvMediaLoader::maxPixels / 1000000);
        break;
    }
    return QStringLiteral("not a whole %1: %2").arg(what, why);
}

bool OrvMediaCheck::isWholeAsNamed(OrvUserFile* file, QString* name, QString* why)
{
    const OrvMediaFormat kind{QFileInfo(*name)};
    OrvMediaFormat found;
    const Verdict verdict = check(file, kind, &found);
    if (verdict != Whole && why)
        *why = describe(verdict, kind, found);
    return verdict == Whole;
}
