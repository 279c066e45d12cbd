// Sys_Trace: writes diagnostic lines, by category, to the trace library where one is installed.
//
//     Sys_TRACE(Sys_Trace::cCategory_TimeSettings, "Frame Rate: %3.3f", rate);
//
// A line costs one branch while tracing is off, and its arguments are not evaluated then. The
// format is printf's and is checked by compilers that can. A line need not end with "\n": the trace
// library ends those that do not.
//
// The call site stands at this low floor, below all that trace; what binds it (Sys_TraceBinder) stands beside
// it, and Kora_Init::Init has it bound. Lines written before that are not written anywhere.
//
// Threads:   bound once, before other threads trace; read without locks afterwards.
// Real time: nothing is allocated here while tracing is off; what a line costs when
// on is the trace library's.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

class KORA_API Sys_Trace
{
public:
    // The library's own categories: start-up, and changes of rates and formats (Time_Globals).
    static constexpr Cmn_UInt32 cCategory_Initialization = 0x4000B07;
    static constexpr Cmn_UInt32 cCategory_TimeSettings = 0x4000E0C; // rates and formats

    // The trace library's entries, in the order in which they are resolved.
    enum EEntry {
        eEntry_IsActive,
        eEntry_ReloadConfigs,
        eEntry_Format,
        eEntry_FormatQuiet,
        eEntry_FormatTimestamp,
        eEntry_Puts,
        eEntry_Mem,
        eEntry_Stack,
        eEntry_ChangeFacilityPriority,
        eEntry_RegisterHandler,
        eEntry_FacilityOn,
        eEntry_SetClockCallback,
        eEntry_SetName,
        eEntry_OSErrToString,
        eEntry_LegacyFormat,
        eEntry_GetTracePath,
        cNumEntries
    };
    // An entry of any type; cast to its own before it is called.
    using Entry = void (*)();
    // Whether anything is traced at all; 0 is no.
    using IsActiveFunc = Cmn_UInt8();
    // Whether lines of a category are; 0 is no.
    using FacilityOnFunc = Cmn_UInt8(Cmn_UInt32 iCategory);
    // Writes a line, in the format of printf.
    typedef void FormatFunc(Cmn_UInt32 iCategory, const char* iFormat, ...) KORA_PRINTF_CHECKED(2, 3);

    // True when the trace library is there, whole and active, and wants lines of the category.
    [[nodiscard]] static bool IsOn(Cmn_UInt32 iCategory)
    {
        return sEnabled != 0 &&
               reinterpret_cast<FacilityOnFunc*>(sEntries[eEntry_FacilityOn])(iCategory) != 0;
    }
    // The formatted write; only for a category that is on. Sys_TRACE does both.
    [[nodiscard]] static FormatFunc* Format()
    {
        return reinterpret_cast<FormatFunc*>(sEntries[eEntry_Format]);
    }

    static Cmn_Int32 sEnabled; // 0 is off; set and cleared by the binder only
    static Entry sEntries[cNumEntries];
};

// A line of a category, in the format of printf; nothing is evaluated while the category is off.
#define Sys_TRACE(iCategory, ...)                                                                            \
    do {                                                                                                     \
        if (::Sys_Trace::IsOn(iCategory)) ::Sys_Trace::Format()(iCategory, __VA_ARGS__);                     \
    } while (false)
