// Time and peak memory of reading an iPhoto library file the way the iPhoto
// source does (parser, then the data pool with albums, persons and month
// albums), next to libplist and Python's plistlib on the same file.
//
//   bench_iphoto_parse [--rounds N] [--no-peers] [--dom] FILE...
//
// Every measurement runs in a fresh child process, so that one reader's heap
// never inflates another's peak; the peak is the child's ru_maxrss. Times are
// the child's own (reading and parsing, without process start), the median of
// the rounds; the peak is the largest of the rounds. The CPU time of the child
// is printed too: on a busy machine it says more than the wall time.

#include "OrvExternalPools.h"
#include "OrvIPhotoDatabaseParser.h"
#include "OrvXMLLoader.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

// What one child reported.
struct Sample
{
    bool ok = false;
    double seconds = 0;   // the child's own time for the work
    double cpuSeconds = 0; // user plus system time of the whole child
    double peakMb = 0;    // ru_maxrss of the child
    long entries = -1;    // photos the reader found
    QString detail;
};

// -- child side ---------------------------------------------------------------

int measureParser(const QString& path)
{
    QElapsedTimer timer;
    timer.start();

    // What OrvIPhotoDatabase::parseFile does, without the source around it.
    OrvIPhotoDatabaseParser parser(OrvExternalUrlBuilder(QStringLiteral("iphoto")));
    parser.parse(QFileInfo(path));
    const qint64 parsedNs = timer.nsecsElapsed();

    const OrvExternalDataPool pool = parser.dataPool();
    const qint64 totalNs = timer.nsecsElapsed();

    std::printf("elapsed=%.6f entries=%d parse=%.6f pools=%.6f albums=%d persons=%d months=%d readers=%d\n", totalNs / 1e9,
                pool.countFotos(), parsedNs / 1e9, (totalNs - parsedNs) / 1e9, parser.albums().size(),
                parser.persons().size(), pool.countAlbums() - parser.albums().size() - parser.persons().size(), parser.readers());
    return 0;
}

// The host's DOM load alone: the floor under any reader built on it (--dom).
int measureDom(const QString& path)
{
    QElapsedTimer timer;
    timer.start();
    const QDomElement root = OrvXMLLoader::loadDocumentElement(QFileInfo(path));
    const QDomElement top = root.firstChildElement(QStringLiteral("dict"));
    const double seconds = timer.nsecsElapsed() / 1e9;
    std::printf("elapsed=%.6f entries=-1\n", seconds);
    return top.isNull() ? 1 : 0;
}

// -- parent side --------------------------------------------------------------

double medianOf(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// Runs argv in a child with its standard output in a pipe; the peak comes from wait4.
Sample runChild(const QStringList& arguments)
{
    Sample sample;
    std::vector<std::string> storage;
    for (const QString& argument : arguments)
        storage.push_back(argument.toStdString());
    std::vector<char*> argv;
    for (std::string& argument : storage)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    int fds[2];
    if (pipe(fds) != 0)
        return sample;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, fds[0]);
    posix_spawn_file_actions_addclose(&actions, fds[1]);
    pid_t pid = 0;
    const int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(fds[1]);
    if (spawned != 0) {
        close(fds[0]);
        sample.detail = QStringLiteral("cannot start %1").arg(arguments.first());
        return sample;
    }
    QByteArray output;
    char buffer[4096];
    ssize_t got = 0;
    while ((got = read(fds[0], buffer, sizeof buffer)) > 0)
        output.append(buffer, got);
    close(fds[0]);

    int status = 0;
    rusage usage {};
    if (wait4(pid, &status, 0, &usage) != pid)
        return sample;
    sample.peakMb = usage.ru_maxrss / 1024.0; // kilobytes on Linux
    sample.cpuSeconds = usage.ru_utime.tv_sec + usage.ru_stime.tv_sec
        + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        sample.detail = QStringLiteral("failed (status %1)").arg(status);
        return sample;
    }
    for (const QByteArray& field : output.trimmed().split(' ')) {
        if (field.startsWith("elapsed=")) {
            sample.seconds = field.mid(8).toDouble(&sample.ok);
        } else if (field.startsWith("entries=")) {
            sample.entries = field.mid(8).toLong();
        } else {
            sample.detail += (sample.detail.isEmpty() ? QString() : QStringLiteral(" ")) + QString::fromUtf8(field);
        }
    }
    return sample;
}

struct Reader
{
    QString name;
    QStringList command; // the file is appended
};

