// Sys_TraceBinder: finds the optional trace library at run time and turns Sys_Trace on
// when it is whole and active.
//
// The library is "OstrelTrace.dll" on Windows and "libOstrelTrace.so" on Linux. It is looked for where the
// system looks for libraries, then, on Windows, in the folder that installations share:
//     C:\Program Files\Common Files\Ostrel\Kora\OstrelTrace.dll       with the drive that the system lives on
// A library that is missing, lacks an entry or is not active turns tracing off, without a message.
//
// Threads:   made before tracing is used, on the thread that starts the library.
// Ownership: the trace library is never unloaded.
#pragma once

#include "Kora/Sys/Sys_Trace.h"
#include "OstrelPlatformSupport/PSDynamicLibrary.h"

#include <string>

class KORA_API Sys_TraceBinder
{
public:
    // What Resolve says.
    static constexpr Cmn_Int32 cResult_Found = 0;
    static constexpr Cmn_Int32 cResult_EntryMissing = -1501;   // the library is there
    static constexpr Cmn_Int32 cResult_LibraryMissing = -1502; // not found, or it does not load

    // Binds the library of the usual name the first time; afterwards only returns its binder.
    static Sys_TraceBinder& Singleton();
    // As above: by the platform.
    [[nodiscard]] static std::string UsualFileName();

    // Binds a library, by file name or path in UTF-8: resolves every entry, in the order of EEntry, and sets
    // Sys_Trace::sEnabled.
    explicit Sys_TraceBinder(std::string iFileName);

    // Clears the slot, loads the library unless it is loaded, and fills the slot with the entry of the name.
    Cmn_Int32 Resolve(const char* iName, Sys_Trace::Entry& oSlot);

private:
    [[nodiscard]] bool Load();

    std::string mFileName;
    PSDynamicLibrary mLibrary;
};
