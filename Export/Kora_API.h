// KORA_API: marks what the shared library gives to its hosts; a static one (KORA_STATIC) marks nothing.
// KORA_API_NODISCARD: the same for a class whose objects are all that the call which returns them, or the
// line that makes them, is for.
// KORA_NONBLOCKING: stands behind a function that real-time threads may call (docs/threads.md lists them); a
// compiler that knows the attribute then checks their callers. KORA_PRINTF_CHECKED: has a compiler that can
// check a function's arguments against its printf format.
//
// The one place where the platforms' ways of declaring differ. All floors of the house include it, and it
// includes nothing.
#pragma once

#if defined(KORA_STATIC)
#define KORA_API
#elif defined(_WIN32)
#if defined(KORA_BUILDING_LIBRARY)
#define KORA_API __declspec(dllexport)
#else
// Of a host; the library itself exports.
#define KORA_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define KORA_API __attribute__((visibility("default")))
#else
#define KORA_API
#endif

// GCC takes attributes of one spelling only between `class` and the name.
#if defined(KORA_STATIC)
#define KORA_API_NODISCARD [[nodiscard]]
#elif !defined(__GNUC__)
// KORA_API for a class whose objects must not get lost.
#define KORA_API_NODISCARD [[nodiscard]] KORA_API
#elif !defined(_WIN32)
#define KORA_API_NODISCARD [[nodiscard, gnu::visibility("default")]]
#elif defined(KORA_BUILDING_LIBRARY)
#define KORA_API_NODISCARD [[nodiscard, gnu::dllexport]]
#else
#define KORA_API_NODISCARD [[nodiscard, gnu::dllimport]]
#endif

#if defined(__cplusplus) && defined(__has_cpp_attribute) // C programs include this too
#if __has_cpp_attribute(clang::nonblocking)
#define KORA_NONBLOCKING [[clang::nonblocking]]
#endif
#endif
#if !defined(KORA_NONBLOCKING)
#define KORA_NONBLOCKING
#endif

// Formats are the C standard's, which Windows compilers call GNU's.
#if defined(__MINGW32__)
#define KORA_PRINTF_CHECKED(iFormat, iFirst) __attribute__((format(gnu_printf, iFormat, iFirst)))
#elif defined(__GNUC__)
#define KORA_PRINTF_CHECKED(iFormat, iFirst) __attribute__((format(printf, iFormat, iFirst)))
#else
// A compiler that can not check formats checks none.
#define KORA_PRINTF_CHECKED(iFormat, iFirst)
#endif
