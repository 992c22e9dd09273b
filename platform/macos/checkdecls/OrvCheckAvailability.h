#pragma once

// Availability and enumeration macros for the declarations in this folder and
// for the adapters that use them: API_AVAILABLE(macos(10.15)) and
// API_DEPRECATED("why", macos(10.4, 10.15)) become clang's availability
// attributes for macOS, so that a call to a newer system's API outside its
// @available check, or to a deprecated one, is diagnosed.

#define ORV_CHECK_AVAILABLE_macos(since) __attribute__((availability(macos, introduced = since)))
#define ORV_CHECK_DEPRECATED_macos(since, until)                                                                        \
    __attribute__((availability(macos, introduced = since, deprecated = until)))

#define API_AVAILABLE(...) ORV_CHECK_AVAILABLE_##__VA_ARGS__
#define API_DEPRECATED(message, ...) ORV_CHECK_DEPRECATED_##__VA_ARGS__
#define API_UNAVAILABLE(...)

#define NS_ENUM(type, name) enum name : type name; enum name : type
#define NS_OPTIONS(type, name) enum name : type name; enum name : type
#define CF_ENUM(type, name) enum name : type name; enum name : type
#define CF_OPTIONS(type, name) enum name : type name; enum name : type
#define NS_TYPED_EXTENSIBLE_ENUM
#define NS_SWIFT_NAME(name)

#ifndef YES
#define YES __objc_yes
#define NO __objc_no
#endif
