#pragma once

// libplist 2.2 (Debian 12) and 2.3 and later (Debian 13, macOS): 2.3 gave plist_from_memory an
// out-parameter for the format it found, and the library has no version macro to test. The
// overload that matches the declared function is the one that compiles.

#include <plist/plist.h>

#include <cstdint>

namespace OrvPlist {

namespace detail {
template <class Result>
void fromMemory(Result (*parse)(const char*, uint32_t, plist_t*), const char* data, uint32_t size, plist_t* root)
{
    parse(data, size, root);
}

template <class Result, class Format>
void fromMemory(Result (*parse)(const char*, uint32_t, plist_t*, Format*), const char* data, uint32_t size,
                plist_t* root)
{
    parse(data, size, root, nullptr);
}
} // namespace detail

// The property list in the bytes, XML or binary; null when they are none.
inline plist_t fromMemory(const char* data, uint32_t size)
{
    plist_t root = nullptr;
    detail::fromMemory(&plist_from_memory, data, size, &root);
    return root;
}

} // namespace OrvPlist
