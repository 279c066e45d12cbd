#include "Kora/SMF/SMF_TrackBuilder.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/SMF/SMF_EventRules_p.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace {
constexpr std::size_t cMaxTrackBytes = 0xFFFFFFFF;
constexpr Cmn_UInt8 cMetaText = 0x01;
} // namespace

SMF_Track SMF_TrackBuilder::Empty()
{
    SMF_Track track;
    track.mBytes.clear();
    track.mEventCount = 0;
    return track;
}

bool SMF_TrackBuilder::BeginEvent(Cmn_Int64& ioTick)
{
    if (!Cmn_ASSERT(!mIsEnded)) return false;
    if (!Cmn_ASSERT(ioTick >= GetTick())) ioTick = GetTick();
    return true;
}

void SMF_TrackBuilder::AppendDelta(Cmn_Int64 iTick)
{
    while (iTick - GetTick() > SMF_Event::cMaxDelta) {
        const Cmn_Int64 between = GetTick() + SMF_Event::cMaxDelta;
        mTrack.mBytes.append("\xFF\xFF\xFF\x7F\xFF\x01\0", 7);
        static_assert(cMetaText == 0x01);
        mRunningStatus = 0;
        EndEvent(between);
    }
    SMF_EventRules::AppendVariableLength(mTrack.mBytes, iTick - GetTick());
}

void SMF_TrackBuilder::EndEvent(Cmn_Int64 iTick)
{
    if (mTrack.mBytes.size() > cMaxTrackBytes) throw std::length_error("a MIDI track of 2^32 bytes or more");
    mTrack.mEndTick = iTick;
    ++mTrack.mEventCount;
}

void SMF_TrackBuilder::AppendContent(std::string_view iContent)
{
    SMF_EventRules::AppendVariableLength(mTrack.mBytes, static_cast<Cmn_Int64>(iContent.size()));
    mTrack.mBytes.append(iContent);
    mRunningStatus = 0;
}

void SMF_TrackBuilder::Append(const SMF_Event& iEvent, Cmn_Int64 iTick)
{
    if (!BeginEvent(iTick)) return;
    const std::string_view body = iEvent.mBytes.substr(iEvent.mDeltaSize);
    const bool needsStatus = iEvent.mIsRunning && mRunningStatus != iEvent.mStatus;
    Cmn_Int64 delta = 0;
    for (const char byte : iEvent.mBytes.substr(0, iEvent.mDeltaSize))
        delta = delta << 7 | (byte & 0x7F);
    if (delta == iTick - GetTick())
        mTrack.mBytes.append(iEvent.mBytes.substr(0, iEvent.mDeltaSize));
    else
        AppendDelta(iTick);
    // Bridging a gap ends running status.
    if (needsStatus || (iEvent.mIsRunning && mRunningStatus == 0))
        mTrack.mBytes += static_cast<char>(iEvent.mStatus);
    mTrack.mBytes.append(body);
    mRunningStatus = iEvent.IsChannel() ? iEvent.mStatus : Cmn_UInt8{0};
    mIsEnded = iEvent.IsEndOfTrack();
    EndEvent(iTick);
}

void SMF_TrackBuilder::AppendChannel(Cmn_Int64 iTick, Cmn_UInt8 iStatus, Cmn_UInt8 iData, Cmn_UInt8 iSecond,
                                     bool iIsRunning)
{
    if (!Cmn_ASSERT(iStatus >= 0x80 && iStatus < SMF_Event::cSysEx && iData < 0x80 && iSecond < 0x80)) return;
    if (!BeginEvent(iTick)) return;
    AppendDelta(iTick);
    if (!iIsRunning || mRunningStatus != iStatus) mTrack.mBytes += static_cast<char>(iStatus);
    mTrack.mBytes += static_cast<char>(iData);
    if ((iStatus & 0xE0) != 0xC0) mTrack.mBytes += static_cast<char>(iSecond);
    mRunningStatus = iStatus;
    EndEvent(iTick);
}

void SMF_TrackBuilder::AppendSysEx(Cmn_Int64 iTick, Cmn_UInt8 iStatus, std::string_view iContent)
{
    if (!Cmn_ASSERT(iStatus == SMF_Event::cSysEx || iStatus == SMF_Event::cEscape)) return;
    if (iContent.size() > SMF_Event::cMaxDelta) throw std::length_error("a sysex of 2^28 bytes or more");
    if (!BeginEvent(iTick)) return;
    AppendDelta(iTick);
    mTrack.mBytes += static_cast<char>(iStatus);
    AppendContent(iContent);
    EndEvent(iTick);
}

void SMF_TrackBuilder::AppendMeta(Cmn_Int64 iTick, Cmn_UInt8 iType, std::string_view iContent)
{
    if (!Cmn_ASSERT(SMF_EventRules::FaultOf(iType, iContent).mText.empty())) return;
    if (iContent.size() > SMF_Event::cMaxDelta) throw std::length_error("a meta event of 2^28 bytes or more");
    if (!BeginEvent(iTick)) return;
    AppendDelta(iTick);
    mTrack.mBytes += static_cast<char>(SMF_Event::cMeta);
    mTrack.mBytes += static_cast<char>(iType);
    AppendContent(iContent);
    mIsEnded = iType == SMF_Event::cEndOfTrack;
    EndEvent(iTick);
}

SMF_Track SMF_TrackBuilder::Finish(Cmn_Int64 iEndTick)
{
    if (!mIsEnded) AppendMeta(std::max(iEndTick, GetTick()), SMF_Event::cEndOfTrack, {});
    mIsEnded = false;
    mRunningStatus = 0;
    return std::exchange(mTrack, Empty());
}
