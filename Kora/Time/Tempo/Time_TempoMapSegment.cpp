#include "Kora/Time/Tempo/Time_TempoMapSegment.h"

#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Kora/Time/Tempo/Time_SampleTransform.h"

namespace {

constexpr char cBaseName[] = "TMS";
constexpr Cmn_Int16 cBaseVersion = 1;

} // namespace

Time_TempoMapSegment::Time_TempoMapSegment(Time_Tick iStartTick)
    : nStartTick(iStartTick)
{
}

Time_TempoMapSegment::Time_TempoMapSegment(const Time_TempoMapSegment& iOther)
    : nLockedStartSample(iOther.nLockedStartSample)
    , nStartTick(iOther.nStartTick)
    , mIsComputed(iOther.mIsComputed)
    , mIsLockedToSample(iOther.mIsLockedToSample)
    , mIsSongStart(iOther.mIsSongStart)
    , mIsCopyAnchor(iOther.mIsCopyAnchor)
{
}

Time_TempoMapSegment::Time_TempoMapSegment(Sys_TypedInStream& ioStream)
{
    Sys_StdStreamHeaderReader header(ioStream, cBaseName);
    header.CheckVersion(cBaseVersion, cBaseVersion);
    mIsComputed = ioStream.ReadBool();
    mIsLockedToSample = ioStream.ReadBool();
    nLockedStartSample = Time_Sample(ioStream.ReadInt64());
    nStartTick = Time_Tick(ioStream.ReadInt64());
    mIsSongStart = ioStream.ReadBool();
    mIsCopyAnchor = ioStream.ReadBool();
    header.SkipTheRest();
}

Time_TempoMapSegment::~Time_TempoMapSegment() { mValidCheck = 0; }

void Time_TempoMapSegment::LockToSample(Time_Sample iSample)
{
    mIsLockedToSample = true;
    nLockedStartSample = iSample;
}

void Time_TempoMapSegment::SplitForIDB(std::unique_ptr<Time_TempoMapSegment>& oFirst,
                                       std::unique_ptr<Time_TempoMapSegment>& oSecond, Time_Tick iTick) const
{
    Split(oFirst, oSecond, iTick);
    oFirst->SetIsComputed(true);
    oSecond->SetIsComputed(true);
}

void Time_TempoMapSegment::TransformSamples(const Time_SampleTransform& iTransform)
{
    if (mIsLockedToSample) nLockedStartSample = iTransform.Apply(nLockedStartSample);
}

bool Time_TempoMapSegment::CheckIsValid() const
{
    return Cmn_ASSERT_AS(mValidCheck == cValid, "mValidCheck == 424", "Time/Time_TempoMap");
}

void Time_TempoMapSegment::StreamOutBase(Sys_TypedOutStream& ioStream) const
{
    Sys_StdStreamHeaderWriter header(ioStream, cBaseName, cBaseVersion);
    ioStream.WriteBool(mIsComputed);
    ioStream.WriteBool(mIsLockedToSample);
    ioStream.WriteInt64(nLockedStartSample.AsInt64());
    ioStream.WriteInt64(nStartTick.AsInt64());
    ioStream.WriteBool(mIsSongStart);
    ioStream.WriteBool(mIsCopyAnchor);
    header.PatchSize();
}

Cmn_XMLNode Time_TempoMapSegment::GetBaseAsXML() const
{
    Cmn_XMLNode node("TempoMapSegment");
    node.AddValue("mIsSongStart", mIsSongStart);
    node.AddValue("mIsCopyAnchor", mIsCopyAnchor);
    node.AddValue("nStartTick", nStartTick.AsInt64());
    node.AddValue("nLockedStartSample", nLockedStartSample.AsInt64());
    node.AddValue("mIsLockedToSample", mIsLockedToSample);
    node.AddValue("mIsComputed", mIsComputed);
    return node;
}

std::string Time_TempoMapSegment::DumpBase() const
{
    std::string text = "tick " + std::to_string(nStartTick.AsInt64());
    if (mIsLockedToSample) text += ", locked to sample " + std::to_string(nLockedStartSample.AsInt64());
    if (mIsComputed) text += ", computed";
    if (mIsSongStart) text += ", song start";
    if (mIsCopyAnchor) text += ", copy anchor";
    return text;
}
