// SDS_TokenTracker: what a developer sees of the token traffic: texts for tokens, and hooks
// where a tracer would stand.
//
// The dispatcher calls a hook wherever a token arrives, waits, is handed over or is lost. None of them
// records anything or changes what happens to the token.
//
// Threads:   registration and Describe on any thread, each table under a section of its own.
// Ownership: one instance, made by Init, for the process.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "Kora/SDS/FicInterface/SDS_Error.h"
#include "Kora/Sys/Sys_AtomicInt32.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class IPSSyncPrim;
class SDS_TokenListener;
class SDS_TokenTask;
struct SDS_ActiveListener;
struct SDS_Name;
struct SDS_Token;

// What a tracker is told to follow.
class KORA_API SDS_TokenTrackerInstructionFilter
{
public:
    SDS_TokenTrackerInstructionFilter();
    ~SDS_TokenTrackerInstructionFilter();
};

class KORA_API SDS_TokenTracker
{
public:
    // Writes a token as text into a buffer of so many bytes, the closing zero included.
    using PrettyPrinter = void (*)(SDS_Token*, char*, Cmn_UInt32);
    using TokenKind = std::pair<Cmn_Int32, Cmn_Int32>; // type and subtype

    // Called by SDS_TokenDispatcher::Init. Without memory there is no instance, and the registrations give
    // eSDSErr_OutOfMemory.
    static void Init();
    [[nodiscard]] static bool IsEnabled() { return false; }

    // A token has come to the dispatcher.
    static ESDSError TrackTokenReceived(SDS_Token*) { return eSDSErr_None; }
    // A copy is about to be queued for a listener.
    static ESDSError TrackTokenDeliveryQueue(SDS_Token*, SDS_ActiveListener*) { return eSDSErr_None; }
    // A task hands a copy to its listener.
    static ESDSError TrackTokenDelivery(SDS_TokenTask*, SDS_TokenListener*, void*, SDS_Token*, const char*)
    {
        return eSDSErr_None;
    }
    // A newer token for a latest listener puts an older one aside; true: on the producer's side.
    static ESDSError TrackTokenDropped(const SDS_Token*, SDS_ActiveListener*, SDS_Token*, bool)
    {
        return eSDSErr_None;
    }
    // A node goes, with its path.
    static void NameAboutToBeFreed(SDS_Name*, char* const) {}

    // Four-character codes. A pair is kept once.
    static ESDSError TrackTokenLifecycle(Cmn_Int32 iType, Cmn_Int32 iSubType);
    // Replaces the printer that was there for the pair; null takes it away.
    static ESDSError RegisterTokenPrettyPrinter(Cmn_Int32 iType, Cmn_Int32 iSubType, PrettyPrinter iPrinter);
    // Counts of tokens received, delivered and dropped begin at 0 again.
    static void ResetStats();

    // The token through its printer or, where it has none, as its codes, its node's path
    // and its data as hex digits:
    //   MTR /peak at /Mixer/Bus 1: 0000003f
    [[nodiscard]] static std::string Describe(SDS_Token& iToken);
    // The node's path; "" for no node. As SDS_NameRegistry::GetPath gives it.
    static void NameIDToPathName(SDS_Name* iName, char (&oPath)[1024]);
    static std::vector<TokenKind> GetTokensToTrack();

    virtual ~SDS_TokenTracker();
    SDS_TokenTracker(const SDS_TokenTracker&) = delete;
    SDS_TokenTracker& operator=(const SDS_TokenTracker&) = delete;

protected:
    SDS_TokenTracker();

    // The working forms.
    ESDSError TrackTokenReceivedX(SDS_Token* iToken);
    ESDSError TrackTokenDeliveryQueueX(SDS_Token* iToken, SDS_ActiveListener* iActive);
    ESDSError TrackTokenDeliveryX(SDS_TokenTask* iTask, SDS_TokenListener* iListener, void* iTaskVal,
                                  SDS_Token* iToken, const char* iText);
    ESDSError TrackTokenDroppedX(SDS_Token* inNewToken, SDS_ActiveListener* iActive, SDS_Token* inOldToken,
                                 bool iFlag);
    ESDSError TrackTokenLifecycleX(Cmn_Int32 iType, Cmn_Int32 iSubType);
    ESDSError RegisterTokenPrettyPrinterX(Cmn_Int32 iType, Cmn_Int32 iSubType, PrettyPrinter iPrinter);
    void NameAboutToBeFreedX(SDS_Name* iName, char* const iPath);
    void ResetStatsX();
    PrettyPrinter GetPrettyPrinter(SDS_Token* iToken);
    void PrettyPrint(SDS_Token* iToken, char* oText, unsigned iSize);
    bool TrackInDebugger(SDS_Token* iToken);
    void GetFullPathName(SDS_Name* iName, char (&oPath)[1024]);

private:
    static SDS_TokenTracker* sInstance;

    const std::unique_ptr<IPSSyncPrim> mTokensSection;
    const std::unique_ptr<IPSSyncPrim> mPrintersSection;
    const std::unique_ptr<IPSSyncPrim> mPathsSection;
    std::vector<TokenKind> mTokensToTrack;
    std::map<TokenKind, PrettyPrinter> mPrettyPrinters;
    std::map<SDS_Name*, std::string> mPathCache;
    Sys_AtomicInt32 mReceived;
    Sys_AtomicInt32 mDelivered;
    Sys_AtomicInt32 mDropped;
};
