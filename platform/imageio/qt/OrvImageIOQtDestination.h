#pragma once

#include "OrvImageIO.h"

#include <vector>

// An image destination of one type: the images wait until finalize encodes
// them and writes their properties.
class OrvImageIOQtDestination : public OrvImageIO::ImageDestination
{
public:
    OrvImageIOQtDestination(QByteArray* data, const QString& type, int count);

    void addImageFromSource(const OrvImageIO::ImageSourcePtr& source, int index,
                            const std::optional<OrvImageIO::Properties>& properties) override;
    void addImage(const QImage& image, const std::optional<OrvImageIO::Properties>& properties) override;
    bool finalize() override;

private:
    struct Pending
    {
        OrvImageIO::ImageSourcePtr source;
        int index = 0;
        QImage image;
        std::optional<OrvImageIO::Properties> properties;
    };
    bool encode(const Pending& pending, QByteArray* out) const;

    QByteArray* myData;
    QString myType;
    int myCount;
    std::vector<Pending> myImages;
    bool myFinalized = false;
};
