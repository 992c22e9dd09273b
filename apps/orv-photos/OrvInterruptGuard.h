#pragma once

#include <QSocketNotifier>

#include <csignal>
#include <functional>
#include <memory>

// Catches SIGINT and SIGTERM while it lives, so that a long command can end in
// order: the first one calls stop on the thread the guard was made on (through
// the event loop, not in the signal handler); from then on a signal ends the
// program as it would have without the guard. One guard at a time.
class OrvInterruptGuard
{
public:
    explicit OrvInterruptGuard(const std::function<void()>& stop);
    ~OrvInterruptGuard();
    OrvInterruptGuard(const OrvInterruptGuard&) = delete;
    OrvInterruptGuard& operator=(const OrvInterruptGuard&) = delete;

private:
    void restore();

    std::unique_ptr<QSocketNotifier> myNotifier;
    struct sigaction myOldInt {};
    struct sigaction myOldTerm {};
    bool myInstalled = false;
};
