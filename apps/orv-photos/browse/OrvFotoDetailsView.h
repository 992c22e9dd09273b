#pragma once

#include "OrvExternalId.h"
#include "OrvFotoMetaData.h"

#include <QImage>
#include <QPointer>
#include <QWidget>

#include "OrvExternalDatabase.h"
class OrvThumbnailLoader;
class QLabel;

// The selected foto large, with what is known of it: date taken, pixel size,
// rating, location, and the faces as rectangles with the person's name. The
// full-size bitmap and the metadata are fetched on the loader's threads; a
// thumbnail stands in until the full image arrives.
class OrvFotoDetailsView : public QWidget
{
    Q_OBJECT
public:
    explicit OrvFotoDetailsView(OrvThumbnailLoader* loader, QWidget* parent = nullptr);

    void showFoto(OrvExternalDatabase* database, const OrvExternalId& fotoId, const QImage& preview = QImage());
    void clear();

    OrvExternalId fotoId() const { return myFotoId; }
    bool hasFullImage() const { return myFull; }
    bool hasMetaData() const { return myMetaData.isValid(); }
    // The full image's pixel size once it has arrived.
    QSize imageSize() const { return myPixelSize; }
    // The lines shown under the picture, for tests and screenshots.
    QString infoText() const;
    OrvFacePositions faces() const { return myMetaData.faces(); }

signals:
    void fullImageArrived();
    void metaDataArrived();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void onReady(const OrvExternalId& fotoId, const QSize& size, const QImage& image, const QSize& pixelSize);
    void onMetaData(const OrvExternalId& fotoId, const OrvFotoMetaData& metaData);
    void updateInfo();
    QRect pictureRect() const;

    OrvThumbnailLoader* myLoader;
    QPointer<OrvExternalDatabase> myDatabase;
    OrvExternalId myFotoId;
    QString myName;
    QImage myImage;
    QSize myPixelSize;
    bool myFull = false;
    OrvFotoMetaData myMetaData;
    QLabel* myInfo;
};
