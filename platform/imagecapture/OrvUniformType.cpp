#include "OrvUniformType.h"

#include <QHash>

namespace OrvUniformType {

namespace {

struct Declared
{
    const char* uti;
    const char* parent;  // the one type it conforms to directly
    const char* extensions;  // space separated
    const char* mimeTypes;   // space separated
};

// The types cameras, phones and card readers hold, with their place in the hierarchy.
const Declared declared[] = {
    {"public.item", "", "", ""},
    {"public.data", "public.item", "", "application/octet-stream"},
    {"public.folder", "public.item", "", "inode/directory"},
    {"public.content", "public.item", "", ""},
    {"public.audiovisual-content", "public.content", "", ""},
    {"public.image", "public.content", "", ""},
    {"public.movie", "public.audiovisual-content", "", ""},
    {"public.audio", "public.audiovisual-content", "", ""},
    {"public.jpeg", "public.image", "jpg jpeg jpe", "image/jpeg"},
    {"public.png", "public.image", "png", "image/png"},
    {"public.tiff", "public.image", "tif tiff", "image/tiff"},
    {"com.compuserve.gif", "public.image", "gif", "image/gif"},
    {"com.microsoft.bmp", "public.image", "bmp", "image/bmp image/x-ms-bmp"},
    {"public.heif", "public.image", "heif hif", "image/heif"},
    {"public.heic", "public.heif", "heic", "image/heic"},
    {"org.webmproject.webp", "public.image", "webp", "image/webp"},
    {"public.camera-raw-image", "public.image", "", ""},
    {"com.adobe.raw-image", "public.camera-raw-image", "dng", "image/x-adobe-dng"},
    {"com.canon.cr2-raw-image", "public.camera-raw-image", "cr2", "image/x-canon-cr2"},
    {"com.canon.cr3-raw-image", "public.camera-raw-image", "cr3", "image/x-canon-cr3"},
    {"com.canon.crw-raw-image", "public.camera-raw-image", "crw", "image/x-canon-crw"},
    {"com.nikon.raw-image", "public.camera-raw-image", "nef", "image/x-nikon-nef"},
    {"com.nikon.nrw-raw-image", "public.camera-raw-image", "nrw", ""},
    {"com.sony.arw-raw-image", "public.camera-raw-image", "arw", "image/x-sony-arw"},
    {"com.fuji.raw-image", "public.camera-raw-image", "raf", "image/x-fuji-raf"},
    {"com.olympus.raw-image", "public.camera-raw-image", "orf", "image/x-olympus-orf"},
    {"com.panasonic.rw2-raw-image", "public.camera-raw-image", "rw2", "image/x-panasonic-rw2"},
    {"com.pentax.raw-image", "public.camera-raw-image", "pef", "image/x-pentax-pef"},
    {"com.apple.quicktime-movie", "public.movie", "mov qt", "video/quicktime"},
    {"public.mpeg-4", "public.movie", "mp4 m4v", "video/mp4"},
    {"public.avi", "public.movie", "avi", "video/avi video/x-msvideo"},
    {"public.mpeg", "public.movie", "mpg mpeg", "video/mpeg"},
    {"public.3gpp", "public.movie", "3gp", "video/3gpp"},
    {"public.avchd-mpeg-2-transport-stream", "public.movie", "mts m2ts", "video/mp2t"},
    {"public.mp3", "public.audio", "mp3", "audio/mpeg"},
    {"com.microsoft.waveform-audio", "public.audio", "wav", "audio/wav audio/x-wav"},
    {"public.mpeg-4-audio", "public.audio", "m4a", "audio/mp4"},
    {"public.plain-text", "public.data", "txt", "text/plain"},
    {"public.xml", "public.data", "xml", "text/xml application/xml"},
    {"com.adobe.xmp", "public.data", "xmp", "application/rdf+xml"},
};

struct Tables
{
    QHash<QString, QString> parents;
    QHash<QString, QString> byExtension;
    QHash<QString, QString> byMimeType;

    Tables()
    {
        for (const Declared& type : declared) {
            const QString uti = QString::fromLatin1(type.uti);
            parents.insert(uti, QString::fromLatin1(type.parent));
            for (const QString& extension : QString::fromLatin1(type.extensions).split(QLatin1Char(' '), Qt::SkipEmptyParts))
                byExtension.insert(extension, uti);
            for (const QString& mime : QString::fromLatin1(type.mimeTypes).split(QLatin1Char(' '), Qt::SkipEmptyParts))
                byMimeType.insert(mime, uti);
        }
    }
};

const Tables& tables()
{
    static const Tables instance;
    return instance;
}

} // namespace

bool conformsTo(const QString& uti, const QString& parent)
{
    if (uti.isEmpty() || parent.isEmpty())
        return false;
    const Tables& t = tables();
    QString current = uti;
    // The hierarchy is a short chain; the bound keeps a broken table from looping.
    for (int depth = 0; depth < 16 && !current.isEmpty(); ++depth) {
        if (current.compare(parent, Qt::CaseInsensitive) == 0)
            return true;
        current = t.parents.value(current);
    }
    return false;
}

QString typeForExtension(const QString& extension)
{
    return tables().byExtension.value(extension.toLower(), kUTTypeData);
}

QString typeForMimeType(const QString& mimeType)
{
    return tables().byMimeType.value(mimeType.toLower(), kUTTypeData);
}

} // namespace OrvUniformType
