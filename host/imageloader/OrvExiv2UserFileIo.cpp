#include "OrvExiv2UserFileIo.h"

#include <QFile>

#include <cstdio>
#include <sys/mman.h>

OrvExiv2UserFileIo::OrvExiv2UserFileIo(const QString& path)
    : myFile(path, OrvUserFile::Image), myPath(QFile::encodeName(path).toStdString())
{
}

OrvExiv2UserFileIo::~OrvExiv2UserFileIo() { munmap(); }

int OrvExiv2UserFileIo::open()
{
    // Exiv2 opens and closes around every step; the descriptor stays open between.
    if (!myFile.isOpen() && !myFile.open())
        return 1;
    myOpen = true;
    myPosition = 0;
    myEof = false;
    myError = 0;
    return 0;
}

int OrvExiv2UserFileIo::close()
{
    munmap();
    myOpen = false;
    return 0;
}

long OrvExiv2UserFileIo::write(const Exiv2::byte*, long) { return 0; }

long OrvExiv2UserFileIo::write(Exiv2::BasicIo&) { return 0; }

int OrvExiv2UserFileIo::putb(Exiv2::byte) { return EOF; }

Exiv2::DataBuf OrvExiv2UserFileIo::read(long count)
{
    // A hostile length field must not make Exiv2 allocate more than the file has.
    const long available = long(qMax<qint64>(0, qint64(size()) - myPosition));
    Exiv2::DataBuf buffer(qBound(0L, count, available));
    const long got = read(buffer.pData_, buffer.size_);
    if (got < 0)
        throw Exiv2::Error(Exiv2::kerInputDataReadFailed);
    buffer.size_ = got;
    return buffer;
}

long OrvExiv2UserFileIo::read(Exiv2::byte* buffer, long count)
{
    if (!myOpen || count <= 0)
        return 0;
    const qint64 got = myFile.readAt(myPosition, reinterpret_cast<char*>(buffer), count);
    if (got < 0) {
        myError = 1;
        return 0;
    }
    myPosition += got;
    if (got < count)
        myEof = true;
    return long(got);
}

int OrvExiv2UserFileIo::getb()
{
    Exiv2::byte value = 0;
    return read(&value, 1) == 1 ? int(value) : EOF;
}

void OrvExiv2UserFileIo::transfer(Exiv2::BasicIo&) { throw Exiv2::Error(Exiv2::kerFunctionNotSupported, "transfer"); }

int OrvExiv2UserFileIo::seek(long offset, Position from)
{
    const qint64 base = from == beg ? 0 : from == cur ? myPosition : qint64(size());
    const qint64 target = base + offset;
    if (target < 0)
        return 1;
    if (target > qint64(size())) {
        myEof = true;
        return 1;
    }
    myPosition = target;
    myEof = false;
    return 0;
}

Exiv2::byte* OrvExiv2UserFileIo::mmap(bool isWriteable)
{
    if (isWriteable)
        throw Exiv2::Error(Exiv2::kerFunctionNotSupported, "writing");
    if (!myMap) {
        if (!myOpen || size() == 0)
            throw Exiv2::Error(Exiv2::kerCallFailed, myPath, "not open", "mmap");
        void* map = ::mmap(nullptr, size(), PROT_READ, MAP_SHARED, myFile.handle(), 0);
        if (map == MAP_FAILED)
            throw Exiv2::Error(Exiv2::kerCallFailed, myPath, "cannot map", "mmap");
        myMap = map;
    }
    return static_cast<Exiv2::byte*>(myMap);
}

int OrvExiv2UserFileIo::munmap()
{
    if (myMap) {
        ::munmap(myMap, size());
        myMap = nullptr;
    }
    return 0;
}

long OrvExiv2UserFileIo::tell() const { return long(myPosition); }

size_t OrvExiv2UserFileIo::size() const { return size_t(myFile.size()); }

bool OrvExiv2UserFileIo::isopen() const { return myOpen; }

int OrvExiv2UserFileIo::error() const { return myError; }

bool OrvExiv2UserFileIo::eof() const { return myEof; }

std::string OrvExiv2UserFileIo::path() const { return myPath; }

bool orvExiv2WrittenBytes(Exiv2::Image& image, QByteArray* bytes)
{
    Exiv2::BasicIo& io = image.io();
    if (io.open() != 0)
        return false;
    io.seek(0, Exiv2::BasicIo::beg);
    const long size = long(io.size());
    const Exiv2::DataBuf written = io.read(size);
    io.close();
    if (size <= 0 || written.size_ != size)
        return false;
    *bytes = QByteArray(reinterpret_cast<const char*>(written.pData_), int(written.size_));
    return true;
}
