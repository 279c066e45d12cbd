#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Kora/Sys/Sys_SlabHeap_p.h"
#include "Kora/Time/Tempo/Time_BasicTempoMap.h"
#include "Kora/Time/Tempo/Time_TempoLimits.h"

#include <sstream>

namespace {

constexpr Cmn_Int16 cVersion = 1;

bool CheckTempo(double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat)
{
    const bool hasBeat = Cmn_ASSERT_AS(iTicksPerBeat.AsInt64() > 0, "iTicksPerBeat != Time_TickLength(0)",
                                       "Time/Time_TempoMap");
    return Cmn_ASSERT_AS(Time_BasicTempoMapSegment::IsTempo(iBeatsPerMinute,
                                                            Time_ConstantTempoSeg::cDefaultTicksPerBeat),
                         "iBeatsPerMinute > 0", "Time/Time_TempoMap") &&
           hasBeat;
}

// Not where a sanitizer watches, which sees who uses a segment that is gone in its own heap alone.
#ifdef KORA_WATCHED_HEAP
constexpr bool cHasSlabs = false;
#else
constexpr bool cHasSlabs = true;
#endif

bool IsInSlab(std::size_t iBytes) { return cHasSlabs && iBytes == sizeof(Time_ConstantTempoSeg); }

// Never destroyed: hosts may have segments in static objects.
Sys_SlabHeap& Slabs()
{
    static auto& sSlabs = *new Sys_SlabHeap(sizeof(Time_ConstantTempoSeg));
    return sSlabs;
}

} // namespace

void* Time_ConstantTempoSeg::operator new(std::size_t iBytes)
{
    return IsInSlab(iBytes) ? Slabs().Take() : ::operator new(iBytes);
}

void Time_ConstantTempoSeg::operator delete(void* iSegment, std::size_t iBytes) noexcept
{
    IsInSlab(iBytes) ? Slabs().Give(iSegment) : ::operator delete(iSegment);
}

Time_ConstantTempoSeg::Time_ConstantTempoSeg(Time_Tick iStartTick)
    : Time_TempoMapSegment(iStartTick)
{
}

Time_ConstantTempoSeg::Time_ConstantTempoSeg(Time_Tick iStartTick, double iBeatsPerMinute,
                                             const Time_TickLength& iTicksPerBeat)
    : Time_TempoMapSegment(iStartTick)
{
    if (!CheckTempo(iBeatsPerMinute, iTicksPerBeat)) return;
    mBeatsPerMinute = iBeatsPerMinute;
    SetTicksPerBeat(iTicksPerBeat);
}

Time_ConstantTempoSeg::Time_ConstantTempoSeg(const Time_ConstantTempoSeg&) = default;
Time_ConstantTempoSeg::~Time_ConstantTempoSeg() = default;

Time_ConstantTempoSeg::Time_ConstantTempoSeg(Sys_TypedInStream& ioStream)
    : Time_ConstantTempoSeg(Sys_StdStreamHeaderReader(ioStream, cStreamName), ioStream)
{
}

// The header opens before the base block inside it is read.
Time_ConstantTempoSeg::Time_ConstantTempoSeg(Sys_StdStreamHeaderReader&& iHeader, Sys_TypedInStream& ioStream)
    : Time_TempoMapSegment((iHeader.CheckVersion(cVersion, cVersion), ioStream))
{
    ReadTempo(ioStream);
    mTempoIsUnspecified = ioStream.ReadBool();
    iHeader.SkipTheRest();
}

Time_ConstantTempoSeg::Time_ConstantTempoSeg(Sys_TypedInStream& ioStream, EReadPrevSeg)
    : Time_TempoMapSegment(Time_Tick())
{
    Sys_StdStreamHeaderReader header(ioStream, cPrevSegStreamName);
    header.CheckVersion(cVersion, cVersion);
    SetStartTick(Time_Tick(ioStream.ReadInt64()));
    ReadTempo(ioStream);
    header.SkipTheRest();
}

void Time_ConstantTempoSeg::ReadTempo(Sys_TypedInStream& ioStream)
{
    const Cmn_Int64 position = ioStream.GetPosition();
    mBeatsPerMinute = ioStream.ReadFloat64();
    SetTicksPerBeat(Time_TickLength(ioStream.ReadInt64()));
    // What locks out of order made a computed segment derive is as good as any: a rebuild derives it again.
    const double beatsPerMinute = IsComputed() ? cDefaultBeatsPerMinute : mBeatsPerMinute;
    if (!Time_BasicTempoMapSegment::IsTempo(beatsPerMinute, GetTicksPerBeat()))
        throw Sys_StreamReadException(position);
}

void Time_ConstantTempoSeg::SetTicksPerBeat(const Time_TickLength& iTicksPerBeat)
{
    nTicksPerBeat = iTicksPerBeat.AsInt64();
    mTickType = static_cast<Cmn_UInt8>(iTicksPerBeat.GetTickType());
}

void Time_ConstantTempoSeg::ComputeSampleLengthLimits(double& oMin, double& oMax,
                                                      const Time_TickLength& iLength,
                                                      const Time_TempoLimits& iLimits,
                                                      double iSampleRate) const
{
    const double minutes = iLength.AsFloat64() / GetTicksPerBeat().AsFloat64(); // at one beat a minute
    oMin = minutes * iSampleRate * 60.0 / iLimits.GetMaxBPM(GetTicksPerBeat());
    oMax = minutes * iSampleRate * 60.0 / iLimits.GetMinBPM(GetTicksPerBeat());
}

