// Time_Converter: turns a time in any unit into any other, through one tempo map and one meter map.
//
//                 meter map              tempo map            rates of Time_Globals
//   bars|beats|ticks  <──────>  ticks  <──────────>  samples  <──────────────────>  frames
//
// Units:      samples and frames at the pulled rates of Time_Globals; ticks are internal ticks. Each arrow
//             rounds once; ticks and frames meet by way of whole samples.
// Threads:    the thread that owns the maps. After Time_TempoMap::TryToAcquireReadLock a real-time thread may
//             convert too: conversions allocate, lock and throw nothing.
// Ownership:  borrows its maps; owns those that UseDefaultMaps makes.
// Missing:    without a tempo map conversions between ticks and the rest assert "mTempoMap != 0", without a
//             meter map those of bars|beats|ticks assert "mMeterMap != 0". They give 0, or for lengths the
//             time unchanged.
#pragma once

#include "Export/Kora_API.h"
#include "Kora/Time/Formats/Time_BarBeatTick.h"
#include "Kora/Time/Values/Time_Typed.h"

#include <cstddef>
#include <memory>
#include <string>

class Time_MeterMap;
class Time_TempoMap;
class Time_TypedVector;

class KORA_API Time_Converter
{
public:
    // No maps; the main counter counts samples.
    Time_Converter();
    ~Time_Converter();
    Time_Converter(const Time_Converter&) = delete;
    Time_Converter& operator=(const Time_Converter&) = delete;

    Time_TempoMap* GetTempoMap() const { return mTempoMap; }
    void SetTempoMap(Time_TempoMap* iMap) { mTempoMap = iMap; }
    Time_MeterMap* GetMeterMap() const { return mMeterMap; }
    void SetMeterMap(Time_MeterMap* iMap) { mMeterMap = iMap; }
    // What the big counter on the user's screen counts in.
    Time_EType GetMainCounterType() const { return mMainCounterType; }
    void SetMainCounterType(Time_EType iType) { mMainCounterType = iType; }
    // Makes an empty tempo map and an empty meter map of its own and uses them, each
    // unless it made one before.
    void UseDefaultMaps();

    // Samples per frame.
    double GetFrameLength() const;

    // --- One time
    // A time of no valid unit asserts "false" and converts to 0.

    // The nearest sample, halves upward.
    Time_Sample ToSample(const Time_Typed& iTime) const KORA_NONBLOCKING;
    // The nearest internal tick, halves upward.
    Time_Tick ToTick(const Time_Typed& iTime) const KORA_NONBLOCKING;
    // The frame whose start is nearest.
    Time_Typed ToFrames(const Time_Typed& iTime) const KORA_NONBLOCKING;
    // The frame that runs at the middle of the sample. 48000 samples a second, 30 frames: sample 1599 is
    // still in frame 0, where ToFrames gives 1.
    Time_Typed ToFramesNotRounded(const Time_Typed& iTime) const KORA_NONBLOCKING;
    // Exact for ticks; a sample or a frame goes through its nearest tick.
    Time_BarBeatTick ToBarBeatTick(const Time_Typed& iTime) const;

    // A time in the unit asked for; in an invalid unit it stays as it is.
    Time_Typed ToType(const Time_Typed& iTime, Time_EType iType) const KORA_NONBLOCKING;
    Time_Typed ToType(Time_Sample iSample, Time_EType iType) const KORA_NONBLOCKING;
    Time_Typed ToType(Time_Tick iTick, Time_EType iType) const KORA_NONBLOCKING;
    Time_Typed ToType(const Time_BarBeatTick& iBBT, Time_EType iType) const;
    // The same, with frames by ToFramesNotRounded.
    Time_Typed ToTypeNotRounded(Time_Sample iSample, Time_EType iType) const KORA_NONBLOCKING;
    // Samples to the first tick that lands there or later, ticks to the first sample that does: where many
    // ticks share a sample it is the first of them. Only between these two; else it asserts.
    Time_Typed ToFirstType(const Time_Typed& iTime, Time_EType iType) const KORA_NONBLOCKING;
    // ToType with the main counter's unit.
    Time_Typed ToMainCounterType(const Time_Typed& iTime) const { return ToType(iTime, mMainCounterType); }
    Time_Typed ToMainCounterType(Time_Sample iSample) const { return ToType(iSample, mMainCounterType); }
    Time_Typed ToMainCounterType(Time_Tick iTick) const { return ToType(iTick, mMainCounterType); }

