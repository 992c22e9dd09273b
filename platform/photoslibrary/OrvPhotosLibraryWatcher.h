#pragma once

// Watches a library's database folder from a thread of its own and says when
// the database has changed and then stayed quiet for a moment: Photos commits
// in bursts (a dozen transactions within a second), and one look after the
// burst sees them all. The system tells of writes on this machine (inotify on
// Linux); a share written by another machine tells nothing, so the files are
// also looked at every second. Only the database and its log count: the
// shared-memory index changes with every read of Photos itself.

#include "OrvPhotosLibrarySnapshot.h"

#include <QString>

#include <functional>
#include <memory>
#include <thread>

namespace OrvPhotosLibrary {

class Watcher
{
public:
    // Quiet for this long after a change, or this long after the first change of a burst.
    static constexpr int quietMs = 200;
    static constexpr int longestBurstMs = 800;
    static constexpr int pollMs = 1000;

    // Watching has begun when this returns: whatever is written from then on is seen.
    Watcher(const QString& databasePath, std::function<void()> changed);
    // May run on the watcher's own thread (when changed dropped the last owner):
    // the thread then ends on its own once changed returns.
    ~Watcher();
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

private:
    // Shared with the thread, which may outlive the Watcher by one callback.
    struct State
    {
        QString databasePath;
        std::function<void()> changed;
        int wake[2] = {-1, -1};
        int notify = -1;
        ~State();
    };
    static void run(const std::shared_ptr<State>& state, Snapshot::FileStamp database, Snapshot::FileStamp log);

    std::shared_ptr<State> myState;
    std::thread myThread;
};

} // namespace OrvPhotosLibrary
