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

OrvExiv2::IoCount OrvExiv2UserFileIo::write(const Exiv2::byte*, OrvExiv2::IoCount) { return 0; }

OrvExiv2::IoCount OrvExiv2UserFileIo::write(Exiv2::BasicIo&) { return 0; }

int OrvExiv2UserFileIo::putb(Exiv2::byte) { return EOF; }

Exiv2::DataBuf OrvExiv2UserFileIo::read(OrvExiv2::IoCount count)
{
    // A hostile length field must not make Exiv2 allocate more than the file has.
    const qint64 available = qMax<qint64>(0, qint64(size()) - myPosition);
    Exiv2::DataBuf buffer(OrvExiv2::IoCount(qBound<qint64>(0, qint64(count), available)));
    const OrvExiv2::IoCount got = read(OrvExiv2::data(buffer), OrvExiv2::IoCount(OrvExiv2::size(buffer)));
    OrvExiv2::shrink(buffer, size_t(got));
    return buffer;
}

OrvExiv2::IoCount OrvExiv2UserFileIo::read(Exiv2::byte* buffer, OrvExiv2::IoCount count)
{
    // Signed, so that 0.27's negative counts are refused and 0.28's huge ones bounded.
    const qint64 wanted = qint64(qMin<quint64>(quint64(count), quint64(INT64_MAX)));
    if (!myOpen || wanted <= 0)
        return 0;
    const qint64 got = myFile.readAt(myPosition, reinterpret_cast<char*>(buffer), wanted);
    if (got < 0) {
        myError = 1;
        return 0;
    }
    myPosition += got;
    if (got < wanted)
        myEof = true;
    return OrvExiv2::IoCount(got);
}

int OrvExiv2UserFileIo::getb()
{
    Exiv2::byte value = 0;
    return read(&value, 1) == 1 ? int(value) : EOF;
}

void OrvExiv2UserFileIo::transfer(Exiv2::BasicIo&)
{
    throw Exiv2::Error(Exiv2::ErrorCode::kerFunctionNotSupported, "transfer");
}

int OrvExiv2UserFileIo::seek(OrvExiv2::IoOffset offset, Position from)
{
    const qint64 base = from == beg ? 0 : from == cur ? myPosition : qint64(size());
    // Offsets come from the file: one past what qint64 holds is no position either.
    if ((offset > 0 && base > INT64_MAX - qint64(offset)) || (offset < 0 && base < INT64_MIN - qint64(offset)))
        return 1;
    const qint64 target = base + qint64(offset);
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
        throw Exiv2::Error(Exiv2::ErrorCode::kerFunctionNotSupported, "writing");
    if (!myMap) {
        if (!myOpen || size() == 0)
            throw Exiv2::Error(Exiv2::ErrorCode::kerCallFailed, myPath, "not open", "mmap");
        void* map = ::mmap(nullptr, size(), PROT_READ, MAP_SHARED, myFile.handle(), 0);
        if (map == MAP_FAILED)
            throw Exiv2::Error(Exiv2::ErrorCode::kerCallFailed, myPath, "cannot map", "mmap");
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

OrvExiv2::IoPosition OrvExiv2UserFileIo::tell() const { return OrvExiv2::IoPosition(myPosition); }

size_t OrvExiv2UserFileIo::size() const { return size_t(myFile.size()); }

bool OrvExiv2UserFileIo::isopen() const { return myOpen; }

int OrvExiv2UserFileIo::error() const { return myError; }

bool OrvExiv2UserFileIo::eof() const { return myEof; }

OrvExiv2::IoPath OrvExiv2UserFileIo::path() const noexcept { return myPath; }

// Exiv2 fills a file with placeholder data only for its own fuzzing of written files.
void OrvExiv2UserFileIo::populateFakeData() {}

bool orvExiv2WrittenBytes(Exiv2::Image& image, QByteArray* bytes)
{
    Exiv2::BasicIo& io = image.io();
    if (io.open() != 0)
        return false;
    io.seek(0, Exiv2::BasicIo::beg);
    const size_t size = io.size();
    const Exiv2::DataBuf written = io.read(OrvExiv2::IoCount(size));
    io.close();
    if (size == 0 || OrvExiv2::size(written) != size)
        return false;
    *bytes = OrvExiv2::toByteArray(written);
    return !bytes->isEmpty();
}
