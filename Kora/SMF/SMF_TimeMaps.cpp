#include "Kora/SMF/SMF_TimeMaps.h"

#include "Kora/SMF/SMF_Exception.h"
#include "Kora/SMF/SMF_TimeEventsWalk_p.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr double cMicrosecondsPerMinute = 60000000.0;
constexpr Cmn_Int32 cSongStartBar = 1;

// Visits events with their library ticks, which ascend; the last at a tick in file order replaces those before it.
template <class Event, class Visit>
void ByTick(std::vector<Event>& ioEvents, Cmn_Int32 iDivision, Visit iVisit)
{
    const auto isBefore = [](const Event& iA, const Event& iB) { return iA.mPlace.mTick < iB.mPlace.mTick; };
    if (!std::is_sorted(ioEvents.begin(), ioEvents.end(), isBefore))
        std::stable_sort(ioEvents.begin(), ioEvents.end(), isBefore);
    for (std::size_t i = 0; i < ioEvents.size(); ++i) {
        const SMF_Place& place = ioEvents[i].mPlace;
        if (i + 1 < ioEvents.size() && ioEvents[i + 1].mPlace.mTick == place.mTick) continue;
        iVisit(Time_Tick(SMF_TimeMaps::FromFileTick(place.mTick, iDivision)), ioEvents[i]);
    }
}

void AddTempo(Time_TempoMap& ioTempi, Time_Tick iTick, double iBeatsPerMinute)
{
    auto segment = std::make_unique<Time_ConstantTempoSeg>(iTick, iBeatsPerMinute);
    if (iTick == SMF_TimeMaps::cStartTick) {
        segment->SetIsSongStart(true);
        segment->LockToSample(Time_Sample(0));
    }
    ioTempi.AddSegment(std::move(segment));
}

void BuildMeters(Time_MeterMap& ioMeters, std::vector<SMF_Meter>& ioEvents, Cmn_Int32 iDivision)
{
    ioMeters.AddInitialMeterChange(SMF_TimeMaps::cStartTick, Time_Meter(), cSongStartBar);
    ByTick(ioEvents, iDivision, [&](Time_Tick iTick, const SMF_Meter& iMeter) {
        ioMeters.AddMeterChange(iTick, Time_Meter(iMeter.mNumerator, iMeter.mDenominator));
    });
}

void BuildKeys(Time_KeySignatureMap& ioKeys, std::vector<SMF_Key>& ioEvents, Cmn_Int32 iDivision)
{
    ByTick(ioEvents, iDivision, [&](Time_Tick iTick, const SMF_Key& iKey) {
        const bool isSharps = iKey.mSharps >= 0;
        const auto accidentals = static_cast<Cmn_UInt8>(isSharps ? iKey.mSharps : -iKey.mSharps);
        ioKeys.SetKeySignature(iTick, Time_KeySignature(!iKey.mIsMinor, isSharps, accidentals));
    });
}

[[noreturn]] void RefuseEnd(const SMF_Place& iEnd, const std::string& iText)
{
    throw SMF_Exception("the song's last event at " + iText, iEnd.mOffset);
}

// Where the last event of any track lies. It is known before any event is looked at, so that no map meets a tick past
// the limits.
Time_Tick EndTick(const SMF_File& iFile)
{
    Cmn_Int64 last = 0;
    for (const SMF_Track& track : iFile.GetTracks())
        last = std::max(last, track.GetEndTick());
    const Cmn_Int64 endTick = SMF_TimeMaps::FromFileTick(last, iFile.GetDivision());
    const Cmn_Int64 maxTick = Time_Typed::MaxTime(Time_eType_Ticks).AsInt64();
    if (endTick > maxTick)
        RefuseEnd(SMF_ForEachTimeEvent(iFile, [](const auto&) {}),
                  "MIDI tick " + std::to_string(last) + ", expected none past the time line's last tick " +
                      std::to_string(maxTick));
    return Time_Tick(endTick);
}

// The end is the latest of all events, and later ticks have later samples and bars:
// checking it checks them all.
void CheckEnd(const SMF_Place& iEnd, Time_Tick iEndTick, const Time_MeterMap& iMeters,
              const Time_TempoMap& iTempi)
{
    const Cmn_Int64 maxSample = Time_Typed::MaxTime(Time_eType_Samples).AsInt64();
    const Cmn_Int64 endSample = iTempi.TickToSample(iEndTick, false).AsInt64();
    if (endSample > maxSample)
        RefuseEnd(iEnd, "sample " + std::to_string(endSample) +
                            ", expected none past the time line's last sample " + std::to_string(maxSample));
    if (iMeters.BarBeatToTick(iMeters.TickToBarBeat(iEndTick)) != iEndTick)
        RefuseEnd(iEnd, "MIDI tick " + std::to_string(iEnd.mTick) +
                            ", expected none past the last bar number " +
                            std::to_string(std::numeric_limits<Cmn_Int32>::max()));
}

