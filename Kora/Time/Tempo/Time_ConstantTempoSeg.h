// Time_ConstantTempoSeg: a tempo map segment with one tempo from its start to the next segment.
//
// A segment may be without a tempo of its own ("unspecified"). Locked at the map's start it is then generated
// with the next segment's tempo, or 120 beats of 960000 ticks where that has none; anywhere else it generates
// nothing, and the tempo before it goes on. The tempo borrowed is never stored.
//
// Units:   beats per minute; the beat in internal ticks.
// Streams: a header "Const", version 1, with the base block "TMS" (Time_TempoMapSegment), beats per minute
//          (double), ticks per beat (64 bits), unspecified (bool). The layout before it is a header "Tempo",
//          version 1, with start tick (64 bits), beats per minute (double), ticks per beat (64 bits).
#pragma once

#include "Kora/Time/Tempo/Time_TempoMapSegment.h"
#include "Kora/Time/Values/Time_SongDefaults.h"

#include <cstddef>
#include <new>

// Not in the exported class, so that every module has them as constants of its own.
struct Time_ConstantTempoSegConstants : Time_DefaultTempo
{
    // The name of a header at a stream's position tells which of the segment's two constructors reads it.
    static constexpr char cStreamName[] = "Const";
    static constexpr char cPrevSegStreamName[] = "Tempo"; // the layout before
};

class KORA_API Time_ConstantTempoSeg : public Time_TempoMapSegment, public Time_ConstantTempoSegConstants
{
public:
    // Tells the constructors of the two layouts apart.
    enum EReadPrevSeg { ReadPrevSeg };

    // 120 bpm of quarter notes, every flag false.
    explicit Time_ConstantTempoSeg(Time_Tick iStartTick);
    // A tempo not above 0 or infinite asserts "iBeatsPerMinute > 0", a beat not above 0 ticks "iTicksPerBeat
    // != Time_TickLength(0)"; then neither is taken, and the tempo is the default one.
    Time_ConstantTempoSeg(Time_Tick iStartTick, double iBeatsPerMinute,
                          const Time_TickLength& iTicksPerBeat = cDefaultTicksPerBeat);
    Time_ConstantTempoSeg(const Time_ConstantTempoSeg& iOther);
    // Reads what StreamOut wrote. Throws as Sys_StdStreamHeaderReader and Sys_TypedInStream do, and
    // Sys_StreamReadException for what is not a tempo, but for the beats per minute of a computed segment.
    explicit Time_ConstantTempoSeg(Sys_TypedInStream& ioStream);
    // Reads a segment of the layout before, which becomes a free segment with that tempo. Throws likewise.
    Time_ConstantTempoSeg(Sys_TypedInStream& ioStream, EReadPrevSeg);
    ~Time_ConstantTempoSeg() override;

    // A song may have a million segments: each takes its own bytes, without those that the system's heap adds.
    // Objects of derived classes are the system's heap's.
    static void* operator new(std::size_t iBytes);
    // What operator new gave.
    static void operator delete(void* iSegment, std::size_t iBytes) noexcept;
    // Of a derived class that is aligned more than usual.
    static void* operator new(std::size_t iBytes, std::align_val_t iAlignment)
    {
        return ::operator new(iBytes, iAlignment);
    }
    // As the one above.
    static void operator delete(void* iSegment, std::size_t, std::align_val_t iAlignment) noexcept
    {
        ::operator delete(iSegment, iAlignment);
    }
    // At a place of the caller's.
    static void* operator new(std::size_t, void* iPlace) noexcept { return iPlace; }

    double GetBeatsPerMinute() const { return mBeatsPerMinute; }
    Time_TickLength GetTicksPerBeat() const
    {
        return Time_TickLength(nTicksPerBeat, static_cast<Time_ETickType>(mTickType));
    }
    bool IsTempoUnspecified() const { return mTempoIsUnspecified; }
    // What is stored stays, and is not asked for until SetTempo.
    void SetTempoIsUnspecified() { mTempoIsUnspecified = true; }

    // How many samples iLength may last in the segment's beat, so that its tempo is within the limits.
    void ComputeSampleLengthLimits(double& oMin, double& oMax, const Time_TickLength& iLength,
                                   const class Time_TempoLimits& iLimits, double iSampleRate) const;

    // A computed segment takes no tempo.
    bool CanSetTempo() const { return !IsComputed(); }
    // Stores both; the tempo is specified then. Asserts "this->CanSetTempo()"; what is stored
    // nonetheless is derived anew by the next rebuild. What the constructor does not take asserts as
    // there, and changes nothing.
    void SetTempo(double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat);

    ETypeID GetTypeID() const override;
    std::unique_ptr<Time_TempoMapSegment> Clone() const override;
    void GenerateForward(Time_BasicTempoMap& ioMap, const Time_TempoMapSegment* iPrevious,
                         const Time_TempoMapSegment* iNext) const override;
    void GenerateBackward(Time_BasicTempoMap& ioMap, double iFractionalEndSample,
                          Time_Tick iEndTick) const override;
    bool GetTempo(double& oBeatsPerMinute, Time_TickLength& oTicksPerBeat) const override;
    void Split(std::unique_ptr<Time_TempoMapSegment>& oFirst, std::unique_ptr<Time_TempoMapSegment>& oSecond,
               Time_Tick iTick) const override;
    void StreamOut(Sys_TypedOutStream& ioStream) const override;
    Cmn_XMLNode GetAsXML() const override;
    std::string Dump() const override;

private:
    friend struct Time_ConstantTempoValue;

    Time_ConstantTempoSeg(class Sys_StdStreamHeaderReader&& iHeader, Sys_TypedInStream& ioStream);
    void ReadTempo(Sys_TypedInStream& ioStream);
    void SetTicksPerBeat(const Time_TickLength& iTicksPerBeat);

    // The small ones first, behind the base class's.
    bool mTempoIsUnspecified = false;
    Cmn_UInt8 mTickType = Time_eTickType_Internal; // of the beat
    // Derived by each rebuild when the segment is computed, inside a map too, where segments are read-only.
    mutable double mBeatsPerMinute = cDefaultBeatsPerMinute;
    Cmn_Int64 nTicksPerBeat = cDefaultTicksPerBeat.AsInt64();
};
