// What holds positions of the song at a time: locks, and beats from a file.
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_SongEditor.h"
#include "Tool/Tool_Subcommand.h"

#include <algorithm>
#include <fstream>
#include <limits>

Tool_EditEffect Tool_SongEditor::Lock()
{
    Time_TempoMap& tempi = mSong.GetTempoMap();
    const Time_Tick at = PositionAt(0);
    const Time_Sample sample(mText.Time(Argument(1)));
    const Time_Sample start = tempi.GetSongStartSample();
    if (at == mSong.GetStartTick() && sample != start)
        throw Tool_EditRefusal("the song's start is at " + mText.TimeText(start.AsInt64()) +
                               ", expected another position, or this time");
    const Time_TempoEditResult result = Time_TempoEdit::LockToSample(tempi, at, sample);
    Check(result, NearestSample(result));
    mLocks.insert(at);
    return At(at, "at " + mText.TimeText(sample.AsInt64()));
}

namespace {

std::vector<std::string_view> LinesOf(std::string_view iText)
{
    constexpr std::string_view cBlanks = " \t\r";
    std::vector<std::string_view> lines;
    for (std::size_t start = 0; start < iText.size();) {
        const std::size_t end = std::min(iText.find('\n', start), iText.size());
        std::string_view line = iText.substr(start, end - start);
        line.remove_prefix(std::min(line.find_first_not_of(cBlanks), line.size()));
        lines.push_back(line.substr(0, line.find_last_not_of(cBlanks) + 1));
        start = end + 1;
    }
    while (!lines.empty() && lines.back().empty())
        lines.pop_back();
    return lines;
}

// Where the beat after the one at a tick is; a bar that is cut short ends early.
Time_Tick NextBeat(const Time_MeterMap& iMeters, Time_Tick iTick)
{
    const Time_BarBeatTick here = iMeters.TickToBarBeat(iTick);
    const Time_Tick next =
        iMeters.BarBeatToTick(Time_BarBeatTick(here.mBar, here.mBeat + 1, Time_TickLength(0)));
    return std::min(next, iMeters.BarBeatToTick(Time_BarBeatTick(here.mBar + 1, 1, Time_TickLength(0))));
}

} // namespace

std::vector<Time_TempoEdit::Point> Tool_SongEditor::ReadBeats(const std::string& iName,
                                                              std::string& oNote) const
{
    const bool isStandardInput = iName == Tool_Input::cStandardInput;
    std::ifstream file;
    if (!isStandardInput) file.open(Tool_PathOf(iName), std::ios::binary);
    if (!isStandardInput && !file.is_open())
        throw Tool_InputError::InFile(iName,
                                      Tool_WhyNotOpened(iName) + ", expected a file with one time a line");
    std::istream& stream = isStandardInput ? mIn : file;
    const std::string bytes = Tool_ReadUpTo(stream, Tool_Input::cMaxSize);
    if (stream.bad() || bytes.size() > Tool_Input::cMaxSize)
        throw Tool_InputError::InFile(iName, "cannot be read, expected a file with one time a line");
    std::vector<Time_TempoEdit::Point> points;
    Cmn_Int64 first = 0;
    Time_Tick tick = mSong.GetStartTick();
    const Time_Sample start = mSong.GetTempoMap().GetSongStartSample();
    for (const std::string_view line : LinesOf(bytes)) {
        const auto atLine = [&](const std::string& iText) {
            return Tool_InputError::AtLine(iName, static_cast<Cmn_Int64>(points.size()) + 1, iText);
        };
        try {
            const Cmn_Int64 sample = mText.Time(line);
            if (points.empty()) first = sample;
            points.push_back({tick, start + Time_SampleLength(sample - first)});
        } catch (const Tool_UsageError& error) {
            throw atLine(error.what());
        } catch (const Tool_EditRefusal& refusal) {
            throw atLine(refusal.what());
        }
        tick = NextBeat(mSong.GetMeterMap(), tick);
    }
    if (points.size() < 2)
        throw Tool_InputError::InFile(iName,
                                      Tool_CountText(static_cast<Cmn_Int64>(points.size()), "time", "times") +
                                          ", expected 2 or more, one a line");
    if (first != 0) oNote = "the first beat's time of " + mText.TimeText(first) + " is taken from all";
    return points;
}

Tool_EditEffect Tool_SongEditor::LockBeats()
{
    double milliseconds = 0;
    const std::string* const asked = ModifierNamed("--tolerance");
    if (asked != nullptr && (!Tool_ParseNumber(*asked, milliseconds) || milliseconds < 0))
        throw Tool_UsageError(Tool_Quoted(*asked) + ", expected 0 or more milliseconds");
    Time_TempoMap& tempi = mSong.GetTempoMap();
    std::string note;
    const std::vector<Time_TempoEdit::Point> points = ReadBeats(Argument(0), note);
    const Time_TempoEditResult result =
        Time_TempoEdit::LockAll(tempi, points, milliseconds / 1000 * tempi.GetSampleRate());
    if (!result)
        throw Tool_InputError::AtLine(
            Argument(0), static_cast<Cmn_Int64>(result.mIndex) + 1,
            Why(result, " (" + NearestSample(result).substr(2) + " from the first)"));
    Effect effect =
        At(points.front().mTick, Tool_CountText(static_cast<Cmn_Int64>(points.size()), "beat", "beats"));
    effect.mNote = note;
    effect.mTo = points.back().mTick;
    effect.mPlace += " to " + mText.BarText(points.back().mTick);
    for (const auto& point : points)
        if (const auto segment = tempi.FindSegment(point.mTick);
            segment != tempi.SegmentEnd() && (*segment)->IsLockedToSample())
            mLocks.insert(point.mTick);
    return effect;
}

// The tempi stay, as tempi of their own.
void Tool_SongEditor::ReleaseLocksFrom(Time_Tick iTick)
{
    mLocks.erase(mSong.GetStartTick());
    const auto first = mLocks.lower_bound(iTick);
    if (first == mLocks.end()) return;
    Time_TempoMap& tempi = mSong.GetTempoMap();
    const auto isReleased = [&](Time_Tick iAt) { return iAt >= iTick && mLocks.count(iAt) != 0; };
    // A lock that stays keeps the stretch before it.
    auto from = tempi.FindSegment(*first);
    while (from != tempi.SegmentBegin() &&
           (!(*from)->IsLockedToSample() || isReleased((*from)->GetStartTick())))
        --from;
    const Time_Tick start = (*from)->GetStartTick();
    std::vector<std::unique_ptr<Time_TempoMapSegment>> segments;
    for (auto segment = from; segment != tempi.SegmentEnd(); ++segment) {
        const Time_Tick tick = (*segment)->GetStartTick();
        double beatsPerMinute = 0;
        Time_TickLength beat;
        tempi.GetTempoAtTick(beatsPerMinute, beat, tick);
        auto own = std::make_unique<Time_ConstantTempoSeg>(tick, beatsPerMinute, beat);
        own->SetIsSongStart((*segment)->IsSongStart());
        if ((*segment)->IsLockedToSample() && !isReleased(tick))
            own->LockToSample((*segment)->GetStartSample());
        segments.push_back(std::move(own));
    }
    tempi.ReplaceSegments(start, Time_Tick(std::numeric_limits<Cmn_Int64>::max()), std::move(segments));
    mLocks.erase(first, mLocks.end());
}
