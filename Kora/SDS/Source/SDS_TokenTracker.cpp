#include "Kora/SDS/Source/SDS_TokenTracker.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Sys/Sys_Utils.h"
#include "Kora/SDS/FicInterface/SDS_Token.h"
#include "Kora/SDS/Source/SDS_NameRegistry.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "OstrelPlatformSupport/PSThread.h"

#include <algorithm>
#include <cstring>
#include <new>

SDS_TokenTracker* SDS_TokenTracker::sInstance = nullptr;

namespace {

constexpr std::size_t cMaxText = 1024;

std::string HexOf(const Cmn_UInt8* iBytes, std::size_t iCount)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < iCount; ++i) {
        text += digits[iBytes[i] >> 4];
        text += digits[iBytes[i] & 15];
    }
    return text;
}

SDS_TokenTracker::TokenKind KindOf(const SDS_Token& iToken) { return {iToken.type, iToken.subtype}; }

std::string PlainText(SDS_Token& iToken)
{
    char path[cMaxText];
    SDS_TokenTracker::NameIDToPathName(iToken.name, path);
    std::string text = Sys_Utils_OSTypeToString(iToken.type) + '/' +
                       Sys_Utils_OSTypeToString(iToken.subtype) + " at " + path;
    const int dataSize = iToken.size - SDS_Token::cHeaderSize;
    if (dataSize <= 0) return text;
    const auto* const bytes = reinterpret_cast<const Cmn_UInt8*>(&iToken) + SDS_Token::cHeaderSize;
    return text + ": " + HexOf(bytes, static_cast<std::size_t>(dataSize));
}

} // namespace

SDS_TokenTrackerInstructionFilter::SDS_TokenTrackerInstructionFilter() = default;
SDS_TokenTrackerInstructionFilter::~SDS_TokenTrackerInstructionFilter() = default;

SDS_TokenTracker::SDS_TokenTracker()
    : mTokensSection(gPSThread.CreateCriticalSection("SDS_TokenTracker RW Tokens To Track"))
    , mPrintersSection(gPSThread.CreateCriticalSection("SDS_TokenTracker RW Pretty Printers"))
    , mPathsSection(gPSThread.CreateCriticalSection("SDS_TokenTracker RW Path Cache"))
{
}

SDS_TokenTracker::~SDS_TokenTracker() = default;

void SDS_TokenTracker::Init()
{
    if (sInstance != nullptr) return;
    try {
        sInstance = new SDS_TokenTracker;
    } catch (const std::bad_alloc&) {
        sInstance = nullptr;
    }
}

ESDSError SDS_TokenTracker::TrackTokenLifecycle(Cmn_Int32 iType, Cmn_Int32 iSubType)
{
    return sInstance != nullptr ? sInstance->TrackTokenLifecycleX(iType, iSubType) : eSDSErr_OutOfMemory;
}

ESDSError SDS_TokenTracker::RegisterTokenPrettyPrinter(Cmn_Int32 iType, Cmn_Int32 iSubType,
                                                       PrettyPrinter iPrinter)
{
    return sInstance != nullptr ? sInstance->RegisterTokenPrettyPrinterX(iType, iSubType, iPrinter)
                                : eSDSErr_OutOfMemory;
}

void SDS_TokenTracker::ResetStats()
{
    if (sInstance != nullptr) sInstance->ResetStatsX();
}

std::string SDS_TokenTracker::Describe(SDS_Token& iToken)
{
    if (sInstance == nullptr) return PlainText(iToken);
    if (sInstance->GetPrettyPrinter(&iToken) == nullptr) return PlainText(iToken);
    char text[cMaxText] = "";
    sInstance->PrettyPrint(&iToken, text, sizeof(text));
    return text;
}

void SDS_TokenTracker::NameIDToPathName(SDS_Name* iName, char (&oPath)[1024])
{
    oPath[0] = '\0';
    if (iName != nullptr) static_cast<void>(SDS_NameRegistry::GetPath(iName, nullptr, oPath));
}

std::vector<SDS_TokenTracker::TokenKind> SDS_TokenTracker::GetTokensToTrack()
{
    if (sInstance == nullptr) return {};
    const IPSSyncPrim::StEnter section(*sInstance->mTokensSection);
    return sInstance->mTokensToTrack;
}