Sample measure(const Reader& reader, const QString& file, int rounds)
{
    std::vector<double> times;
    std::vector<double> cpuTimes;
    Sample result;
    for (int round = 0; round < rounds; ++round) {
        Sample sample = runChild(reader.command + QStringList{file});
        if (!sample.ok)
            return sample;
        times.push_back(sample.seconds);
        cpuTimes.push_back(sample.cpuSeconds);
        result.peakMb = std::max(result.peakMb, sample.peakMb);
        result.entries = sample.entries;
        result.detail = sample.detail;
    }
    result.ok = true;
    result.seconds = medianOf(times);
    result.cpuSeconds = medianOf(cpuTimes);
    return result;
}

void usage()
{
    std::fprintf(stderr, "usage: bench_iphoto_parse [--rounds N] [--no-peers] [--dom] FILE...\n"
                         "       bench_iphoto_parse --measure FILE | --measure-dom FILE\n");
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList arguments = app.arguments().mid(1);
    if (arguments.size() == 2 && arguments.first() == QLatin1String("--measure"))
        return measureParser(arguments.at(1));
    if (arguments.size() == 2 && arguments.first() == QLatin1String("--measure-dom"))
        return measureDom(arguments.at(1));

    int rounds = 3;
    bool peers = true;
    bool dom = false;
    QStringList files;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--rounds") && i + 1 < arguments.size()) {
            rounds = std::max(1, arguments.at(++i).toInt());
        } else if (argument == QLatin1String("--no-peers")) {
            peers = false;
        } else if (argument == QLatin1String("--dom")) {
            dom = true;
        } else if (argument.startsWith(QLatin1String("--"))) {
            usage();
            return 2;
        } else {
            files.append(argument);
        }
    }
    if (files.isEmpty()) {
        usage();
        return 2;
    }

    const QString self = app.applicationFilePath();
    const QString binDir = app.applicationDirPath();
    QList<Reader> readers{{QStringLiteral("OrvIPhotoDatabaseParser + pools"), {self, QStringLiteral("--measure")}}};
    // What a reader built on the host's DOM loader would pay before its walk (some GB at 100 000 photos).
    if (dom)
        readers.append({QStringLiteral("OrvXMLLoader DOM load only"), {self, QStringLiteral("--measure-dom")}});
    if (peers) {
        readers.append({QStringLiteral("libplist plist_from_xml"), {binDir + QStringLiteral("/bench_plist_peer")}});
        const QString python = QStandardPaths::findExecutable(QStringLiteral("python3"));
        readers.append({QStringLiteral("Python plistlib.load"),
                        {python, QStringLiteral(ORV_BENCH_SOURCE_DIR "/plistlib_peer.py")}});
    }

    std::printf("%-22s %-32s %8s %8s %8s %7s %7s  %s\n", "file", "reader", "time s", "cpu s", "peak MB", "time x",
                "peak x", "photos / notes");
    for (const QString& file : files) {
        const QString label = QFileInfo(file).fileName();
        Sample ours;
        for (int r = 0; r < readers.size(); ++r) {
            const Reader& reader = readers.at(r);
            const Sample sample = measure(reader, file, rounds);
            if (r == 0)
                ours = sample;
            if (!sample.ok) {
                std::printf("%-22s %-32s %s\n", qPrintable(label), qPrintable(reader.name),
                            qPrintable(sample.detail.isEmpty() ? QStringLiteral("failed") : sample.detail));
                continue;
            }
            // Ratios say how many times slower and bigger a reader is than ours.
            const bool ratios = ours.ok && ours.seconds > 0 && ours.peakMb > 0;
            std::printf("%-22s %-32s %8.3f %8.3f %8.1f %7s %7s  %s%s\n", qPrintable(r == 0 ? label : QString()),
                        qPrintable(reader.name), sample.seconds, sample.cpuSeconds, sample.peakMb,
                        ratios ? qPrintable(QString::number(sample.seconds / ours.seconds, 'f', 2)) : "-",
                        ratios ? qPrintable(QString::number(sample.peakMb / ours.peakMb, 'f', 2)) : "-",
                        sample.entries >= 0 ? qPrintable(QString::number(sample.entries) + QStringLiteral(" ")) : "",
                        qPrintable(sample.detail));
        }
        std::fflush(stdout);
    }
    std::printf("time: the reader's own, median of %d rounds, each in a fresh process; cpu: user+system of the\n"
                "whole process (start included), median; peak: largest ru_maxrss; x: reader / ours\n",
                rounds);
    return 0;
}
