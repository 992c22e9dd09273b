#pragma once

#include "OrvExternalAlbum.h"
#include "OrvPhotoKitDatabase.h"
#include "OrvPhotoKitLoader.h"
#include "sim/OrvPhotoKitSimLibrary.h"

#include <gtest/gtest.h>

#include <QMutex>
#include <QThread>

#include <memory>

// One logged debug line with where it came from.
struct LoggedLine
{
    QString text;
    QString function;
    bool onMainThread = false;
};

// What the source told the host, in order.
struct Heard
{
    QList<OrvExternalAlbum> added;
    QList<bool> addedOnMainThread;
    QList<QPair<OrvExternalFotoList, OrvExternalId>> inserted;
    QList<QPair<QList<OrvExternalId>, OrvExternalId>> removed;
    QList<OrvExternalId> albumsRemoved;
    QList<QPair<OrvExternalId, QString>> renamed;
    QStringList order;  // "fotosRemoved", "albumRemoved", ... as they came
    QList<bool> loading;
    bool allOnMainThread = true;
};

// A fresh simulated library shared as the PhotoKit library, a fresh source on
// it, and a record of everything the source reports and logs.
class PhotoKitTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // Makes the source; call after building the library.
    OrvPhotoKitDatabase& source();
    void open(const OrvExternalId& id) { source().fetchMore(id.toUrl()); }
    // Waits until the library's queue and the main queue have delivered everything.
    void settle();

    QStringList topLevelNames() const;
    QList<OrvExternalId> childIds(const OrvExternalId& parent) const;
    OrvExternalFotoList fotosOf(const OrvExternalId& album) const;
    int fetchesOf(const OrvExternalId& album) const;
    bool logged(const QString& text, LoggedLine* line = nullptr) const;

    static OrvExternalId id(const QString& type, const QString& remote = QString())
    {
        return OrvExternalId(QStringLiteral("photokit"), type, remote);
    }
    static OrvExternalId albumId(const QString& localIdentifier)
    {
        return id(QStringLiteral("album"), OrvPhotoKitDatabase::fromLocalIdentifier(localIdentifier));
    }
    static OrvExternalId folderId(const QString& localIdentifier)
    {
        return id(QStringLiteral("folder"), OrvPhotoKitDatabase::fromLocalIdentifier(localIdentifier));
    }
    static OrvExternalId fotoId(const QString& localIdentifier)
    {
        return id(QStringLiteral("foto"), OrvPhotoKitDatabase::fromLocalIdentifier(localIdentifier));
    }
    static QDateTime utc(const QString& iso) { return QDateTime::fromString(iso, Qt::ISODate).toUTC(); }
    static OrvPhotoKitSim::AssetSpec asset(const QString& id, const QString& created, bool favorite = false);
    static OrvPhotoKitSim::CollectionSpec album(const QString& id, const QString& title, const QStringList& assets = {},
                                                const QString& parent = QString());
    static OrvPhotoKitSim::CollectionSpec folder(const QString& id, const QString& title, const QString& parent = QString());

    std::shared_ptr<OrvPhotoKitSim::Library> library;
    std::unique_ptr<OrvPhotoKitDatabase> database;
    std::shared_ptr<Heard> heard = std::make_shared<Heard>();
    std::shared_ptr<QMutex> heardMutex = std::make_shared<QMutex>();
};
