// Kora_Version: which version of the library a program was built with, and which one it runs with.
//
//     if (!Kora_Version::HeadersMatch()) …;    // "built with Kora 0.1.0, found 0.2.3"
//
// Versions are MAJOR.MINOR.PATCH. Interfaces stay as they are within one major version from 1.0 on, and within one minor
// version before; a higher patch, or from 1.0 on a higher minor version, has everything that a lower one has. The shared
// library's name says the same (libKora.so.0.1, libKora.so.1), so on Linux a program of another one does not start; a
// Windows DLL's name does not, so a host that ships its own plug-ins asks here.
//
// Threads: any.
#pragma once

// For resource files, and for programs that serve several versions.
#define KORA_VERSION_MAJOR 0
// As above: of compatible additions from 1.0 on, of changed interfaces before.
#define KORA_VERSION_MINOR 1
// As above: of corrections.
#define KORA_VERSION_PATCH 0
// The three with dots between, as GetText gives them.
#define KORA_VERSION_TEXT "0.1.0"

#ifndef RC_INVOKED

#include "Export/Kora_API.h"

struct Kora_VersionNumber
{
    int mMajor;
    int mMinor;
    int mPatch;
};

class KORA_API Kora_Version
{
public:
    // Of the library that was loaded: "0.1.0", which lives as long as the process.
    [[nodiscard]] static const char* GetText();
    // The same as numbers.
    [[nodiscard]] static Kora_VersionNumber Get();

    // Of the headers that the caller is compiled with.
    [[nodiscard]] static constexpr Kora_VersionNumber GetOfHeaders()
    {
        return {KORA_VERSION_MAJOR, KORA_VERSION_MINOR, KORA_VERSION_PATCH};
    }
    // Whether a library of one version serves a program that was compiled with headers of another.
    [[nodiscard]] static constexpr bool Serves(const Kora_VersionNumber& iLibrary,
                                               const Kora_VersionNumber& iHeaders)
    {
        if (iLibrary.mMajor != iHeaders.mMajor) return false;
        if (iLibrary.mMinor != iHeaders.mMinor)
            return iLibrary.mMajor > 0 && iLibrary.mMinor > iHeaders.mMinor;
        return iLibrary.mPatch >= iHeaders.mPatch;
    }
    // Whether the loaded library serves the caller.
    [[nodiscard]] static bool HeadersMatch() { return Serves(Get(), GetOfHeaders()); }
};

#endif
