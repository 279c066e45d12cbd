// Time_NewTempoEvent, Time_NewTempoEvents: the tempos that a tempo-producing tool has found, before they
// become segments of a tempo map.
//
// Units:      ticks are internal; tempos in beats per minute of the event's own beat;
//             rates in samples per second.
// Invariants: events ascend strictly by start tick. AddTempoEvent keeps that, the
// vector's own operations do not.
#pragma once

#include "Bastel/Cmn/Cmn_PolyVector.h"
#include "Kora/Time/Values/Time_SongDefaults.h"
#include "Kora/Time/Values/Time_TypedLength.h"

class Time_NewTempoEvent
{
public:
    // 120 quarters per minute at tick 0.
    constexpr Time_NewTempoEvent() = default;
    constexpr Time_NewTempoEvent(Time_Tick iStartTick, float iTempo, const Time_TickLength& iTicksPerBeat)
        : mStartTick(iStartTick)
        , mTempo(iTempo)
        , mTicksPerBeat(iTicksPerBeat)
    {
    }

    constexpr Time_Tick GetStartTick() const { return mStartTick; }
    constexpr void SetStartTick(Time_Tick iTick) { mStartTick = iTick; }
    constexpr float GetTempo() const { return mTempo; }
    constexpr void SetTempo(float iTempo) { mTempo = iTempo; }
    constexpr const Time_TickLength& GetTicksPerBeat() const { return mTicksPerBeat; }
    constexpr void SetTicksPerBeat(const Time_TickLength& iTicksPerBeat) { mTicksPerBeat = iTicksPerBeat; }

    // Whether tempo and beat are the same; the ticks may differ.
    [[nodiscard]] constexpr bool HasTempoOf(const Time_NewTempoEvent& iOther) const
    {
        return mTempo == iOther.mTempo && mTicksPerBeat == iOther.mTicksPerBeat;
    }

private:
    Time_Tick mStartTick;
    float mTempo = static_cast<float>(Time_DefaultTempo::cDefaultBeatsPerMinute);
    Time_TickLength mTicksPerBeat = Time_DefaultTempo::cDefaultTicksPerBeat;
};

class Time_NewTempoEvents : public Cmn_PolyVector<Time_NewTempoEvent>
{
public:
    // At Time_Globals::GetPullSampleRate.
    KORA_API Time_NewTempoEvents();
    explicit Time_NewTempoEvents(double iSampleRate)
        : mSampleRate(iSampleRate)
    {
    }

    double GetSampleRate() const { return mSampleRate; }
    void SetSampleRate(double iSampleRate) { mSampleRate = iSampleRate; }

    // An event at the same tick takes the new tempo and beat. An event that repeats the one before it is not
    // added, nor is one that is no tempo (Time_BasicTempoMapSegment::IsTempo), which asserts
    // "iEvent.GetTempo() > 0".
    KORA_API void AddTempoEvent(const Time_NewTempoEvent& iEvent);
    // The event that starts at iTick, or null.
    [[nodiscard]] KORA_API const Time_NewTempoEvent* GetTempoEventAtTick(Time_Tick iTick) const;

    // The tick one quantum after iStart, or after the last event where iStart's count is 0; iStart
    // counts as ticks whatever its unit. A quantum in samples is as long as the last tempo makes it. A
    // quantum in ticks is added; with one event only, the result is the next line after the start on the
    // grid of the default song start,
    // 1000000000000. Frames, or no event at all, assert and give iStart.
    KORA_API Time_Tick NextQuantizedTick(const Time_TypedLength& iQuantum,
                                         const Time_TypedLength& iStart) const;

    // Keeps the events in [iStart, iEnd).
    KORA_API void ClearOutsideOfRange(Time_Tick iStart, Time_Tick iEnd);
    // Keeps the events up to iTime, the one at iTime included.
    KORA_API void ClearAfterTime(Time_Tick iTime);

    // A line an event: "tick 960000: 120 beats of 960000 ticks"
    [[nodiscard]] KORA_API std::string Dump() const;

private:
    const_iterator LowerBound(Time_Tick iTick) const;

    double mSampleRate;
};
