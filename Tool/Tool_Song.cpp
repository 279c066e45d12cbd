#include "Tool/Tool_Song.h"

#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Tool/Tool_Document.h"
#include "Tool/Tool_Input.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Progress.h"

#include <algorithm>
#include <iterator>
#include <memory>

namespace {

constexpr Cmn_Int32 cSongStartBar = 1;

const Tool_Settings& Applied(const Tool_Settings& iSettings)
{
    iSettings.Apply();
    return iSettings;
}

std::optional<FF_TimeMaps::SongInfo> InfoOf(FF_Document& ioDocument)
{
    FF_TimeMaps::SongInfo info;
    return FF_TimeMaps::ReadInfo(ioDocument, info) ? std::optional(info) : std::nullopt;
}

// The last entry of any map, iStart without one.
Time_Tick LastChange(Time_Tick iStart, const Time_TempoMap& iTempos, const Time_MeterMap& iMeters,
                     const Time_KeySignatureMap& iKeys)
{
    Time_Tick last = std::max(iStart, iMeters.GetTickOfLastChange());
    if (iTempos.GetNumberOfSegments() > 0)
        last = std::max(last, (*std::prev(iTempos.SegmentEnd()))->GetStartTick());
    Time_Tick tick;
    Time_KeySignature key;
    if (iKeys.size() > 0 && iKeys.GetKeysSignature(iKeys.size() - 1, tick, key)) last = std::max(last, tick);
    return last;
}

} // namespace

Tool_Song::Tool_Song(const Tool_Settings& iSettings)
    : mSettings(Applied(iSettings))
    , mEndTick(cStartTick)
{
    mConverter.SetMeterMap(&mMeterMap);
    mConverter.SetTempoMap(&mTempoMap);
    mMeterMap.AddInitialMeterChange(Time_Tick(cStartTick), Time_Meter(), cSongStartBar);
    AddTempo(Time_Tick(cStartTick), Time_DefaultTempo::cDefaultBeatsPerMinute);
}

Tool_Song::Tool_Song(const Tool_MidiFile& iFile, const Tool_Settings& iSettings)
    : Tool_Song(iSettings)
{
    mEndTick = Tool_MidiFile::Naming(
        iFile.GetName(), [&] { return SMF_TimeMaps::Read(iFile.GetFile(), mMeterMap, mTempoMap, mKeyMap); });
}

Tool_Song::Tool_Song(FF_Document& ioDocument, const Tool_AskedSettings& iAsked)
    : Tool_Song(ioDocument, InfoOf(ioDocument), iAsked)
{
}

Tool_Song::Tool_Song(FF_Document& ioDocument, const std::optional<FF_TimeMaps::SongInfo>& iInfo,
                     const Tool_AskedSettings& iAsked)
    : Tool_Song(
          iAsked.Over(iInfo ? Tool_Settings{iInfo->mSampleRate, iInfo->mTimeCodeFormat} : Tool_Settings()))
{
    const std::string& name = ioDocument.GetFileLoc().GetPath();
    const Cmn_Int32 maps = FF_TimeMaps::Read(ioDocument, mMeterMap, mTempoMap, mKeyMap);
    if (maps == 0 && !iInfo)
        throw Tool_InputError::InFile(name, "no song in this document, expected a meter, tempo or key map");
    mMeterMap.MakeRealIfDefault();
    if (mTempoMap.GetNumberOfSegments() == 0)
        AddTempo(Time_Tick(cStartTick), Time_DefaultTempo::cDefaultBeatsPerMinute);
    mEndTick = LastChange(GetStartTick(), mTempoMap, mMeterMap, mKeyMap);
    if (iInfo) mEndTick = std::max(mEndTick, iInfo->mEndTick);
    CheckPlaces(name);
}

void Tool_Song::Edited(Time_Tick iEndTick, const std::string& iName)
{
    mEndTick = std::max(iEndTick, LastChange(GetStartTick(), mTempoMap, mMeterMap, mKeyMap));
    CheckPlaces(iName);
}

// A document may come from anywhere: every place that is shown must be one.
void Tool_Song::CheckPlaces(const std::string& iName) const
{
    const Cmn_Int64 maxTick = Time_Typed::MaxTime(Time_eType_Ticks).AsInt64();
    const Cmn_Int64 maxSample = Time_Typed::MaxTime(Time_eType_Samples).AsInt64();
    const auto check = [&](const char* iWhat, Time_Tick iTick) {
        const auto refuse = [&](const std::string& iText) {
            throw Tool_InputError::InFile(iName, std::string(iWhat) + " at tick " +
                                                     std::to_string(iTick.AsInt64()) + iText);
        };
        if (iTick < GetStartTick() || iTick.AsInt64() > maxTick)
            refuse(", expected tick " + std::to_string(GetStartTick().AsInt64()) + " to " +
                   std::to_string(maxTick));
        const Cmn_Int64 sample = mTempoMap.TickToSample(iTick, false).AsInt64();
        if (sample < 0 || sample > maxSample)
            refuse(" and sample " + std::to_string(sample) + ", expected sample 0 to " +
                   std::to_string(maxSample));
        if (mMeterMap.BarBeatToTick(mMeterMap.TickToBarBeat(iTick)) != iTick)
            refuse(", expected no bar number of more than 32 bits");
    };
    for (auto change = mMeterMap.IterBegin(); change != mMeterMap.IterEnd(); ++change)
        check("a meter", change->GetTick());
    for (auto segment = mTempoMap.SegmentBegin(); segment != mTempoMap.SegmentEnd(); ++segment)
        check("a tempo", (*segment)->GetStartTick());
    for (long i = 0; i < mKeyMap.size(); ++i) {
        Time_Tick tick;
        Time_KeySignature key;
        if (mKeyMap.GetKeysSignature(i, tick, key)) check("a key", tick);
    }
    check("the end", mEndTick);
}

std::unique_ptr<Tool_Song> Tool_Song::Load(const Tool_Input& iInput, const Tool_AskedSettings& iAsked)
{
    const Tool_StWork work("reading", iInput.Name());
    if (!Tool_IsDocument(iInput))
        return std::make_unique<Tool_Song>(Tool_MidiFile::Parse(iInput.ReadAll(), iInput.Name()),
                                           iAsked.Over({}));
    const std::unique_ptr<FF_Document> document = Tool_OpenDocument(iInput);
    return Tool_NamingFile(iInput.Name(), [&] { return std::make_unique<Tool_Song>(*document, iAsked); });
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