    // Sample 0.
    Time_Typed GetSessionStartTime(Time_EType iType) const;
    // Time_Typed::GetMaxSessionSample, which is part of the session.
    Time_Typed GetSessionEndTime(Time_EType iType) const;
    // Where the song starts: 1|1|0.
    Time_Typed GetBarOneTime(Time_EType iType) const;
    // Whether the time lay outside the session and was moved to its nearer end.
    bool PinToValidSessionRange(Time_Typed& ioTime) const;

    // A time moved by a length of any unit, in the time's own unit. The sum is taken in the length's unit; a
    // length of zero gives the very time back.
    Time_Typed AddLength(const Time_Typed& iTime, const Time_TypedLength& iLength) const;
    // As AddLength, the other way.
    Time_Typed SubtractLength(const Time_Typed& iTime, const Time_TypedLength& iLength) const;
    // By bars, beats and ticks, along the meter map.
    Time_Typed AddLength(const Time_Typed& iTime, const Time_BarBeatTick& iLength) const;
    // As AddLength, the other way.
    Time_Typed SubtractLength(const Time_Typed& iTime, const Time_BarBeatTick& iLength) const;

    // --- Many times at once, in place, each with the bits that the single form gives
    //
    // They assert "ioTimes->GetContext() == Time_eContext_GlobalPosition" and go on with the counts as they
    // are; null asserts "ioTimes != 0" and does nothing.

    // The vector takes the unit asked for.
    void ToType(Time_TypedVector* ioTimes, Time_EType iType) const KORA_NONBLOCKING;
    // ToType with samples.
    void ToSamples(Time_TypedVector* ioTimes) const KORA_NONBLOCKING;
    // ToType with ticks.
    void ToTicks(Time_TypedVector* ioTimes) const KORA_NONBLOCKING;
    // ToType with frames.
    void ToFrames(Time_TypedVector* ioTimes) const KORA_NONBLOCKING;
    // Counts in the host's own memory, in place: iCount global positions of iFrom become such of iTo. A unit
    // that is none asserts "false" and makes them 0.
    void ToType(Cmn_Int64* ioCounts, std::size_t iCount, Time_EType iFrom,
                Time_EType iTo) const KORA_NONBLOCKING;
    // The vector keeps its unit.
    void AddLength(Time_TypedVector* ioTimes, const Time_TypedLength& iLength) const;
    // As AddLength, the other way.
    void SubtractLength(Time_TypedVector* ioTimes, const Time_TypedLength& iLength) const;
    // Lengths and a time make global positions: the time is converted to the vector's unit, which stays.
    // Asserts "ioTimes->GetContext() == Time_eContext_RelativeLength".
    void AddTime(Time_TypedVector* ioTimes, const Time_Typed& iTime) const;
    // Global positions less a time make lengths, likewise.
    void SubtractTime(Time_TypedVector* ioTimes, const Time_Typed& iTime) const;

    // The main counter's unit and both maps, each on lines of its own.
    [[nodiscard]] std::string Dump() const;

private:
    Time_Tick SampleToTick(Time_Sample iSample) const;
    bool CheckTempoMap() const;
    bool CheckMeterMap() const;
    void ConvertTimes(Time_TypedVector& ioTimes, Time_EType iType) const;
    void CountsToSamples(Cmn_Int64* ioCounts, std::size_t iCount, Time_EType iFrom) const;
    void CountsToTicks(Cmn_Int64* ioCounts, std::size_t iCount, Time_EType iFrom) const;
    void CountsToFrames(Cmn_Int64* ioCounts, std::size_t iCount, Time_EType iFrom) const;

    Time_TempoMap* mTempoMap = nullptr;
    Time_MeterMap* mMeterMap = nullptr;
    std::unique_ptr<Time_TempoMap> mOwnedTempoMap;
    std::unique_ptr<Time_MeterMap> mOwnedMeterMap;
    Time_EType mMainCounterType = Time_eType_Samples;
};