// Calls iRelease when the file is not needed any more, which is before the tempo map lays itself out. Tempi are not
// collected: the map puts those in order that are not, and the later one of two at a tick holds there too.
template <class Release>
Time_Tick ReadMaps(const SMF_File& iFile, Time_MeterMap& oMeters, Time_TempoMap& oTempi,
                   Time_KeySignatureMap& oKeys, Release iRelease)
{
    const Cmn_Int32 division = iFile.GetDivision();
    const Time_Tick end = EndTick(iFile);
    SMF_Place last;
    std::vector<SMF_Meter> meterEvents;
    std::vector<SMF_Key> keyEvents;
    Time_TempoMap tempi;
    tempi.SetSampleRate(oTempi.GetSampleRate());
    {
        const Time_TempoMap_StEditOptimizer oneRebuild(tempi);
        AddTempo(tempi, SMF_TimeMaps::cStartTick, Time_DefaultTempo::cDefaultBeatsPerMinute);
        const auto addTempo = [&](const SMF_Tempo& iTempo) {
            AddTempo(tempi, Time_Tick(SMF_TimeMaps::FromFileTick(iTempo.mPlace.mTick, division)),
                     cMicrosecondsPerMinute / iTempo.mMicrosecondsPerQuarter);
        };
        last = SMF_ForEachTimeEvent(
            iFile, SMF_TakeEach{addTempo, [&](const SMF_Meter& iMeter) { meterEvents.push_back(iMeter); },
                                [&](const SMF_Key& iKey) { keyEvents.push_back(iKey); }});
        iRelease();
    }
    Time_MeterMap meters;
    BuildMeters(meters, meterEvents, division);
    Time_KeySignatureMap keys;
    BuildKeys(keys, keyEvents, division);
    CheckEnd(last, end, meters, tempi);
    oMeters.Clear();
    oMeters.SetSongStartTick(SMF_TimeMaps::cStartTick);
    oMeters.ReplaceWith(meters);
    oTempi.ReplaceWith(std::move(tempi));
    oKeys.ReplaceWith(keys);
    return end;
}

} // namespace

// The whole quarters first, so that no product leaves 64 bits: the rest is below a quarter,
// and a division has 15 bits.
Cmn_Int64 SMF_TimeMaps::FromFileTick(Cmn_Int64 iFileTick, Cmn_Int32 iDivision)
{
    const Cmn_Int64 quarters = iFileTick / iDivision;
    const Cmn_Int64 rest = iFileTick % iDivision;
    constexpr Cmn_Int64 cMax = std::numeric_limits<Cmn_Int64>::max();
    if (quarters > (cMax - cStartTick.AsInt64()) / cTicksPerQuarter - 1) return cMax;
    const Cmn_Int64 restTicks = (2 * rest * cTicksPerQuarter + iDivision) / (2 * iDivision);
    return cStartTick.AsInt64() + quarters * cTicksPerQuarter + restTicks;
}

Cmn_Int64 SMF_TimeMaps::ToFileTick(Cmn_Int64 iTicks, Cmn_Int32 iDivision)
{
    const Cmn_Int64 quarters = iTicks / cTicksPerQuarter;
    const Cmn_Int64 rest = iTicks % cTicksPerQuarter;
    return quarters * iDivision + (2 * rest * iDivision + cTicksPerQuarter) / (2 * cTicksPerQuarter);
}

Time_Tick SMF_TimeMaps::Read(const SMF_File& iFile, Time_MeterMap& oMeters, Time_TempoMap& oTempi,
                             Time_KeySignatureMap& oKeys)
{
    return ReadMaps(iFile, oMeters, oTempi, oKeys, [] {});
}

Time_Tick SMF_TimeMaps::Read(SMF_File&& ioFile, Time_MeterMap& oMeters, Time_TempoMap& oTempi,
                             Time_KeySignatureMap& oKeys)
{
    return ReadMaps(ioFile, oMeters, oTempi, oKeys, [&] { const SMF_File gone(std::move(ioFile)); });
}
