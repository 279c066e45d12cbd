#include "Kora/Time/Tempo/Time_NewTempoEvents.h"

#include "Kora/Time/Formats/Time_Globals.h"
#include "Kora/Time/Tempo/Time_BasicTempoMapSegment.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr Cmn_Int64 cDefaultSongStart = Time_DefaultSongStart::cDefaultSongStartTick.AsInt64();

// Internal ticks that pass in one sample at an event's tempo.
double TicksPerSample(const Time_NewTempoEvent& iEvent, double iSampleRate)
{
    const double ticksPerMinute =
        iEvent.GetTicksPerBeat().AsFloat64() * static_cast<double>(iEvent.GetTempo());
    return ticksPerMinute / (iSampleRate * 60.0);
}

Time_Tick NextLineAfter(Time_Tick iStart, Cmn_Int64 iSpacing)
{
    if (iSpacing == 0) return iStart;
    const Cmn_Int64 lines = Cmn_FloorDiv(Cmn_WrapSub(iStart.AsInt64(), cDefaultSongStart), iSpacing);
    return Time_Tick(Cmn_WrapAdd(cDefaultSongStart, Cmn_WrapMul(Cmn_WrapAdd<Cmn_Int64>(lines, 1), iSpacing)));
}

} // namespace

Time_NewTempoEvents::Time_NewTempoEvents()
    : mSampleRate(Time_Globals::GetPullSampleRate())
{
}

Time_NewTempoEvents::const_iterator Time_NewTempoEvents::LowerBound(Time_Tick iTick) const
{
    return std::lower_bound(begin(), end(), iTick, [](const Time_NewTempoEvent& iEvent, Time_Tick iAt) {
        return iEvent.GetStartTick() < iAt;
    });
}

void Time_NewTempoEvents::AddTempoEvent(const Time_NewTempoEvent& iEvent)
{
    const bool isTempo = Time_BasicTempoMapSegment::IsTempo(iEvent.GetTempo(), iEvent.GetTicksPerBeat());
    if (!Cmn_ASSERT_TEXT(isTempo, "iEvent.GetTempo() > 0")) return;
    const const_iterator at = LowerBound(iEvent.GetStartTick());
    if (at != end() && at->GetStartTick() == iEvent.GetStartTick())
        (*this)[static_cast<size_type>(at - begin())] = iEvent;
    else if (at == begin() || !std::prev(at)->HasTempoOf(iEvent))
        insert(at, iEvent);
}

const Time_NewTempoEvent* Time_NewTempoEvents::GetTempoEventAtTick(Time_Tick iTick) const
{
    const const_iterator at = LowerBound(iTick);
    return at != end() && at->GetStartTick() == iTick ? &*at : nullptr;
}

Time_Tick Time_NewTempoEvents::NextQuantizedTick(const Time_TypedLength& iQuantum,
                                                 const Time_TypedLength& iStart) const
{
    if (!Cmn_ASSERT(size() > 0)) return Time_Tick(iStart.AsInt64());
    const Time_Tick start = iStart.AsInt64() != 0 ? Time_Tick(iStart.AsInt64()) : back().GetStartTick();
    switch (iQuantum.GetType()) {
    case Time_eType_Samples: {
        // Half a sample more, so that the tick falls into the sample aimed at.
        const double ticks = (iQuantum.AsFloat64() + 0.5) * TicksPerSample(back(), mSampleRate);
        return start + Time_TickLength(Cmn_Float64ToInt64(ticks));
    }
    case Time_eType_Ticks:
        if (size() > 1) return start + iQuantum.AsTick();
        return NextLineAfter(start, iQuantum.AbsoluteValue().AsInt64());
    default:
        Cmn_ASSERT_TEXT(false, "iQuantum is in samples or ticks");
        return start;
    }
}

void Time_NewTempoEvents::ClearOutsideOfRange(Time_Tick iStart, Time_Tick iEnd)
{
    erase(std::max(LowerBound(iStart), LowerBound(iEnd)), std::as_const(*this).end());
    erase(std::as_const(*this).begin(), LowerBound(iStart));
}

void Time_NewTempoEvents::ClearAfterTime(Time_Tick iTime)
{
    const_iterator first = LowerBound(iTime);
    if (first != end() && first->GetStartTick() == iTime) ++first;
    erase(first, std::as_const(*this).end());
}

std::string Time_NewTempoEvents::Dump() const
{
    std::string text;
    for (const Time_NewTempoEvent& event : *this) {
        char tempo[32];
        std::snprintf(tempo, sizeof tempo, "%.9g", static_cast<double>(event.GetTempo()));
        text += event.GetStartTick().Dump() + ": " + tempo + " beats of " +
                std::to_string(event.GetTicksPerBeat().AsInt64()) + " ticks\n";
    }
    return text;
}
