#pragma once

#include <QDateTime>
#include <QString>

// A creation time to stamp onto a file.
class OrvCTime
{
public:
    explicit OrvCTime(const QDateTime& time) : myTime(time) {}
    const QDateTime& time() const { return myTime; }
    // Sets modification and access time (and birth time where the file system
    // allows it); false for an invalid time or a file that cannot be changed.
    bool writeTo(const QString& path) const;

private:
    QDateTime myTime;
};
