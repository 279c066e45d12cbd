// KORA_API: marks what the shared library gives to its hosts; a static one (KORA_STATIC) marks nothing. KORA_PRINTF_CHECKED: has a compiler that can check a
// function's arguments against its printf format.
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
#define KORA_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define KORA_API __attribute__((visibility("default")))
#else
#define KORA_API
#endif

// Formats are the C standard's, which Windows compilers call GNU's.
#if defined(__MINGW32__)
#define KORA_PRINTF_CHECKED(iFormat, iFirst) __attribute__((format(gnu_printf, iFormat, iFirst)))
#elif defined(__GNUC__)
#define KORA_PRINTF_CHECKED(iFormat, iFirst) __attribute__((format(printf, iFormat, iFirst)))
#else
#define KORA_PRINTF_CHECKED(iFormat, iFirst)
#endif
