#pragma once

// Exiv2 0.27 and 0.28 as the host uses them. Every difference between the two lives here:
// 0.28 replaced std::auto_ptr with std::unique_ptr, toLong with toInt64, DataBuf's public
// members with accessors, and BasicIo's long counts and offsets with size_t and int64_t;
// its error codes became a scoped enum (written Exiv2::ErrorCode::kerX, which 0.27's
// unscoped enum accepts as well).

#include <QByteArray>

// 0.27 still hands out std::auto_ptr.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>
#pragma GCC diagnostic pop

#include <cstdint>
#include <string>
#include <utility>

#define ORV_EXIV2_028 EXIV2_TEST_VERSION(0, 28, 0)

namespace OrvExiv2 {

#if ORV_EXIV2_028
using ImagePtr = Exiv2::Image::UniquePtr;
using IoPtr = Exiv2::BasicIo::UniquePtr;
using ValuePtr = Exiv2::Value::UniquePtr;
// Counts, offsets, positions and the path as BasicIo's virtual functions take and give them.
using IoCount = size_t;
using IoOffset = int64_t;
using IoPosition = size_t;
using IoPath = const std::string&;
#else
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
using ImagePtr = Exiv2::Image::AutoPtr;
using IoPtr = Exiv2::BasicIo::AutoPtr;
using ValuePtr = Exiv2::Value::AutoPtr;
#pragma GCC diagnostic pop
using IoCount = long;
using IoOffset = long;
using IoPosition = long;
using IoPath = std::string;
#endif

// HEIF, AVIF and CR3 (ISO base media files): a choice in 0.27, always on in 0.28.
inline void enableBmff()
{
#if !ORV_EXIV2_028
    Exiv2::enableBMFF(true);
#endif
}

inline ImagePtr openImage(const QByteArray& bytes)
{
    return Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte*>(bytes.constData()), IoCount(bytes.size()));
}

inline ImagePtr openImage(IoPtr io)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    return Exiv2::ImageFactory::open(std::move(io));
#pragma GCC diagnostic pop
}

inline int64_t toInt64(const Exiv2::Metadatum& datum, size_t n = 0)
{
#if ORV_EXIV2_028
    return datum.toInt64(n);
#else
    return datum.toLong(long(n));
#endif
}

inline size_t size(const Exiv2::DataBuf& buffer)
{
#if ORV_EXIV2_028
    return buffer.size();
#else
    return buffer.size_ > 0 ? size_t(buffer.size_) : 0;
#endif
}

inline Exiv2::byte* data(Exiv2::DataBuf& buffer)
{
#if ORV_EXIV2_028
    return buffer.size() > 0 ? buffer.data() : nullptr;
#else
    return buffer.pData_;
#endif
}

inline const Exiv2::byte* data(const Exiv2::DataBuf& buffer)
{
#if ORV_EXIV2_028
    return buffer.c_data();
#else
    return buffer.pData_;
#endif
}

// Keeps the first bytes only: a read that got fewer than it asked for.
inline void shrink(Exiv2::DataBuf& buffer, size_t size)
{
    if (size >= OrvExiv2::size(buffer))
        return;
#if ORV_EXIV2_028
    buffer.resize(size);
#else
    buffer.size_ = long(size);
#endif
}

inline QByteArray toByteArray(const Exiv2::DataBuf& buffer)
{
    const size_t bytes = size(buffer);
    if (bytes == 0 || bytes > size_t(INT32_MAX))
        return QByteArray();
    return QByteArray(reinterpret_cast<const char*>(data(buffer)), qsizetype(bytes));
}

// The ICC profile the image read, empty when it has none.
inline QByteArray iccProfile(Exiv2::Image& image)
{
    if (!image.iccProfileDefined())
        return QByteArray();
#if ORV_EXIV2_028
    return toByteArray(image.iccProfile());
#else
    const Exiv2::DataBuf* profile = image.iccProfile();
    return profile ? toByteArray(*profile) : QByteArray();
#endif
}

} // namespace OrvExiv2
