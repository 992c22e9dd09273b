#pragma once

// What the benchmark programs measure of their own process.

#include <QByteArray>
#include <QFile>

#include <ctime>

namespace OrvBench {

// CPU time of this process, all threads: the machine is shared, wall time says little about our code.
inline qint64 cpuNs()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
}

// A field of /proc/self/status in KiB: "VmRSS:" (resident now), "VmHWM:" (peak).
inline qint64 statusField(const char* name)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(name))
            return line.mid(int(qstrlen(name))).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

} // namespace OrvBench
