// SMF_ChasedState: what is in force at a place of a MIDI file, and the events that bring it about elsewhere.
#pragma once

#include "Kora/SMF/SMF_Event.h"

#include <array>
#include <map>
#include <vector>

namespace SMF_TimeEditDetail {

// An event in library ticks from the beginning. A channel event may be of no file: it has no bytes then.
struct Event
{
    Cmn_Int64 mTick = 0;
    const char* mBytes = nullptr; // delta time first
    Cmn_UInt32 mSize = 0;
    Cmn_UInt32 mOrder = 0; // among those that may meet at one tick of a track
    Cmn_UInt8 mStatus = 0;
    Cmn_UInt8 mFirst = 0; // a channel event's data, or the type of a meta event
    Cmn_UInt8 mSecond = 0;
    Cmn_UInt8 mDeltaSize = 0;
    bool mIsRunning = false;

    bool IsChannel() const { return mStatus < SMF_Event::cSysEx; }
    int Kind() const { return mStatus & 0xF0; } // 0x80 to 0xF0
    bool IsNoteOn() const { return Kind() == 0x90 && mSecond != 0; }
    bool IsNoteOff() const { return Kind() == 0x80 || (Kind() == 0x90 && mSecond == 0); }
    bool IsEndOfTrack() const { return mStatus == SMF_Event::cMeta && mFirst == SMF_Event::cEndOfTrack; }
    // What stays at the file's first tick.
    bool IsSetUp() const { return Kind() > 0xA0 && !IsEndOfTrack(); }

    static Event Channel(int iStatus, int iFirst, int iSecond);
};

// An event that is to be put into a track.
struct Placed
{
    std::size_t mTrack;
    Event mEvent;
};

class ChasedState
{
public:
    // Takes an event into account. Tracks come one after the other, each in order.
    void Apply(const Event& iEvent, std::size_t iTrack);

    // What makes the wanted state out of this one, but for what iAnew sets; by tracks, in order.
    std::vector<Placed> StepsTo(const ChasedState& iWanted, const ChasedState& iAnew) const;

private:
    // Places of a channel. A program's bank is the one selected when it came.
    enum ESlot { eSlot_Bank = 128, eSlot_BankLow, eSlot_Program, eSlot_Bend, eSlot_Pressure, eSlot_Count };
    static constexpr int cTempo = 16 * eSlot_Count, cMeter = cTempo + 1, cKey = cTempo + 2,
                         cSlots = cTempo + 3;

    struct Entry
    {
        bool IsSet() const { return mEvent.mStatus != 0; }
        Event mEvent;
        std::size_t mTrack = 0;
    };
    // The parameter that data entry goes to: the values of controllers 98 to 101, -1 for none yet.
    struct Selection
    {
        bool operator==(const Selection& iOther) const
        {
            return mFirst == iOther.mFirst && mLow == iOther.mLow && mHigh == iOther.mHigh;
        }
        bool IsNone() const { return mLow < 0 && mHigh < 0; }
        int mFirst = 100; // the controller of the low part: 98 or 100
        int mLow = -1, mHigh = -1;
        std::size_t mTrack = 0;
        Cmn_UInt32 mOrder = 0;
    };
    struct Parameter
    {
        Entry mData;
        Selection mSelection;
    };
    struct Step
    {
        Placed mPlaced;
        const Selection* mSelection; // of a parameter's data
    };

    static Event Default(int iSlot);
    static bool IsSame(const Entry& iA, const Entry& iB, int iSlot);
    void ApplyController(const Event& iEvent, std::size_t iTrack);
    void Reset(const Event& iEvent, std::size_t iTrack);
    void Set(int iSlot, const Entry& iEntry);
    bool IsProgramSame(const ChasedState& iOther, int iChannel) const;
    void AddSlots(std::vector<Step>& ioSteps, const ChasedState& iWanted, const ChasedState& iAnew) const;
    void AddParameters(std::vector<Step>& ioSteps, const ChasedState& iWanted,
                       const ChasedState& iAnew) const;

    std::vector<Entry> mEntries = std::vector<Entry>(cSlots);
    std::map<Cmn_Int64, Parameter> mParameters; // by channel, selection and controller
    std::array<Selection, 16> mSelections;
};

} // namespace SMF_TimeEditDetail
