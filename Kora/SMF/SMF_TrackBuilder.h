// SMF_TrackBuilder: writes a track, event by event.
//
// Events copied from another track keep their own spelling (running status, lengths in more bytes than they
// need) as far as what goes before allows, so that a track copied without a change is the same bytes.
//
// Units:         ticks are file ticks from the track's beginning, and never go back.
// Preconditions: an event before the last one's tick asserts and goes to that tick. One that no reader
//                would take (a data byte above 0x7F, a tempo of 0, anything behind the end of track)
//                asserts and is left out.
// Times:         a gap of more than SMF_Event::cMaxDelta ticks is bridged by empty text events.
// Ownership:     the bytes that are written, which Finish hands to the track. Moved, not copied.
// Throws:        std::length_error for a track of 2^32 bytes or more and an event's content of 2^28 or more.
//                After an exception, or moved from, a builder can only be assigned or destroyed.
#pragma once

#include "Kora/SMF/SMF_Track.h"

class KORA_API SMF_TrackBuilder
{
public:
    // About as many bytes are expected.
    explicit SMF_TrackBuilder(std::size_t iExpectedBytes = 0);

    // An event of another track, at its own tick or at another.
    void Append(const SMF_Event& iEvent) { Append(iEvent, iEvent.mTick); }
    void Append(const SMF_Event& iEvent, Cmn_Int64 iTick)
    {
        if (!AppendPlain(iEvent, iTick)) [[unlikely]]
            AppendAny(SMF_Event(iEvent), iTick); // a copy: that of a walk stays in registers
    }
    // iStatus is 0x80 to 0xEF. Program changes (0xC0) and channel pressures (0xD0) have no second
    // byte. Written with its status, or under running status where iIsRunning asks for it and the
    // event before had the same.
    void AppendChannel(Cmn_Int64 iTick, Cmn_UInt8 iStatus, Cmn_UInt8 iData, Cmn_UInt8 iSecond = 0,
                       bool iIsRunning = false);
    // iStatus is SMF_Event::cSysEx or cEscape.
    void AppendSysEx(Cmn_Int64 iTick, Cmn_UInt8 iStatus, std::string_view iContent);
    // Content that a meta event of the type does not have asserts, and nothing is added.
    void AppendMeta(Cmn_Int64 iTick, Cmn_UInt8 iType, std::string_view iContent);

    // Of the last event so far.
    Cmn_Int64 GetTick() const { return mTick; }
    // Ends the track, if no end-of-track event came, at the last event's tick or at a later one, and hands it
    // out. The builder begins anew.
    SMF_Track Finish(Cmn_Int64 iEndTick = 0);

private:
    static constexpr std::size_t cPlainRoom = 8, cMaxTrackBytes = 0xFFFFFFFF;

    // What nearly all events are: a channel's, with a delta time of one or two bytes, and room for it. False,
    // with nothing done, for others.
    inline bool AppendPlain(const SMF_Event& iEvent, Cmn_Int64 iTick);
    void PutPlain(Cmn_Int64 iTick, Cmn_UInt8 iStatus, Cmn_UInt64 iHasStatus, Cmn_UInt64 iData,
                  std::size_t iDataSize);
    bool HasPlainRoom(Cmn_Int64 iTick) const
    {
        return DeltaTo(iTick) < 1 << 14 && mSize < mPlainEnd && !mIsEnded;
    }
    // Enormous for a tick that goes back.
    Cmn_UInt64 DeltaTo(Cmn_Int64 iTick) const
    {
        return static_cast<Cmn_UInt64>(iTick) - static_cast<Cmn_UInt64>(mTick);
    }
    void SetRoom(std::size_t iBytes);
    void AppendAny(const SMF_Event& iEvent, Cmn_Int64 iTick);
    bool BeginEvent(Cmn_Int64& ioTick);
    void Put(std::string_view iBytes);
    void PutByte(Cmn_UInt8 iByte);
    void PutVariableLength(Cmn_Int64 iValue);
    void PutDelta(Cmn_Int64 iTick);
    void PutContent(std::string_view iContent);
    char* Room(std::size_t iBytes);
    void EndEvent(Cmn_Int64 iTick);

    struct KORA_API Freeing
    {
        void operator()(char* ioBytes) const noexcept;
    };
    using Bytes = std::unique_ptr<char, Freeing>;

    Bytes mBytes; // room for mRoom of them, of which mSize are written
    std::size_t mRoom = 0;
    std::size_t mSize = 0;
    std::size_t mPlainEnd = 0; // behind the last place with room for any plain event
    Cmn_Int64 mEventCount = 0;
    Cmn_Int64 mTick = 0;
    Cmn_UInt8 mRunningStatus = 0; // 0: none
    bool mIsEnded = false;
};

// Nothing branches on the delta time's size and on running status; iHasStatus is 1
// where the status is written.
inline void SMF_TrackBuilder::PutPlain(Cmn_Int64 iTick, Cmn_UInt8 iStatus, Cmn_UInt64 iHasStatus,
                                       Cmn_UInt64 iData, std::size_t iDataSize)
{
    const Cmn_UInt64 delta = DeltaTo(iTick), isLong = delta >= 1 << 7 ? 1 : 0;
    const Cmn_UInt64 rest = (iStatus & (0 - iHasStatus)) | iData << (8 * iHasStatus);
    const Cmn_UInt64 first = delta >> (7 * isLong) | isLong << 7, second = (delta & 0x7F & (0 - isLong)) << 8;
    SMF_Event::PutEightBytes(mBytes.get() + mSize, first | second | rest << (8 + 8 * isLong));
    mSize += 1 + isLong + iHasStatus + iDataSize;
    mTick = iTick;
    mRunningStatus = iStatus;
    ++mEventCount;
}

inline bool SMF_TrackBuilder::AppendPlain(const SMF_Event& iEvent, Cmn_Int64 iTick)
{
    const Cmn_UInt8 deltaSize = DeltaTo(iTick) < 1 << 7 ? 1 : 2;
    // A delta time that is spelled in more bytes may be one that stays as it is.
    if (!HasPlainRoom(iTick) || !iEvent.IsChannel() || iEvent.mDeltaSize > deltaSize) return false;
    const bool isOne = (iEvent.mStatus & 0xE0) == 0xC0;
    const unsigned hasStatus = unsigned{!iEvent.mIsRunning} | unsigned{mRunningStatus != iEvent.mStatus};
    const char* const end = iEvent.mBytes.data() + iEvent.mBytes.size();
    const Cmn_UInt64 last = static_cast<Cmn_UInt8>(end[-1]), before = static_cast<Cmn_UInt8>(end[-2]);
    if (isOne) [[unlikely]]
        PutPlain(iTick, iEvent.mStatus, hasStatus, last, 1);
    else
        PutPlain(iTick, iEvent.mStatus, hasStatus, before | last << 8, 2);
    return true;
}
