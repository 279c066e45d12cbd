#include "Kora/SMF/SMF_TrackBuilder.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/SMF/SMF_EventRules_p.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <utility>

bool SMF_TrackBuilder::BeginEvent(Cmn_Int64& ioTick)
{
    if (!Cmn_ASSERT(!mIsEnded)) return false;
    if (!Cmn_ASSERT(ioTick >= GetTick())) ioTick = GetTick();
    return true;
}

void SMF_TrackBuilder::Freeing::operator()(char* ioBytes) const noexcept { std::free(ioBytes); }

// Not cleared, and grown by half: the first touch of a page takes longer than what is written to it.
void SMF_TrackBuilder::SetRoom(std::size_t iBytes)
{
    auto* const bytes = static_cast<char*>(std::realloc(mBytes.get(), iBytes));
    if (bytes == nullptr) throw std::bad_alloc();
    static_cast<void>(mBytes.release());
    mBytes.reset(bytes);
    mRoom = iBytes;
    const std::size_t size = std::min(mRoom, cMaxTrackBytes);
    mPlainEnd = size < cPlainRoom ? 0 : size - cPlainRoom + 1;
}

SMF_TrackBuilder::SMF_TrackBuilder(std::size_t iExpectedBytes)
{
    if (iExpectedBytes > 0) SetRoom(iExpectedBytes + cPlainRoom);
}

// So many bytes behind those that are written.
inline char* SMF_TrackBuilder::Room(std::size_t iBytes)
{
    if (mRoom - mSize < iBytes) [[unlikely]]
        SetRoom(std::max(mSize + iBytes + cPlainRoom, mRoom + mRoom / 2));
    return mBytes.get() + mSize;
}

inline void SMF_TrackBuilder::Put(std::string_view iBytes)
{
    char* const room = Room(iBytes.size());
    if (iBytes.size() <= 4) // nearly all: a call to copy them would take longer
        for (std::size_t i = 0; i < iBytes.size(); ++i)
            room[i] = iBytes[i];
    else
        iBytes.copy(room, iBytes.size());
    mSize += iBytes.size();
}

inline void SMF_TrackBuilder::PutByte(Cmn_UInt8 iByte)
{
    *Room(1) = static_cast<char>(iByte);
    ++mSize;
}

// In as few bytes as it takes; iValue is 0 to SMF_Event::cMaxDelta.
inline void SMF_TrackBuilder::PutVariableLength(Cmn_Int64 iValue)
{
    const int more = (iValue >= 1 << 7) + (iValue >= 1 << 14) + (iValue >= 1 << 21);
    char* at = Room(4);
    for (int shift = 7 * more; shift > 0; shift -= 7)
        *at++ = static_cast<char>(0x80 | (iValue >> shift & 0x7F));
    *at = static_cast<char>(iValue & 0x7F);
    mSize += static_cast<std::size_t>(more) + 1;
}

void SMF_TrackBuilder::PutDelta(Cmn_Int64 iTick)
{
    while (iTick - GetTick() > SMF_Event::cMaxDelta) {
        const Cmn_Int64 between = GetTick() + SMF_Event::cMaxDelta;
        Put({"\xFF\xFF\xFF\x7F\xFF\x01\0", 7}); // an empty text
        mRunningStatus = 0;
        EndEvent(between);
    }
    PutVariableLength(iTick - GetTick());
}

void SMF_TrackBuilder::PutContent(std::string_view iContent)
{
    PutVariableLength(static_cast<Cmn_Int64>(iContent.size()));
    Put(iContent);
    mRunningStatus = 0;
}

void SMF_TrackBuilder::EndEvent(Cmn_Int64 iTick)
{
    if (mSize > cMaxTrackBytes) throw std::length_error("a MIDI track of 2^32 bytes or more");
    mTick = iTick;
    ++mEventCount;
}

