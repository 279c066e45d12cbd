#include "Tool/Tool_Song.h"

#include "Kora/Time/Time_ConstantTempoSeg.h"
#include "Kora/Time/Time_TempoMap_StEditOptimizer.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_InputError.h"

#include <limits>
#include <map>
#include <memory>

namespace {
constexpr double cDefaultBeatsPerMinute = 120.0;
constexpr double cMicrosecondsPerMinute = 60000000.0;
constexpr Cmn_Int32 cSongStartBar = 1;

const Tool_Settings& Applied(const Tool_Settings& iSettings)
{
    iSettings.Apply();
    return iSettings;
}

// Events by tick; the last at a tick in file order replaces those before it.
template <class Event>
std::map<Cmn_Int64, Event> ByTick(const std::vector<Event>& iEvents, Cmn_Int32 iDivision)
{
    std::map<Cmn_Int64, Event> events;
    for (const Event& event : iEvents)
        events.insert_or_assign(Tool_Song::FromMidiTick(event.mPlace.mTick, iDivision), event);
    return events;
}
} // namespace

Tool_Song::Tool_Song(const Tool_Settings& iSettings)
    : mSettings(Applied(iSettings))
    , mEndTick(cStartTick)
{
    mConverter.SetMeterMap(&mMeterMap);
    mConverter.SetTempoMap(&mTempoMap);
    mMeterMap.AddInitialMeterChange(Time_Tick(cStartTick), Time_Meter(), cSongStartBar);
    AddTempo(Time_Tick(cStartTick), cDefaultBeatsPerMinute);
}

Tool_Song::Tool_Song(const Tool_MidiFile& iFile, const Tool_Settings& iSettings)
    : Tool_Song(iSettings)
{
    const Cmn_Int64 endTick = FromMidiTick(iFile.LastEvent().mTick, iFile.GetDivision());
    const Cmn_Int64 maxTick = Time_Typed::MaxTime(Time_eType_Ticks).AsInt64();
    if (endTick > maxTick)
        throw Tool_InputError::AtByte(
            iFile.GetName(), iFile.LastEvent().mOffset,
            "the song's last event at MIDI tick " + std::to_string(iFile.LastEvent().mTick) +
                ", expected none past the time line's last tick " + std::to_string(maxTick));
    mEndTick = Time_Tick(endTick);
    BuildMeters(iFile);
    BuildTempos(iFile);
    BuildKeys(iFile);
    CheckEnd(iFile);
}

std::unique_ptr<Tool_Song> Tool_Song::Load(const std::string& iName, const Tool_AskedSettings& iAsked)
{
    return std::make_unique<Tool_Song>(Tool_MidiFile::Parse(Tool_ReadFile(iName), iName), iAsked.Over({}));
}

// The whole quarters first, so that no product leaves 64 bits: the rest is below a quarter, and a division has 15 bits.
Cmn_Int64 Tool_Song::FromMidiTick(Cmn_Int64 iMidiTick, Cmn_Int32 iDivision)
{
    const Cmn_Int64 quarters = iMidiTick / iDivision;
    const Cmn_Int64 rest = iMidiTick % iDivision;
    constexpr Cmn_Int64 cMax = std::numeric_limits<Cmn_Int64>::max();
    if (quarters > (cMax - cStartTick) / cTicksPerQuarter - 1) return cMax;
    const Cmn_Int64 restTicks = (2 * rest * cTicksPerQuarter + iDivision) / (2 * iDivision);
    return cStartTick + quarters * cTicksPerQuarter + restTicks;
}

void Tool_Song::BuildMeters(const Tool_MidiFile& iFile)
{
    for (const auto& [tick, meter] : ByTick(iFile.Meters(), iFile.GetDivision()))
        mMeterMap.AddMeterChange(Time_Tick(tick), Time_Meter(meter.mNumerator, meter.mDenominator),
                                 cSongStartBar);
}

void Tool_Song::BuildTempos(const Tool_MidiFile& iFile)
{
    const Time_TempoMap_StEditOptimizer oneRebuild(mTempoMap);
    for (const auto& [tick, tempo] : ByTick(iFile.Tempos(), iFile.GetDivision()))
        AddTempo(Time_Tick(tick), cMicrosecondsPerMinute / tempo.mMicrosecondsPerQuarter);
}

void Tool_Song::AddTempo(Time_Tick iTick, double iBeatsPerMinute)
{
    auto segment = std::make_unique<Time_ConstantTempoSeg>(iTick);
    segment->SetTempo(iBeatsPerMinute, Time_TickLength::cQuarter);
    if (iTick == Time_Tick(cStartTick)) {
        segment->SetIsSongStart(true);
        segment->LockToSample(Time_Sample(0));
    }
    mTempoMap.AddSegment(std::move(segment));
}

void Tool_Song::BuildKeys(const Tool_MidiFile& iFile)
{
    for (const auto& [tick, key] : ByTick(iFile.Keys(), iFile.GetDivision())) {
        const bool isSharps = key.mSharps >= 0;
        const auto accidentals = static_cast<Cmn_UInt8>(isSharps ? key.mSharps : -key.mSharps);
        mKeyMap.SetKeySignature(Time_Tick(tick), Time_KeySignature(!key.mIsMinor, isSharps, accidentals));
    }
}

// The end is the latest of all events, and later ticks have later samples and bars: checking it checks them all.
void Tool_Song::CheckEnd(const Tool_MidiFile& iFile) const
{
    const Cmn_Int64 maxSample = Time_Typed::MaxTime(Time_eType_Samples).AsInt64();
    const Cmn_Int64 endSample = mTempoMap.TickToSample(mEndTick, false).AsInt64();
    const auto refuse = [&](const std::string& iText) {
        throw Tool_InputError::AtByte(iFile.GetName(), iFile.LastEvent().mOffset,
                                      "the song's last event " + iText);
    };
    if (endSample > maxSample)
        refuse("at sample " + std::to_string(endSample) +
               ", expected none past the time line's last sample " + std::to_string(maxSample));
    if (mMeterMap.BarBeatToTick(mMeterMap.TickToBarBeat(mEndTick)) != mEndTick)
        refuse("at MIDI tick " + std::to_string(iFile.LastEvent().mTick) +
               ", expected none past the last bar number " +
               std::to_string(std::numeric_limits<Cmn_Int32>::max()));
}
