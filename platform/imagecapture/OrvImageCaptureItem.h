#pragma once

// Camera items as backends list them: what the device tells of an item is
// fixed when it is listed; the thumbnail arrives later, from the backend's
// thread. location is the backend's own reference to the item (a file on a
// simulated storage, a folder on a camera).

#include "OrvImageCapture.h"

#include <functional>
#include <mutex>

namespace OrvImageCapture {

struct ItemFields
{
    QString name;
    QString uti;
    QDateTime creationDate;
    std::shared_ptr<const CameraFolder> parent;
    std::weak_ptr<CameraDevice> device;
    QString location;
};

class ListedFolder : public CameraFolder
{
public:
    explicit ListedFolder(ItemFields fields) : myFields(std::move(fields)) {}
    QString name() const override { return myFields.name; }
    QString UTI() const override { return myFields.uti; }
    std::shared_ptr<const CameraFolder> parentFolder() const override { return myFields.parent; }
    std::shared_ptr<CameraDevice> device() const override { return myFields.device.lock(); }
    QDateTime creationDate() const override { return myFields.creationDate; }
    QImage thumbnailIfAvailable() const override { return {}; }
    const QString& location() const { return myFields.location; }

private:
    ItemFields myFields;
};

class ListedFile : public CameraFile
{
public:
    // A date that costs a read of the file (when a photo was taken) is read when
    // first asked for, by dater on the thread that asks; fields.creationDate then is unused.
    using Dater = std::function<QDateTime()>;
    ListedFile(ItemFields fields, qint64 size, Dater dater = {})
        : myFields(std::move(fields)), mySize(size), myDater(std::move(dater)), myDate(myFields.creationDate)
    {
    }
    QString name() const override { return myFields.name; }
    QString UTI() const override { return myFields.uti; }
    std::shared_ptr<const CameraFolder> parentFolder() const override { return myFields.parent; }
    std::shared_ptr<CameraDevice> device() const override { return myFields.device.lock(); }
    QDateTime creationDate() const override;
    QImage thumbnailIfAvailable() const override;
    qint64 fileSize() const override { return mySize; }
    // Where the date is still to be read: found gives it from what the backend
    // has at hand (a download's first bytes); an invalid one leaves it to the dater.
    void dateFrom(const std::function<QDateTime()>& found) const;
    const QString& location() const { return myFields.location; }

    // Set by the backend once it has read the thumbnail; a null image forgets it.
    void setThumbnail(const QImage& thumbnail) const;

private:
    ItemFields myFields;
    qint64 mySize;
    mutable std::mutex myMutex;
    mutable QImage myThumbnail;
    mutable std::mutex myDateMutex;
    mutable Dater myDater;  // until the date is known
    mutable QDateTime myDate;
};

} // namespace OrvImageCapture
