#include "TestSupport.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImageWriter>
#include <QPainter>
#include <QThread>

#include <sys/stat.h>

#include <ctime>

namespace OrvTest {

QString sourceDir()
{
    const QString dir = qEnvironmentVariable("ORV_SOURCE_DIR");
    return dir.isEmpty() ? QDir::currentPath() : dir;
}

QString binaryDir()
{
    const QString dir = qEnvironmentVariable("ORV_BINARY_DIR");
    return dir.isEmpty() ? QDir::currentPath() : dir;
}

static void appendExifOrientation(QByteArray& jpeg, int orientation)
{
    // APP1 with a minimal little-endian TIFF holding one IFD entry (0x0112).
    QByteArray tiff;
    tiff.append("II*\0", 4);
    tiff.append("\x08\0\0\0", 4);
    tiff.append("\x01\0", 2);                 // one entry
    tiff.append("\x12\x01\x03\0", 4);         // tag 0x0112, type SHORT
    tiff.append("\x01\0\0\0", 4);             // count 1
    tiff.append(char(orientation));
    tiff.append("\0\0\0", 3);
    tiff.append("\0\0\0\0", 4);               // no next IFD
    QByteArray app1("Exif\0\0", 6);
    app1.append(tiff);
    const int length = app1.size() + 2;
    QByteArray segment;
    segment.append("\xFF\xE1", 2);
    segment.append(char((length >> 8) & 0xFF));
    segment.append(char(length & 0xFF));
    segment.append(app1);
    jpeg.insert(2, segment);  // right after SOI
}

QByteArray makeJpeg(int width, int height, int orientation, int quality)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.fillRect(0, 0, width / 2, height / 2, Qt::red);       // top left marks orientation
    painter.fillRect(width / 2, height / 2, width - width / 2, height - height / 2, Qt::blue);
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(quality);
    writer.write(image);
    if (orientation != 1)
        appendExifOrientation(bytes, orientation);
    return bytes;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

bool makeFifo(const QString& path)
{
    QFile::remove(path);
    return ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0;
}

bool resetPeakMemory()
{
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    return clear.open(QIODevice::WriteOnly) && clear.write("5") == 1;
}

qint64 peakMemoryKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

bool waitFor(const std::function<bool()>& condition, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

TimeZone::TimeZone(const char* zone) : myOld(qgetenv("TZ")), myHadOld(qEnvironmentVariableIsSet("TZ"))
{
    qputenv("TZ", zone);
    tzset();
}

TimeZone::~TimeZone()
{
    if (myHadOld)
        qputenv("TZ", myOld);
    else
        qunsetenv("TZ");
    tzset();
}

} // namespace OrvTest
