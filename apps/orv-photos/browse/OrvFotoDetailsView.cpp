#include "OrvFotoDetailsView.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoDate.h"
#include "OrvThumbnailLoader.h"

#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QVBoxLayout>

OrvFotoDetailsView::OrvFotoDetailsView(OrvThumbnailLoader* loader, QWidget* parent)
    : QWidget(parent), myLoader(loader), myInfo(new QLabel(this))
{
    auto* layout = new QVBoxLayout(this);
    layout->addStretch(1);
    myInfo->setWordWrap(true);
    myInfo->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(myInfo);
    setMinimumWidth(260);
    connect(myLoader, &OrvThumbnailLoader::ready, this, &OrvFotoDetailsView::onReady);
    connect(myLoader, &OrvThumbnailLoader::metaDataReady, this, &OrvFotoDetailsView::onMetaData);
}

void OrvFotoDetailsView::clear()
{
    myDatabase = nullptr;
    myFotoId = OrvExternalId();
    myImage = QImage();
    myPixelSize = QSize();
    myFull = false;
    myMetaData = OrvFotoMetaData();
    myName.clear();
    updateInfo();
    update();
}

void OrvFotoDetailsView::showFoto(OrvExternalDatabase* database, const OrvExternalId& fotoId, const QImage& preview)
{
    clear();
    if (!database || !fotoId.isValid())
        return;
    myDatabase = database;
    myFotoId = fotoId;
    myName = database->findExternalFoto(fotoId).name();
    myImage = preview;
    myLoader->request(database, fotoId, FOTO_CACHE_SIZE_FULL, true);
    myLoader->requestMetaData(database, fotoId);
    updateInfo();
    update();
}

void OrvFotoDetailsView::onReady(const OrvExternalId& fotoId, const QSize& size, const QImage& image, const QSize& pixelSize)
{
    if (fotoId != myFotoId || size != FOTO_CACHE_SIZE_FULL)
        return;
    if (!image.isNull()) {
        myImage = image;
        myPixelSize = pixelSize;
        myFull = true;
    }
    updateInfo();
    update();
    emit fullImageArrived();
}

void OrvFotoDetailsView::onMetaData(const OrvExternalId& fotoId, const OrvFotoMetaData& metaData)
{
    if (fotoId != myFotoId)
        return;
    myMetaData = metaData;
    updateInfo();
    update();
    emit metaDataArrived();
}

QString OrvFotoDetailsView::infoText() const { return myInfo->text(); }

void OrvFotoDetailsView::updateInfo()
{
    if (!myFotoId.isValid()) {
        myInfo->clear();
        return;
    }
    QStringList lines{myName};
    // The foto's own date, as the grid and the command line show it; what the file says only without one.
    const QDateTime recorded = myDatabase ? myDatabase->findExternalFoto(myFotoId).taken() : QDateTime();
    const QDateTime taken = OrvFotoDate::isKnown(recorded) ? recorded : myMetaData.pictureTaken();
    lines.append(tr("Aufgenommen: %1")
                     .arg(OrvFotoDate::isKnown(taken) ? OrvFotoDate::toDisplayString(taken, QLocale::LongFormat)
                                                      : tr("unbekannt")));
    const QSize pixels = myFull ? myPixelSize : myMetaData.preferredSize();
    if (pixels.isValid())
        lines.append(tr("Größe: %1 × %2 Pixel").arg(pixels.width()).arg(pixels.height()));
    const int rating = myMetaData.adobeRating();
    if (rating > 0)
        lines.append(tr("Bewertung: %1").arg(QString(rating, QChar(0x2605))));
    else if (rating < 0)
        lines.append(tr("Bewertung: abgelehnt"));
    const OrvGeoPosition position = myMetaData.geoPosition();
    if (position.isValid())
        lines.append(tr("Ort: %1, %2").arg(position.latitude(), 0, 'f', 5).arg(position.longitude(), 0, 'f', 5));
    QStringList people;
    for (const OrvFacePosition& face : myMetaData.faces())
        people.append(face.name.isEmpty() ? tr("(ohne Namen)") : face.name);
    if (!people.isEmpty())
        lines.append(tr("Gesichter: %1").arg(people.join(QStringLiteral(", "))));
    myInfo->setText(lines.join(QLatin1Char('\n')));
}

QRect OrvFotoDetailsView::pictureRect() const
{
    const QRect area = rect().adjusted(8, 8, -8, -8 - myInfo->sizeHint().height());
    if (myImage.isNull() || area.width() <= 0 || area.height() <= 0)
        return QRect();
    const QSize fitted = myImage.size().scaled(area.size(), Qt::KeepAspectRatio);
    return QRect(area.topLeft() + QPoint((area.width() - fitted.width()) / 2, (area.height() - fitted.height()) / 2), fitted);
}

void OrvFotoDetailsView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QRect picture = pictureRect();
    if (picture.isEmpty())
        return;
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(picture, myImage);
    // Face rectangles are fractions of the image, origin top left.
    painter.setRenderHint(QPainter::Antialiasing);
    for (const OrvFacePosition& face : myMetaData.faces()) {
        const QRectF box(picture.x() + face.rect.x() * picture.width(), picture.y() + face.rect.y() * picture.height(),
                         face.rect.width() * picture.width(), face.rect.height() * picture.height());
        painter.setPen(QPen(QColor(255, 210, 0), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(box);
        if (!face.name.isEmpty()) {
            const QRectF label = painter.boundingRect(QRectF(box.bottomLeft(), QSizeF(400, 40)), Qt::AlignLeft | Qt::AlignTop, face.name)
                                     .adjusted(-3, -1, 3, 1);
            painter.fillRect(label, QColor(0, 0, 0, 170));
            painter.setPen(Qt::white);
            painter.drawText(label, Qt::AlignCenter, face.name);
        }
    }
}
