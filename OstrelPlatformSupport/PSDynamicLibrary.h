// PSDynamicLibrary: a library that is looked for at run time, and its entries by name.
//
// A library that was loaded stays in the process, whatever becomes of this object: entries handed out stay
// good. Failures are answers here, never exceptions or dialogs.
//
// Threads: none inside; the entries may be used from any thread.
#pragma once

#include "Export/Kora_API.h"

#include <string>

class KORA_API PSDynamicLibrary
{
public:
    // Loads by file name through the system's search, or by path; UTF-8. True when a library is loaded, which
    // it may have been before: one object keeps the first that it found. An empty name is none.
    [[nodiscard]] bool Load(const std::string& iFile);
    bool IsLoaded() const { return mHandle != nullptr; }

    // Address of an exported entry; null when there is none, or no library.
    [[nodiscard]] void* Find(const char* iEntry) const;

    // The same as a pointer to a function: `auto* isActive =
    // library.FindFunction<unsigned char()>("IsActive");`
    template <class Function>
    Function* FindFunction(const char* iEntry) const
    {
        return reinterpret_cast<Function*>(Find(iEntry));
    }

private:
    void* mHandle = nullptr;
};

// Root of the drive that the system lives on, "C:\": where common files lie from. Empty
// where there are no drives.
[[nodiscard]] KORA_API std::string PSGetSystemDriveRoot();

// File name that a shared library has on this system: "OstrelTrace" is
// "OstrelTrace.dll" or "libOstrelTrace.so".
[[nodiscard]] KORA_API std::string PSGetDynamicLibraryFileName(const std::string& iName);
