#include "OrvPhotosLibraryWatcher.h"

#include "OrvPhotosLibrarySnapshot.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/inotify.h>
#endif

namespace OrvPhotosLibrary {

namespace {

using Clock = std::chrono::steady_clock;

int elapsedMs(Clock::time_point since)
{
    return int(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count());
}

} // namespace

Watcher::State::~State()
{
    for (int fd : {wake[0], wake[1], notify}) {
        if (fd >= 0)
            ::close(fd);
    }
}

Watcher::Watcher(const QString& databasePath, std::function<void()> changed) : myState(std::make_shared<State>())
{
    myState->databasePath = databasePath;
    myState->changed = std::move(changed);
    if (::pipe(myState->wake) != 0) {
        myState->wake[0] = myState->wake[1] = -1;
    } else {
        ::fcntl(myState->wake[0], F_SETFD, FD_CLOEXEC);
        ::fcntl(myState->wake[1], F_SETFD, FD_CLOEXEC);
    }
#ifdef __linux__
    myState->notify = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (myState->notify >= 0
        && inotify_add_watch(myState->notify, QFile::encodeName(QFileInfo(databasePath).absolutePath()).constData(),
                             IN_MODIFY | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB)
            < 0) {
        ::close(myState->notify);
        myState->notify = -1;
    }
#endif
    myThread = std::thread(&Watcher::run, myState, Snapshot::FileStamp::of(databasePath),
                           Snapshot::FileStamp::of(databasePath + QStringLiteral("-wal")));
}

Watcher::~Watcher()
{
    if (myState->wake[1] >= 0) {
        const char stop = 1;
        [[maybe_unused]] const ssize_t written = ::write(myState->wake[1], &stop, 1);
    }
    if (std::this_thread::get_id() == myThread.get_id())
        myThread.detach();
    else
        myThread.join();
}

void Watcher::run(const std::shared_ptr<State>& state, Snapshot::FileStamp database, Snapshot::FileStamp log)
{
    const QString databasePath = state->databasePath;
    const QString logPath = databasePath + QStringLiteral("-wal");
    const QByteArray databaseName = QFile::encodeName(QFileInfo(databasePath).fileName());
    const int notify = state->notify;
    bool pending = false;
    Clock::time_point first;
    Clock::time_point last;
    Clock::time_point polled = Clock::now();
    for (;;) {
        int timeout = pollMs - elapsedMs(polled);
        if (pending)
            timeout = std::min(quietMs - elapsedMs(last), longestBurstMs - elapsedMs(first));
        pollfd fds[2] = {{state->wake[0], POLLIN, 0}, {notify, POLLIN, 0}};
        const int ready = ::poll(fds, notify >= 0 ? 2 : 1, std::max(0, timeout));
        if (ready < 0 && errno != EINTR)
            break;
        if (state->wake[0] < 0 || (fds[0].revents & (POLLIN | POLLHUP | POLLNVAL)) != 0)
            break;
        bool touched = false;
#ifdef __linux__
        if (notify >= 0 && (fds[1].revents & POLLIN) != 0) {
            alignas(inotify_event) char buffer[4096];
            for (ssize_t size; (size = ::read(notify, buffer, sizeof buffer)) > 0;) {
                for (ssize_t at = 0; at + ssize_t(sizeof(inotify_event)) <= size;) {
                    const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
                    const QByteArray name(event->len > 0 ? event->name : "");
                    if (name.startsWith(databaseName) && !name.endsWith("-shm"))
                        touched = true;
                    at += ssize_t(sizeof(inotify_event)) + event->len;
                }
            }
        }
#endif
        if (elapsedMs(polled) >= pollMs) {
            polled = Clock::now();
            const Snapshot::FileStamp nowDatabase = Snapshot::FileStamp::of(databasePath);
            const Snapshot::FileStamp nowLog = Snapshot::FileStamp::of(logPath);
            touched = touched || nowDatabase != database || nowLog != log;
            database = nowDatabase;
            log = nowLog;
        }
        if (touched) {
            last = Clock::now();
            if (!pending)
                first = last;
            pending = true;
        }
        if (pending && (elapsedMs(last) >= quietMs || elapsedMs(first) >= longestBurstMs)) {
            pending = false;
            database = Snapshot::FileStamp::of(databasePath);
            log = Snapshot::FileStamp::of(logPath);
            // The last owner may let go in here; the stop it writes is read next round.
            state->changed();
        }
    }
}

} // namespace OrvPhotosLibrary
