#include "OrvMediaFormat.h"

#include <QHash>

namespace {

struct FormatInfo
{
    OrvMediaFormat::Code code;
    const char* name;
    const char* suffix;
    const char* qtFormat;
    const char* uti;
};

const FormatInfo kFormats[] = {
    {OrvMediaFormat::Bmp, "bmp", "bmp", "bmp", "com.microsoft.bmp"},
    {OrvMediaFormat::Gif, "gif", "gif", "gif", "com.compuserve.gif"},
    {OrvMediaFormat::Png, "png", "png", "png", "public.png"},
    {OrvMediaFormat::Tiff, "tiff", "tif", "tiff", "public.tiff"},
    {OrvMediaFormat::Webp, "webp", "webp", "webp", "org.webmproject.webp"},
    {OrvMediaFormat::Heic, "heic", "heic", "heic", "public.heic"},
    // Camera raw has no single Qt reader and no single suffix; DNG is the open one.
    {OrvMediaFormat::Raw, "raw", "dng", "", "public.camera-raw-image"},
    {OrvMediaFormat::Psd, "psd", "psd", "psd", "com.adobe.photoshop-image"},
    {OrvMediaFormat::Jpeg, "jpeg", "jpg", "jpeg", "public.jpeg"},
    {OrvMediaFormat::Mov, "mov", "mov", "", "com.apple.quicktime-movie"},
    {OrvMediaFormat::Mp4, "mp4", "mp4", "", "public.mpeg-4"},
    {OrvMediaFormat::Avi, "avi", "avi", "", "public.avi"},
};

const FormatInfo* infoFor(quint32 code)
{
    for (const FormatInfo& info : kFormats) {
        if (info.code == code)
            return &info;
    }
    return nullptr;
}

// Names and file suffixes, lower case. Built once; QHash is safe for
// concurrent reads after the static initialisation.
const QHash<QString, quint32>& nameTable()
{
    static const QHash<QString, quint32> table = [] {
        QHash<QString, quint32> t;
        for (const FormatInfo& info : kFormats) {
            t.insert(QString::fromLatin1(info.name), info.code);
            t.insert(QString::fromLatin1(info.suffix), info.code);
        }
        const std::pair<const char*, quint32> aliases[] = {
            {"jpg", OrvMediaFormat::Jpeg},  {"jpe", OrvMediaFormat::Jpeg},  {"jfif", OrvMediaFormat::Jpeg},
            {"tif", OrvMediaFormat::Tiff},  {"heif", OrvMediaFormat::Heic}, {"hif", OrvMediaFormat::Heic},
            {"dib", OrvMediaFormat::Bmp},   {"m4v", OrvMediaFormat::Mp4},   {"qt", OrvMediaFormat::Mov},
            // Camera raw suffixes.
            {"cr2", OrvMediaFormat::Raw},   {"cr3", OrvMediaFormat::Raw},   {"crw", OrvMediaFormat::Raw},
            {"nef", OrvMediaFormat::Raw},   {"nrw", OrvMediaFormat::Raw},   {"arw", OrvMediaFormat::Raw},
            {"srf", OrvMediaFormat::Raw},   {"sr2", OrvMediaFormat::Raw},   {"dng", OrvMediaFormat::Raw},
            {"raf", OrvMediaFormat::Raw},   {"orf", OrvMediaFormat::Raw},   {"rw2", OrvMediaFormat::Raw},
            {"rwl", OrvMediaFormat::Raw},   {"pef", OrvMediaFormat::Raw},   {"srw", OrvMediaFormat::Raw},
            {"x3f", OrvMediaFormat::Raw},   {"3fr", OrvMediaFormat::Raw},   {"erf", OrvMediaFormat::Raw},
            {"kdc", OrvMediaFormat::Raw},   {"mrw", OrvMediaFormat::Raw},   {"mos", OrvMediaFormat::Raw},
            {"iiq", OrvMediaFormat::Raw},
        };
        for (const auto& alias : aliases)
            t.insert(QString::fromLatin1(alias.first), alias.second);
        return t;
    }();
    return table;
}

quint32 codeForName(const QString& name)
{
    return nameTable().value(name.trimmed().toLower(), OrvMediaFormat::Invalid);
}

} // namespace

OrvMediaFormat::OrvMediaFormat(quint32 code) : myCode(code & (AnyImage | AnyVideo)) {}

OrvMediaFormat::OrvMediaFormat(const QString& name) : myCode(codeForName(name)) {}

OrvMediaFormat::OrvMediaFormat(const QFileInfo& file) : myCode(codeForName(file.suffix())) {}

QString OrvMediaFormat::name() const
{
    const FormatInfo* info = infoFor(myCode);
    return info ? QString::fromLatin1(info->name) : QString();
}

QString OrvMediaFormat::suffix() const
{
    const FormatInfo* info = infoFor(myCode);
    return info ? QString::fromLatin1(info->suffix) : QString();
}

QByteArray OrvMediaFormat::qtFormat() const
{
    const FormatInfo* info = infoFor(myCode);
    return info ? QByteArray(info->qtFormat) : QByteArray();
}

QString OrvMediaFormat::toUti() const
{
    const FormatInfo* info = infoFor(myCode);
    return info ? QString::fromLatin1(info->uti) : QString();
}

OrvMediaFormat OrvMediaFormat::fromUti(const QString& uti)
{
    const QString key = uti.trimmed().toLower();
    if (key.isEmpty())
        return OrvMediaFormat();
    for (const FormatInfo& info : kFormats) {
        if (key == QLatin1String(info.uti))
            return OrvMediaFormat(quint32(info.code));
    }
    // Types other sources report for the same formats.
    if (key == QLatin1String("public.jpg") || key == QLatin1String("public.jpeg-image"))
        return OrvMediaFormat(quint32(Jpeg));
    if (key == QLatin1String("public.heif"))
        return OrvMediaFormat(quint32(Heic));
    if (key == QLatin1String("com.microsoft.windows-bitmap-image"))
        return OrvMediaFormat(quint32(Bmp));
    if (key == QLatin1String("com.apple.m4v-video") || key == QLatin1String("public.mpeg-4-video"))
        return OrvMediaFormat(quint32(Mp4));
    if (key == QLatin1String("com.microsoft.avi") || key == QLatin1String("public.avi-movie"))
        return OrvMediaFormat(quint32(Avi));
    // Vendors name their raw types "com.<vendor>.<model>-raw-image".
    if (key.endsWith(QLatin1String("raw-image")))
        return OrvMediaFormat(quint32(Raw));
    return OrvMediaFormat();
}