void SMF_TrackBuilder::AppendAny(const SMF_Event& iEvent, Cmn_Int64 iTick)
{
    if (!BeginEvent(iTick)) return;
    const std::string_view spelledDelta = iEvent.mBytes.substr(0, iEvent.mDeltaSize);
    Cmn_Int64 delta = 0;
    for (const char byte : spelledDelta)
        delta = delta << 7 | (byte & 0x7F);
    std::string_view rest = iEvent.mBytes;
    if (delta != iTick - GetTick()) {
        PutDelta(iTick);
        rest.remove_prefix(spelledDelta.size());
    } else if (iEvent.mIsRunning && mRunningStatus != iEvent.mStatus) {
        Put(spelledDelta);
        rest.remove_prefix(spelledDelta.size());
    }
    // Asked after the delta time: bridging a gap ends running status.
    if (iEvent.mIsRunning && mRunningStatus != iEvent.mStatus) PutByte(iEvent.mStatus);
    Put(rest);
    mRunningStatus = iEvent.IsChannel() ? iEvent.mStatus : Cmn_UInt8{0};
    mIsEnded = iEvent.IsEndOfTrack();
    EndEvent(iTick);
}

void SMF_TrackBuilder::AppendChannel(Cmn_Int64 iTick, Cmn_UInt8 iStatus, Cmn_UInt8 iData, Cmn_UInt8 iSecond,
                                     bool iIsRunning)
{
    if (!Cmn_ASSERT(iStatus >= 0x80 && iStatus < SMF_Event::cSysEx && iData < 0x80 && iSecond < 0x80)) return;
    if (HasPlainRoom(iTick)) {
        const bool isOne = (iStatus & 0xE0) == 0xC0;
        PutPlain(iTick, iStatus, unsigned{!iIsRunning} | unsigned{mRunningStatus != iStatus},
                 static_cast<Cmn_UInt64>(iData | (isOne ? 0 : iSecond << 8)), isOne ? 1 : 2);
        return;
    }
    if (!BeginEvent(iTick)) return;
    PutDelta(iTick);
    if (!iIsRunning || mRunningStatus != iStatus) PutByte(iStatus);
    PutByte(iData);
    if ((iStatus & 0xE0) != 0xC0) PutByte(iSecond);
    mRunningStatus = iStatus;
    EndEvent(iTick);
}

void SMF_TrackBuilder::AppendSysEx(Cmn_Int64 iTick, Cmn_UInt8 iStatus, std::string_view iContent)
{
    if (!Cmn_ASSERT(iStatus == SMF_Event::cSysEx || iStatus == SMF_Event::cEscape)) return;
    if (iContent.size() > SMF_Event::cMaxDelta) throw std::length_error("a sysex of 2^28 bytes or more");
    if (!BeginEvent(iTick)) return;
    PutDelta(iTick);
    PutByte(iStatus);
    PutContent(iContent);
    EndEvent(iTick);
}

void SMF_TrackBuilder::AppendMeta(Cmn_Int64 iTick, Cmn_UInt8 iType, std::string_view iContent)
{
    if (!Cmn_ASSERT(SMF_EventRules::FaultOf(iType, iContent).mText.empty())) return;
    if (iContent.size() > SMF_Event::cMaxDelta) throw std::length_error("a meta event of 2^28 bytes or more");
    if (!BeginEvent(iTick)) return;
    PutDelta(iTick);
    PutByte(SMF_Event::cMeta);
    PutByte(iType);
    PutContent(iContent);
    mIsEnded = iType == SMF_Event::cEndOfTrack;
    EndEvent(iTick);
}

SMF_Track SMF_TrackBuilder::Finish(Cmn_Int64 iEndTick)
{
    if (!mIsEnded) AppendMeta(std::max(iEndTick, GetTick()), SMF_Event::cEndOfTrack, {});
    SetRoom(mSize);
    const std::string_view all(mBytes.get(), mSize);
    SMF_Track track(std::shared_ptr<const char>(std::move(mBytes)), all, mEventCount, mTick);
    *this = SMF_TrackBuilder();
    return track;
}
