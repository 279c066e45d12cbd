// Time_TempoMapSegment: one stretch of a tempo map as users edit it; it turns itself into numeric segments.
//
// A segment ends where the next one starts. Where it starts in samples is either free, which means that
// whatever lies before it decides, or locked, and then it stays. How fast it goes is either its own tempo, or
// computed: each rebuild finds the tempo at which it reaches the next lock at the right sample.
//
// Units:      ticks, 960000 to a quarter note; samples at the sample rate of the map that generates.
// Threads:    the document's thread only.
// Ownership:  a segment belongs to whoever made it until Time_TempoMap::AddSegment takes it. Inside a map it
//             is read-only: to change it, change a Clone() and add that.
#pragma once

#include "Kora/Time/Values/Time_Sample.h"
#include "Kora/Time/Values/Time_Tick.h"

#include <memory>

class Cmn_XMLNode;
class Sys_TypedInStream;
class Sys_TypedOutStream;
class Time_BasicTempoMap;
struct Time_SampleTransform;

class KORA_API Time_TempoMapSegment
{
public:
    // The kinds of segments, as streams have them.
    enum ETypeID {
        ePreviousTempoSeg = 0, // an older layout; none of that kind stands in a finished map
        eConstantTempoSeg = 1
    };

    virtual ~Time_TempoMapSegment();
    Time_TempoMapSegment& operator=(const Time_TempoMapSegment&) = delete;

    virtual ETypeID GetTypeID() const = 0;
    // A copy of the segment's own class.
    [[nodiscard]] virtual std::unique_ptr<Time_TempoMapSegment> Clone() const = 0;

    // Adds the numeric segment to ioMap where the start follows from what lies before: the locked sample, or
    // where ioMap's segments lead. A computed segment asserts "!this->IsComputed()". iPrevious and iNext are
    // the neighbours in the tempo map, null at its ends.
    virtual void GenerateForward(Time_BasicTempoMap& ioMap, const Time_TempoMapSegment* iPrevious,
                                 const Time_TempoMapSegment* iNext) const = 0;
    // Adds the numeric segment to ioMap where the end is known. A locked segment that is not computed asserts
    // "this->IsComputed()".
    virtual void GenerateBackward(Time_BasicTempoMap& ioMap, double iFractionalEndSample,
                                  Time_Tick iEndTick) const = 0;

    // The tempo in beats per minute and the beat's length. False, and nothing is set, when the segment
    // has no tempo of its own.
    [[nodiscard]] virtual bool GetTempo(double& oBeatsPerMinute, Time_TickLength& oTicksPerBeat) const = 0;

    // oFirst takes a copy of this segment with the computed flag cleared, oSecond a segment that goes on from
    // iTick with the same tempo and every flag false.
    virtual void Split(std::unique_ptr<Time_TempoMapSegment>& oFirst,
                       std::unique_ptr<Time_TempoMapSegment>& oSecond, Time_Tick iTick) const = 0;
    // Splits where a stretch between two locked positions gets another one: each half is what is computed in
    // its own. The caller locks oSecond, and clears its computed flag where nothing is locked behind it.
    virtual void SplitForIDB(std::unique_ptr<Time_TempoMapSegment>& oFirst,
                             std::unique_ptr<Time_TempoMapSegment>& oSecond, Time_Tick iTick) const;
    // Moves the sample that the start is locked to; the tempo and a free segment stay as they are.
    virtual void TransformSamples(const Time_SampleTransform& iTransform);

    // The stream form of the segment's own class.
    virtual void StreamOut(Sys_TypedOutStream& ioStream) const = 0;
    virtual Cmn_XMLNode GetAsXML() const = 0;
    // "tick 960000, locked to sample 24000, song start: 120 bpm per 960000 ticks"
    [[nodiscard]] virtual std::string Dump() const = 0;

    bool IsComputed() const { return mIsComputed; }
    bool IsLockedToSample() const { return mIsLockedToSample; }
    bool IsSongStart() const { return mIsSongStart; }
    bool IsCopyAnchor() const { return mIsCopyAnchor; }
    Time_Tick GetStartTick() const { return nStartTick; }
    // The sample that the start is locked to; it means nothing for a free segment.
    Time_Sample GetStartSample() const { return nLockedStartSample; }

    void SetIsComputed(bool iIsComputed) { mIsComputed = iIsComputed; }
    void SetIsSongStart(bool iIsSongStart) { mIsSongStart = iIsSongStart; }
    void SetIsCopyAnchor(bool iIsCopyAnchor) { mIsCopyAnchor = iIsCopyAnchor; }
    void SetStartTick(Time_Tick iStartTick) { nStartTick = iStartTick; }
    // The start is at that sample from here on.
    void LockToSample(Time_Sample iSample);
    // Keeps the sample.
    void UnlockFromSample() { mIsLockedToSample = false; }

    // Asserts "mValidCheck == 424": the memory holds a live segment.
    bool CheckIsValid() const;

protected:
    explicit Time_TempoMapSegment(Time_Tick iStartTick);
    Time_TempoMapSegment(const Time_TempoMapSegment& iOther);
    // Reads the base block: header "TMS", version 1.
    explicit Time_TempoMapSegment(Sys_TypedInStream& ioStream);

    void StreamOutBase(Sys_TypedOutStream& ioStream) const;
    Cmn_XMLNode GetBaseAsXML() const;
    [[nodiscard]] std::string DumpBase() const;

private:
    static constexpr Cmn_Int16 cValid = 424;

    // A song may have a million: the small ones last, where a derived class's small ones find room beside them.
    Time_Sample nLockedStartSample;
    Time_Tick nStartTick;
    bool mIsComputed = false;
    bool mIsLockedToSample = false;
    bool mIsSongStart = false;
    bool mIsCopyAnchor = false;
    Cmn_Int16 mValidCheck = cValid;
};
