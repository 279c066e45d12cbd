#include "Kora/Time/Tempo/Time_ConstantTempoValue_p.h"

#include "Bastel/Sys/Sys_TypedStream.h"

#include <typeinfo>

Time_ConstantTempoValue Time_ConstantTempoValue::Of(const Time_TempoMapSegment& iSegment)
{
    if (typeid(iSegment) != typeid(Time_ConstantTempoSeg)) {
        Sys_MemOutStream bytes;
        Sys_TypedOutStream out(bytes);
        iSegment.StreamOut(out);
        Sys_MemInStream back(bytes.GetBytes());
        Sys_TypedInStream in(back);
        return Of(Time_ConstantTempoSeg(in));
    }
    const auto& segment = static_cast<const Time_ConstantTempoSeg&>(iSegment);
    unsigned flags = 0;
    if (segment.IsLockedToSample()) flags |= eLocked;
    if (segment.IsComputed()) flags |= eComputed;
    if (segment.IsSongStart()) flags |= eSongStart;
    if (segment.IsCopyAnchor()) flags |= eCopyAnchor;
    if (segment.IsTempoUnspecified()) flags |= eUnspecified;
    return {.mStart = segment.GetStartTick(),
            .mLock = segment.GetStartSample(),
            .mBeatsPerMinute = segment.GetBeatsPerMinute(),
            .mTicksPerBeat = segment.GetTicksPerBeat().AsInt64(),
            .mFlags = static_cast<Cmn_UInt8>(flags)};
}

std::unique_ptr<Time_TempoMapSegment> Time_ConstantTempoValue::MakeSegment() const
{
    auto segment = std::make_unique<Time_ConstantTempoSeg>(mStart);
    segment->LockToSample(mLock);
    if ((mFlags & eLocked) == 0) segment->UnlockFromSample();
    segment->SetIsComputed((mFlags & eComputed) != 0);
    segment->SetIsSongStart((mFlags & eSongStart) != 0);
    segment->SetIsCopyAnchor((mFlags & eCopyAnchor) != 0);
    // Not by SetTempo: what locks out of order made a computed segment derive is no tempo.
    segment->mBeatsPerMinute = mBeatsPerMinute;
    segment->SetTicksPerBeat(Time_TickLength(mTicksPerBeat));
    if ((mFlags & eUnspecified) != 0) segment->SetTempoIsUnspecified();
    return segment;
}
