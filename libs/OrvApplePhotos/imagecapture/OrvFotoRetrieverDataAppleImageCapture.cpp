#include "OrvFotoRetrieverDataAppleImageCapture.h"

#include "OrvAppleImageCaptureDatabase.h"
#include "OrvMediaLoader.h"
#include "OrvTargetFolder.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

OrvFotoRetrieverDataAppleImageCapture::OrvFotoRetrieverDataAppleImageCapture(const OrvAppleImageCaptureDatabase* database,
                                                                             const OrvExternalId& id)
    : myDatabase(database), myId(id)
{
}

OrvFotoRetrieverDataAppleImageCapture::~OrvFotoRetrieverDataAppleImageCapture() = default;

OrvFetchDrawableResult OrvFotoRetrieverDataAppleImageCapture::drawable(const QSize& size)
{
    return OrvFetchDrawableResult(myDatabase->drawable(myId, size));
}

bool OrvFotoRetrieverDataAppleImageCapture::isSourceFormat(const OrvMediaFormat& format) const
{
    const QString name = myDatabase->filenameHint(myId, QSize(-1, -1));
    return (format.code() & OrvMediaFormat(QFileInfo(name)).code()) != 0;
}

QByteArray OrvFotoRetrieverDataAppleImageCapture::file(const OrvMediaFormat& format)
{
    if (isSourceFormat(format))
        return myDatabase->byteArray(myId);
    // A target the loader could write is refused rather than converted (kept so on purpose).
    if (mediaLoader()->isSupportedFormat(format)) {
        qWarning() << "theImageFileFormat is not supported";
        return {};
    }
    return convertThisFileToFormat(format);
}

OrvMediaFormat OrvFotoRetrieverDataAppleImageCapture::askedFormat(const OrvMediaFormat& format) const
{
    return format.isValid() ? format : OrvMediaFormat(QFileInfo(myDatabase->filenameHint(myId, QSize(-1, -1))));
}

bool OrvFotoRetrieverDataAppleImageCapture::writeFile(const OrvMediaFormat& format, QIODevice* target)
{
    const OrvMediaFormat asked = askedFormat(format);
    if (!target || !isSourceFormat(asked))
        return OrvFotoRetrieverData::writeFile(asked, target);
    return withWholeDownload([target](const QString& path) { return streamFile(path, target); });
}

bool OrvFotoRetrieverDataAppleImageCapture::saveFile(const OrvMediaFormat& format, OrvTargetFolder* folder,
                                                     const QString& name)
{
    const OrvMediaFormat asked = askedFormat(format);
    if (!folder || !isSourceFormat(asked))
        return OrvFotoRetrieverData::saveFile(asked, folder, name);
    // Before a download that would be for nothing.
    if (folder->isTaken(name))
        return false;
    return withWholeDownload([folder, &name](const QString& path) { return folder->adoptFile(name, path); });
}

bool OrvFotoRetrieverDataAppleImageCapture::withWholeDownload(const std::function<bool(const QString&)>& use) const
{
    const QString path = myDatabase->waitForDownload(myId);
    if (path.isEmpty())
        return false;
    const bool used = OrvMediaLoader::isComplete(path) && use(path);
    QFile::remove(path);
    return used;
}

OrvFoto OrvFotoRetrieverDataAppleImageCapture::foto() const
{
    return OrvFoto(OrvFotoKeyExternalService(myDatabase, myId));
}
