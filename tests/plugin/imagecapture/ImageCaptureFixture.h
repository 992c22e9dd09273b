#pragma once

#include "OrvAppleImageCaptureDatabase.h"
#include "OrvAppleImageCaptureInterface.h"
#include "sim/OrvImageCaptureSim.h"

#include <gtest/gtest.h>

#include <QMutex>
#include <QStringList>
#include <QTemporaryDir>

// Simulated devices, a fresh Image Capture source on them, and a record of what
// the source told the host. Downloads wait for a short while only, so that the
// time limit can be reached.
class ImageCaptureTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    OrvAppleImageCaptureDatabase& source();
    // A camera whose storage is a folder of files (paths relative to it: bytes).
    std::shared_ptr<OrvImageCaptureSim::Device> plugCamera(const QString& name, const QMap<QString, QByteArray>& files,
                                                           OrvImageCaptureSim::DeviceSpec spec = {});
    // Waits until the device's album holds count fotos.
    bool waitForFotos(const std::shared_ptr<OrvImageCaptureSim::Device>& device, int count);
    // Lets the devices' threads and the main thread deliver what they have.
    void settle();

    OrvExternalId albumId(const std::shared_ptr<OrvImageCaptureSim::Device>& device) const;
    OrvExternalFotoList fotosOf(const std::shared_ptr<OrvImageCaptureSim::Device>& device) const;
    QStringList namesOf(const std::shared_ptr<OrvImageCaptureSim::Device>& device) const;
    QStringList downloadedFiles() const;
    static QByteArray jpeg(int width = 64, int height = 48);

    QTemporaryDir storage;
    std::unique_ptr<OrvAppleImageCaptureDatabase> database;
    QStringList heard;  // "albumAdded <name>", "albumRemoved <name>", "fotosInserted <n>", "loading <b>", "bitmap <w>x<h>"
    QStringList logLines;
};

// Short waits: a worker gives up after 40 × 25 ms, the main thread after 40 passes of up to 15 ms.
inline OrvAppleImageCaptureDatabase::WaitBounds shortWait() { return {40, 25, 5, 10}; }
