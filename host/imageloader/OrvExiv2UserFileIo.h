#pragma once

#include "OrvExiv2Compat.h"
#include "OrvUserFile.h"

// Exiv2's view of a file opened through OrvUserFile, read-only. Exiv2's own
// file access opens by name and would wait on a named pipe or read a device
// without end; this one reads only what the metadata needs, and maps the file
// (read-only, shared with the page cache) where a format parser wants it whole.
class OrvExiv2UserFileIo : public Exiv2::BasicIo
{
public:
    explicit OrvExiv2UserFileIo(const QString& path);
    ~OrvExiv2UserFileIo() override;

    int open() override;
    int close() override;
    OrvExiv2::IoCount write(const Exiv2::byte* data, OrvExiv2::IoCount count) override;
    OrvExiv2::IoCount write(Exiv2::BasicIo& source) override;
    int putb(Exiv2::byte data) override;
    Exiv2::DataBuf read(OrvExiv2::IoCount count) override;
    OrvExiv2::IoCount read(Exiv2::byte* buffer, OrvExiv2::IoCount count) override;
    int getb() override;
    void transfer(Exiv2::BasicIo& source) override;
    int seek(OrvExiv2::IoOffset offset, Position from) override;
    Exiv2::byte* mmap(bool isWriteable = false) override;
    int munmap() override;
    OrvExiv2::IoPosition tell() const override;
    size_t size() const override;
    bool isopen() const override;
    int error() const override;
    bool eof() const override;
    OrvExiv2::IoPath path() const noexcept override;
    void populateFakeData() override;

private:
    OrvUserFile myFile;
    std::string myPath;
    qint64 myPosition = 0;
    bool myOpen = false;
    bool myEof = false;
    int myError = 0;
    void* myMap = nullptr;
};

// The bytes an image held in memory has after Exiv2 wrote its metadata into
// it: false when there are none or they cannot be read back whole.
bool orvExiv2WrittenBytes(Exiv2::Image& image, QByteArray* bytes);
