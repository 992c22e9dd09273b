#pragma once

// What the benchmarks of Photos library packages (.photoslibrary) share: the
// package read by the PhotoKit backend over it and installed as the shared
// library, as the host program does with --photos-library, and a wait that
// keeps the event loop turning (the source reports on the main thread).

#include "BenchSupport.h"
#include "OrvExternalId.h"
#include "OrvImageIOQt.h"
#include "photoslibrary/OrvPhotosLibrary.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QString>
#include <QThread>

#include <cstdio>
#include <ctime>

namespace OrvBench {

inline bool installPhotosLibrary(const QString& package)
{
    QString error;
    std::shared_ptr<OrvPhotoKit::PhotoLibrary> library = OrvPhotosLibrary::openLibrary(package, &error);
    if (!library) {
        std::fprintf(stderr, "cannot read %s: %s\n", qPrintable(package), qPrintable(error));
        return false;
    }
    OrvPhotosLibrary::install(library);
    OrvImageIOQt::install();
    return true;
}

// Turns the event loop until done() holds; false when timeoutMs passed first.
template <typename Done>
bool runUntil(Done done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        if (!done())
            QThread::usleep(200);
    }
    return true;
}

// CLOCK_MONOTONIC, the clock that other processes' time stamps (Python's time.monotonic_ns) read.
inline qint64 monotonicNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
}

inline OrvExternalId allPhotosId()
{
    return OrvExternalId(QStringLiteral("photokit"), QStringLiteral("all"), QString());
}

// The benchmarks run without a display unless one is asked for.
inline void useOffscreenPlatform()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

// The package named first on the command line; empty (and the usage on stderr) without one.
inline QString packageArgument(const QStringList& arguments, const char* usage)
{
    if (arguments.isEmpty() || arguments.first().startsWith(QLatin1String("--"))) {
        std::fprintf(stderr, "usage: %s\n", usage);
        return QString();
    }
    return arguments.first();
}

// The value of "--name VALUE" in arguments, or fallback.
inline QString option(const QStringList& arguments, const QString& name, const QString& fallback = QString())
{
    const qsizetype at = arguments.indexOf(name);
    return at >= 0 && at + 1 < arguments.size() ? arguments.at(at + 1) : fallback;
}

} // namespace OrvBench
