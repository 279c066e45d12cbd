// KORA_API: marks what the shared library gives to its hosts.
//
// The one place where the platforms' ways of exporting differ. All floors of the house include it, and it
// includes nothing.
#pragma once

#if defined(_WIN32)
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
