#pragma once

#include "OrvApplePhotosDatabase.h"
#include "OrvMediaLibraryLoader.h"
#include "sim/OrvMediaLibrarySimBackend.h"

#include <gtest/gtest.h>

#include <QMutex>
#include <QTemporaryDir>

#include <memory>

// What the source told the host, in order, and on which thread.
struct MediaLibraryHeard
{
    QList<OrvExternalAlbum> added;
    QList<QPair<OrvExternalFotoList, OrvExternalId>> inserted;
    QList<OrvExternalFoto> insertedAlone;
    QList<bool> loading;
    int onMainThread = 0;
    int offMainThread = 0;
};

// A fresh simulated MediaLibrary as the backend, a library description in a
// folder of its own, a fresh source on it and a record of what it reports.
class MediaLibraryTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // The library: the bundled sample, or a description written here; files it
    // names that end in ".jpg" are made as small JPEGs first.
    void useSample();
    void useLibrary(const QByteArray& json, const QStringList& jpegs = {});
    OrvApplePhotosDatabase& source();
    // Starts the source and waits until the framework delivered its tree.
    void start();
    void open(const QString& groupIdentifier);
    void settle();

    OrvExternalFotoList fotosOf(const QString& groupIdentifier) const;
    QStringList albumNames() const;
    int insertionsInto(const QString& groupIdentifier) const;
    MediaLibraryHeard heard() const;

    static OrvExternalId albumId(const QString& identifier) { return OrvMediaLibraryLoader::albumIdForGroup(identifier); }
    static OrvExternalId fotoId(const QString& identifier) { return OrvMediaLibraryLoader::fotoIdForObject(identifier); }

    QTemporaryDir dir;
    std::shared_ptr<OrvMediaLibrarySim::Backend> backend;
    std::unique_ptr<OrvApplePhotosDatabase> database;

private:
    std::shared_ptr<MediaLibraryHeard> myHeard = std::make_shared<MediaLibraryHeard>();
    std::shared_ptr<QMutex> myHeardMutex = std::make_shared<QMutex>();
};
