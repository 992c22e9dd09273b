#pragma once

#include <QByteArray>
#include <QFileInfo>
#include <QList>
#include <QString>

// A file format as a bit-flag code.
class OrvMediaFormat
{
public:
    enum Code : quint32 {
        Invalid = 0,
        Bmp = 1,
        Gif = 2,
        Png = 4,
        Tiff = 8,
        Webp = 16,
        Heic = 32,
        Raw = 64,
        Psd = 128,
        Jpeg = 256,
        Mov = 512,
        Mp4 = 1024,
        Avi = 2048,
        AnyImage = Bmp | Gif | Png | Tiff | Webp | Heic | Raw | Psd | Jpeg,
        AnyVideo = Mov | Mp4 | Avi,
    };

    OrvMediaFormat() = default;
    explicit OrvMediaFormat(quint32 code);
    // From a name such as "jpeg", "JPG", "png", "original" (case-insensitive); unknown names are invalid.
    explicit OrvMediaFormat(const QString& name);
    // From a file's suffix.
    explicit OrvMediaFormat(const QFileInfo& file);
    virtual ~OrvMediaFormat() = default;

    quint32 code() const { return myCode; }
    bool isValid() const { return myCode != Invalid; }
    bool isImage() const { return (myCode & AnyImage) != 0; }
    bool isVideo() const { return (myCode & AnyVideo) != 0; }

    QString name() const;          // "jpeg"
    QString suffix() const;        // "jpg"
    QByteArray qtFormat() const;   // the name QImageReader and QImageWriter use, empty when Qt has none
    QString toUti() const;         // "public.jpeg"; empty for an invalid format
    static OrvMediaFormat fromUti(const QString& uti);

    bool operator==(const OrvMediaFormat& other) const { return myCode == other.myCode; }
    bool operator!=(const OrvMediaFormat& other) const { return myCode != other.myCode; }

private:
    quint32 myCode = Invalid;
};

using OrvMediaFormatList = QList<OrvMediaFormat>;

inline size_t qHash(const OrvMediaFormat& format, size_t seed = 0) { return ::qHash(format.code(), seed); }