ESDSError SDS_TokenTracker::TrackTokenReceivedX(SDS_Token* iToken)
{
    SDS_Token* const theToken = iToken;
    if (Cmn_ASSERT(theToken)) mReceived.Add(1);
    return eSDSErr_None;
}

ESDSError SDS_TokenTracker::TrackTokenDeliveryQueueX(SDS_Token* iToken, SDS_ActiveListener*)
{
    SDS_Token* const theToken = iToken;
    static_cast<void>(Cmn_ASSERT(theToken));
    return eSDSErr_None;
}

ESDSError SDS_TokenTracker::TrackTokenDeliveryX(SDS_TokenTask*, SDS_TokenListener*, void*, SDS_Token* iToken,
                                                const char*)
{
    SDS_Token* const theToken = iToken;
    if (Cmn_ASSERT(theToken)) mDelivered.Add(1);
    return eSDSErr_None;
}

ESDSError SDS_TokenTracker::TrackTokenDroppedX(SDS_Token* inNewToken, SDS_ActiveListener*,
                                               SDS_Token* inOldToken, bool)
{
    if (Cmn_ASSERT(inNewToken) && Cmn_ASSERT(inOldToken)) mDropped.Add(1);
    return eSDSErr_None;
}

ESDSError SDS_TokenTracker::TrackTokenLifecycleX(Cmn_Int32 iType, Cmn_Int32 iSubType)
{
    const IPSSyncPrim::StEnter section(*mTokensSection);
    const TokenKind kind(iType, iSubType);
    if (std::find(mTokensToTrack.begin(), mTokensToTrack.end(), kind) == mTokensToTrack.end()) {
        mTokensToTrack.push_back(kind);
    }
    return eSDSErr_None;
}

ESDSError SDS_TokenTracker::RegisterTokenPrettyPrinterX(Cmn_Int32 iType, Cmn_Int32 iSubType,
                                                        PrettyPrinter iPrinter)
{
    const IPSSyncPrim::StEnter section(*mPrintersSection);
    mPrettyPrinters[{iType, iSubType}] = iPrinter;
    return eSDSErr_None;
}

void SDS_TokenTracker::NameAboutToBeFreedX(SDS_Name* iName, char* const)
{
    const IPSSyncPrim::StEnter section(*mPathsSection);
    mPathCache.erase(iName);
}

void SDS_TokenTracker::ResetStatsX()
{
    mReceived.Exchange(0);
    mDelivered.Exchange(0);
    mDropped.Exchange(0);
}

SDS_TokenTracker::PrettyPrinter SDS_TokenTracker::GetPrettyPrinter(SDS_Token* iToken)
{
    const IPSSyncPrim::StEnter section(*mPrintersSection);
    const auto found = mPrettyPrinters.find(KindOf(*iToken));
    return found != mPrettyPrinters.end() ? found->second : nullptr;
}

void SDS_TokenTracker::PrettyPrint(SDS_Token* iToken, char* oText, unsigned iSize)
{
    if (iSize == 0) return;
    if (const PrettyPrinter printer = GetPrettyPrinter(iToken); printer != nullptr) {
        printer(iToken, oText, iSize);
        oText[iSize - 1] = '\0';
        return;
    }
    const std::string text = PlainText(*iToken);
    const std::size_t length = std::min(text.size(), std::size_t{iSize} - 1);
    std::memcpy(oText, text.data(), length);
    oText[length] = '\0';
}

bool SDS_TokenTracker::TrackInDebugger(SDS_Token* iToken)
{
    const IPSSyncPrim::StEnter section(*mTokensSection);
    return std::find(mTokensToTrack.begin(), mTokensToTrack.end(), KindOf(*iToken)) != mTokensToTrack.end();
}

void SDS_TokenTracker::GetFullPathName(SDS_Name* iName, char (&oPath)[1024])
{
    const IPSSyncPrim::StEnter section(*mPathsSection);
    const auto found = mPathCache.find(iName);
    if (found != mPathCache.end()) {
        std::memcpy(oPath, found->second.c_str(), found->second.size() + 1);
        return;
    }
    NameIDToPathName(iName, oPath);
    mPathCache.emplace(iName, oPath);
}
