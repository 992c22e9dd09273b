#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include <functional>
#include <ostream>

// Readable QStrings in test failure messages.
inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }

namespace OrvTest {

// Folder of the checkout and of the build, as ctest passes them.
QString sourceDir();
QString binaryDir();

// A JPEG of the given size with a recognisable pattern; with an EXIF
// orientation tag when orientation is not 1.
QByteArray makeJpeg(int width, int height, int orientation = 1, int quality = 90);
bool writeFile(const QString& path, const QByteArray& bytes);
// The whole file; "(missing)" when it cannot be read.
QByteArray readFile(const QString& path);

// A named pipe at path; false where the file system has none.
bool makeFifo(const QString& path);
// The process's peak resident memory in KiB since the last resetPeakMemory();
// -1 where the system cannot tell (peaks are reset through /proc/self/clear_refs).
bool resetPeakMemory();
qint64 peakMemoryKiB();

// Sets TZ (the machine's time zone) for as long as it lives, then puts it back.
class TimeZone
{
public:
    explicit TimeZone(const char* zone);
    ~TimeZone();
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    QByteArray myOld;
    bool myHadOld;
};

// Runs the event loop until condition holds or timeoutMs passes.
bool waitFor(const std::function<bool()>& condition, int timeoutMs = 5000);

} // namespace OrvTest
