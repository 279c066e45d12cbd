#include "Kora/Sys/Sys_TraceBinder.h"

#include <utility>

namespace {

// What each of Sys_Trace::EEntry is called.
constexpr const char* cNames[] = {
    "OstrelTraceIsActiveFunc",
    "OstrelTraceReloadConfigsFunc",
    "OstrelTraceFormat",
    "OstrelTraceFormatQuiet",
    "OstrelTraceFormatTimestamp",
    "OstrelTracePuts",
    "OstrelTraceMem",
    "OstrelTraceStack",
    "OstrelTraceChangeFacilityPriorityFunc",
    "OstrelTraceRegisterHandlerFunc",
    "OstrelTraceFacilityOnFunc",
    "OstrelTraceSetClockCallbackFunc",
    "OstrelTraceSetNameFunc",
    "OstrelTraceOSErrToString",
    "OstrelTraceLegacyFormat",
    "OstrelTraceGetTracePath",
};
static_assert(std::size(cNames) == Sys_Trace::cNumEntries);

// Below the root of the system's drive: what programs share, by maker and product.
constexpr char cCommonFolder[] = "Program Files\\Common Files\\Ostrel\\Kora\\";

} // namespace

Sys_TraceBinder& Sys_TraceBinder::Singleton()
{
    static Sys_TraceBinder* const sBinder = new Sys_TraceBinder(UsualFileName());
    return *sBinder;
}

std::string Sys_TraceBinder::UsualFileName() { return PSGetDynamicLibraryFileName("OstrelTrace"); }

Sys_TraceBinder::Sys_TraceBinder(std::string iFileName)
    : mFileName(std::move(iFileName))
{
    Sys_Trace::sEnabled = 0;
    // Looked for once: where the library is missing, sixteen searches would be most of a short program's start.
    bool complete = Load();
    for (int entry = 0; entry < Sys_Trace::cNumEntries; ++entry)
        if (mLibrary.IsLoaded())
            complete = Resolve(cNames[entry], Sys_Trace::sEntries[entry]) == cResult_Found && complete;
        else
            Sys_Trace::sEntries[entry] = nullptr;
    if (!complete) return;
    auto* const isActive =
        reinterpret_cast<Sys_Trace::IsActiveFunc*>(Sys_Trace::sEntries[Sys_Trace::eEntry_IsActive]);
    Sys_Trace::sEnabled = isActive() != 0;
}

Cmn_Int32 Sys_TraceBinder::Resolve(const char* iName, Sys_Trace::Entry& oSlot)
{
    oSlot = nullptr;
    if (!Load()) return cResult_LibraryMissing;
    oSlot = mLibrary.FindFunction<void()>(iName);
    return oSlot != nullptr ? cResult_Found : cResult_EntryMissing;
}

bool Sys_TraceBinder::Load()
{
    if (mLibrary.IsLoaded() || mLibrary.Load(mFileName)) return true;
    const std::string driveRoot = PSGetSystemDriveRoot();
    return !driveRoot.empty() && mLibrary.Load(driveRoot + cCommonFolder + mFileName);
}
