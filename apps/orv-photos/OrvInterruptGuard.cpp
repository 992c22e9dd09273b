#include "OrvInterruptGuard.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

// The signal as a byte on a pipe, read by the event loop.
int interruptPipe[2] = {-1, -1};

void onInterrupt(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t ignored = ::write(interruptPipe[1], &byte, 1);
}

} // namespace

OrvInterruptGuard::OrvInterruptGuard(const std::function<void()>& stop)
{
    if (::pipe2(interruptPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    myNotifier = std::make_unique<QSocketNotifier>(interruptPipe[0], QSocketNotifier::Read);
    QObject::connect(myNotifier.get(), &QSocketNotifier::activated, [this, stop] {
        char byte = 0;
        while (::read(interruptPipe[0], &byte, 1) > 0) {
        }
        restore();
        stop();
    });
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, &myOldInt);
    ::sigaction(SIGTERM, &action, &myOldTerm);
    myInstalled = true;
}

OrvInterruptGuard::~OrvInterruptGuard()
{
    restore();
    myNotifier.reset();
    for (int& fd : interruptPipe) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}

void OrvInterruptGuard::restore()
{
    if (!myInstalled)
        return;
    myInstalled = false;
    ::sigaction(SIGINT, &myOldInt, nullptr);
    ::sigaction(SIGTERM, &myOldTerm, nullptr);
}
