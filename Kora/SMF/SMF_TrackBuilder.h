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
// Throws:        std::length_error for a track of 2^32 bytes or more and an event's content of 2^28 or more.
//                After an exception a builder can only be assigned or destroyed.
#pragma once

#include "Kora/SMF/SMF_Track.h"

class KORA_API SMF_TrackBuilder
{
public:
    // About as many bytes are expected.
    explicit SMF_TrackBuilder(std::size_t iExpectedBytes = 0)
        : mBytes(iExpectedBytes, '\0')
    {
    }

    // An event of another track, at its own tick or at another.
    void Append(const SMF_Event& iEvent) { Append(iEvent, iEvent.mTick); }
    void Append(const SMF_Event& iEvent, Cmn_Int64 iTick);
    // iStatus is 0x80 to 0xEF. Program changes (0xC0) and channel pressures (0xD0) have no second
    // byte. Written with its status, or under running status where iIsRunning asks for it and the
    // event before had the same.
    void AppendChannel(Cmn_Int64 iTick, Cmn_UInt8 iStatus, Cmn_UInt8 iData, Cmn_UInt8 iSecond = 0,
                       bool iIsRunning = false);
    // iStatus is SMF_Event::cSysEx or cEscape.
    void AppendSysEx(Cmn_Int64 iTick, Cmn_UInt8 iStatus, std::string_view iContent);
    void AppendMeta(Cmn_Int64 iTick, Cmn_UInt8 iType, std::string_view iContent);

    // Of the last event so far.
    Cmn_Int64 GetTick() const { return mTick; }
    // Ends the track, if no end-of-track event came, at the last event's tick or at a later one, and hands it
    // out. The builder begins anew.
    SMF_Track Finish(Cmn_Int64 iEndTick = 0);

private:
    bool BeginEvent(Cmn_Int64& ioTick);
    void Put(std::string_view iBytes);
    void PutByte(Cmn_UInt8 iByte);
    void PutVariableLength(Cmn_Int64 iValue);
    void PutDelta(Cmn_Int64 iTick);
    void PutContent(std::string_view iContent);
    char* Room(std::size_t iBytes);
    void EndEvent(Cmn_Int64 iTick);

    // As many as there is room for, of which mSize are written.
    std::string mBytes;
    std::size_t mSize = 0;
    Cmn_Int64 mEventCount = 0;
    Cmn_Int64 mTick = 0;
    Cmn_UInt8 mRunningStatus = 0; // 0: none
    bool mIsEnded = false;
};
