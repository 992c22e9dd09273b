#include "OrvFotoRetrieverDataAppleImageCapture.h"

#include "OrvAppleImageCaptureDatabase.h"
#include "OrvMediaLoader.h"

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

bool OrvFotoRetrieverDataAppleImageCapture::writeFile(const OrvMediaFormat& format, QIODevice* target)
{
    // "As stored" is the item's own format.
    const OrvMediaFormat asked =
        format.isValid() ? format : OrvMediaFormat(QFileInfo(myDatabase->filenameHint(myId, QSize(-1, -1))));
    if (!target || !isSourceFormat(asked))
        return OrvFotoRetrieverData::writeFile(asked, target);
    const QString path = myDatabase->waitForDownload(myId);
    if (path.isEmpty())
        return false;
    // Copied as it came, with the same check of the image as every copy of a file.
    myDescriptor = OrvMediaDescriptor(QFileInfo(path), OrvVideoFrameIndex());
    const bool written = copyThisFile(target);
    myDescriptor = OrvMediaDescriptor();
    QFile::remove(path);
    return written;
}

OrvFoto OrvFotoRetrieverDataAppleImageCapture::foto() const
{
    return OrvFoto(OrvFotoKeyExternalService(myDatabase, myId));
}
