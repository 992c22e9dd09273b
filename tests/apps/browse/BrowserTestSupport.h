#pragma once

// What the browser's tests share: the libraries they browse (an iPhoto
// library of real JPEGs with albums in folders, and the sample Photos
// library), a source whose bitmaps wait at a gate, and small helpers.

#include "OrvExternalDatabase.h"
#include "OrvExternalId.h"
#include "sim/OrvPhotoKitSimLibrary.h"

#include <QSize>
#include <QSet>
#include <QStringList>
#include <QTemporaryDir>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

class OrvBrowserWindow;
class QAbstractItemModel;
class QModelIndex;
class QWidget;

namespace BrowserTest {

// The iPhoto library: fotos 1 to 30 in "Holiday"; the folder "Trips" holds
// "Coast" (3, 1, 2), the folder "Old" with "Hills" (5, 1) and the empty
// folder "Nothing"; "Mixed" lists 31 (b.jpg, taken last), 32 (c.jpg, first)
// and 33 (a.jpg) in that order. Dates are clock times (no place).
struct Libraries
{
    QTemporaryDir dir;
    std::shared_ptr<OrvPhotoKitSim::Library> photos;
};
Libraries& libraries();

OrvExternalDatabase* iphoto();
OrvExternalDatabase* photokit();
OrvExternalId iphotoFoto(int n);
OrvExternalId iphotoAlbum(int n);

// The remote ids of the selected fotos, sorted.
QStringList selectedIds(OrvBrowserWindow& window);
// Names of the rows below parent.
QStringList childNames(const QAbstractItemModel& model, const QModelIndex& parent);
// Saves a picture of the widget under the build folder (screenshots/).
void screenshot(QWidget& widget, const QString& name);

// A source of made-up bitmaps. Drawables of gatedSize (all sizes when it is
// empty) wait at a gate: while it is closed each permit lets one through.
struct GatedSource : OrvExternalDatabase
{
    GatedSource();
    OrvFotoRetrieverInterface* createRetrieverInterface(const OrvExternalId& id) const override;

    OrvExternalId foto(const QString& name) const;
    // Announces an album of fotos with these names.
    OrvExternalId addAlbum(const QString& name, const QStringList& fotoNames);

    void setOpen(bool open);
    void permit(int count);
    // Fotos whose bitmap is not there yet answer the host's placeholder, as a
    // camera does until it has read the thumbnail; arrive announces it as a camera does.
    void setLate(const QStringList& names);
    void arrive(const QString& name);
    // Drawables waiting at the closed gate now.
    int waiting() const;
    QStringList served() const;

    mutable std::mutex mutex;
    std::condition_variable changed;
    bool open = true;
    int permits = 0;
    int atGate = 0;
    QSize gatedSize;
    QStringList servedIds;  // remote ids in the order they were drawn
    QSet<QString> late;
    bool offMainThread = true;
    // Bitmaps this much wider than asked for, as an aspect fill gives them.
    double widerBy = 1.0;
    // Where valid, the date the fotos' metadata gives (as a camera's does); whether it was read on the main thread.
    QDateTime metaDataTaken;
    std::atomic<bool> metaDataOnMain{false};
};

} // namespace BrowserTest
