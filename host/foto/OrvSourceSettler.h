#pragma once

#include <QList>
#include <QMutex>
#include <QObject>
#include <QPair>
#include <QSet>
#include <QUrl>

#include <atomic>
#include <functional>
#include <memory>

class OrvExternalDatabase;

// Opens every album of some sources and waits until they have told what they
// hold, for a program that shows a whole source at once (orv-photos tree,
// export). Sources fill albums on demand and announce them on threads of their
// own, at the pace of the library and the machine: 60 000 albums of a large
// library take seconds under load. So the wait goes by what the sources say,
// not by a fixed time: it lasts while any source says it is still gathering
// (isStillGatheringFotos), and then until nothing new has come for a quiet
// time that grows with the longest pause between two announcements seen. Only
// a source that goes silent for stallMs while it says it is busy is given up.
// Waiting for a device to appear is no gathering: that wait is the caller's
// choice (Bounds::waitForDevices).
class OrvSourceSettler
{
public:
    struct Bounds
    {
        int quietMs = 500;     // the least quiet time after the last announcement
        int stallMs = 10000;   // nothing new for this long ends the wait, busy or not
        int totalMs = 600000;  // and this long in all
        // Sources of devices hold nothing until a device appears, and one may never
        // come: when set, a source without any album is waited for (up to
        // totalMs, not stallMs) as if it were gathering.
        bool waitForDevices = false;
        // When set, the caller has what it needs once this holds: with no source
        // busy and every album asked for, the wait ends after graceMs without news
        // instead of the quiet time (an export of one camera's album).
        std::function<bool()> enough;
        int graceMs = 50;
    };

    explicit OrvSourceSettler(const QList<OrvExternalDatabase*>& databases);
    ~OrvSourceSettler();
    OrvSourceSettler(const OrvSourceSettler&) = delete;
    OrvSourceSettler& operator=(const OrvSourceSettler&) = delete;

    // Starts the sources and waits, asking each album once for its content as
    // it appears, running the event loop. False when a bound ended the wait.
    bool settle(const Bounds& bounds);

    // Announcements heard so far (albums and fotos added or removed, loading reports).
    qint64 announcements() const { return myAnnouncements.load(); }
    // The quiet time settle waited for at its end.
    int quietMs() const { return myQuietMs; }

private:
    // pause: whether the time since the last announcement counts as a pause between two.
    void heard(bool pause = true);
    void openNewAlbums();

    QList<OrvExternalDatabase*> myDatabases;
    // Receives the sources' signals, on whichever thread they come.
    std::unique_ptr<QObject> myListener;
    std::atomic<qint64> myAnnouncements{0};
    // Milliseconds of the settler's clock at the last announcement, and the longest pause between two.
    std::atomic<qint64> myLastHeardMs{0};
    std::atomic<qint64> myLongestPauseMs{0};
    std::atomic<bool> myContentHeard{false};
    QMutex myNewAlbumsMutex;
    QList<QPair<OrvExternalDatabase*, QUrl>> myNewAlbums;
    // Main thread only: what was asked for, and when last.
    QSet<QPair<OrvExternalDatabase*, QUrl>> myOpened;
    qint64 myLastAskedMs = 0;
    int myQuietMs = 0;
    struct Clock;
    std::unique_ptr<Clock> myClock;
};