void Time_ConstantTempoSeg::SetTempo(double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat)
{
    Cmn_ASSERT_IN("Time/Time_TempoMap", this->CanSetTempo());
    if (!CheckTempo(iBeatsPerMinute, iTicksPerBeat)) return;
    mBeatsPerMinute = iBeatsPerMinute;
    SetTicksPerBeat(iTicksPerBeat);
    mTempoIsUnspecified = false;
}

Time_TempoMapSegment::ETypeID Time_ConstantTempoSeg::GetTypeID() const { return eConstantTempoSeg; }

std::unique_ptr<Time_TempoMapSegment> Time_ConstantTempoSeg::Clone() const
{
    return std::make_unique<Time_ConstantTempoSeg>(*this);
}

void Time_ConstantTempoSeg::GenerateForward(Time_BasicTempoMap& ioMap, const Time_TempoMapSegment* iPrevious,
                                            const Time_TempoMapSegment* iNext) const
{
    if (!CheckIsValid()) return;
    Cmn_ASSERT_IN("Time/Time_TempoMap", !this->IsComputed());
    double beatsPerMinute = mBeatsPerMinute;
    Time_TickLength ticksPerBeat = GetTicksPerBeat();
    if (mTempoIsUnspecified) {
        if (!IsLockedToSample() || iPrevious != nullptr) return;
        if (iNext == nullptr || !iNext->GetTempo(beatsPerMinute, ticksPerBeat)) beatsPerMinute = 0;
    }
    // Nor is what locks out of order make a computed segment derive a tempo.
    if (!Time_BasicTempoMapSegment::IsTempo(beatsPerMinute, ticksPerBeat)) {
        beatsPerMinute = cDefaultBeatsPerMinute;
        ticksPerBeat = cDefaultTicksPerBeat;
    }
    const double startSample = IsLockedToSample() ? static_cast<double>(GetStartSample().AsInt64())
                                                  : ioMap.FractionalSampleAtTick(GetStartTick());
    Time_BasicTempoMapSegment segment;
    segment.SetTempo(GetStartTick(), startSample, ioMap.GetSampleRate(), beatsPerMinute, ticksPerBeat);
    ioMap.InsertSegment(segment);
}

void Time_ConstantTempoSeg::GenerateBackward(Time_BasicTempoMap& ioMap, double iFractionalEndSample,
                                             Time_Tick iEndTick) const
{
    if (!CheckIsValid()) return;
    const Time_Tick start = GetStartTick();
    Time_BasicTempoMapSegment segment;
    if (IsLockedToSample() || IsComputed()) {
        Cmn_ASSERT_IN("Time/Time_TempoMap", this->IsComputed());
        const double startSample = IsLockedToSample() ? static_cast<double>(GetStartSample().AsInt64())
                                                      : ioMap.FractionalSampleAtTick(start);
        segment.SetEndSample(start, iEndTick, startSample, iFractionalEndSample);
        mBeatsPerMinute = segment.GetBeatsPerMinute(ioMap.GetSampleRate(), GetTicksPerBeat());
    } else {
        segment.SetBackTempo(start, iEndTick, iFractionalEndSample, ioMap.GetSampleRate(), mBeatsPerMinute,
                             GetTicksPerBeat());
    }
    ioMap.InsertSegment(segment);
}

bool Time_ConstantTempoSeg::GetTempo(double& oBeatsPerMinute, Time_TickLength& oTicksPerBeat) const
{
    if (mTempoIsUnspecified) return false;
    oBeatsPerMinute = mBeatsPerMinute;
    oTicksPerBeat = GetTicksPerBeat();
    return true;
}

void Time_ConstantTempoSeg::Split(std::unique_ptr<Time_TempoMapSegment>& oFirst,
                                  std::unique_ptr<Time_TempoMapSegment>& oSecond, Time_Tick iTick) const
{
    oFirst = this->Clone();
    oFirst->SetIsComputed(false);
    oSecond = std::make_unique<Time_ConstantTempoSeg>(iTick, mBeatsPerMinute, GetTicksPerBeat());
}

void Time_ConstantTempoSeg::StreamOut(Sys_TypedOutStream& ioStream) const
{
    Sys_StdStreamHeaderWriter header(ioStream, cStreamName, cVersion);
    StreamOutBase(ioStream);
    ioStream.WriteFloat64(mBeatsPerMinute);
    ioStream.WriteInt64(nTicksPerBeat);
    ioStream.WriteBool(mTempoIsUnspecified);
    header.PatchSize();
}

Cmn_XMLNode Time_ConstantTempoSeg::GetAsXML() const
{
    Cmn_XMLNode node = GetBaseAsXML();
    Cmn_XMLNode& constant = node.AddChild(Cmn_XMLNode("ConstantTempoMapSegment"));
    constant.AddValue("mTempoIsUnspecified", mTempoIsUnspecified);
    constant.AddValue("nTicksPerBeat", nTicksPerBeat);
    constant.AddValue("mBeatsPerMinute", mBeatsPerMinute);
    return node;
}

std::string Time_ConstantTempoSeg::Dump() const
{
    if (mTempoIsUnspecified) return DumpBase() + ": no tempo of its own";
    std::ostringstream text;
    text.precision(17);
    text << DumpBase() << ": " << mBeatsPerMinute << " bpm per " << nTicksPerBeat << " ticks";
    return text.str();
}
