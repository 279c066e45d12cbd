#include "Tool/Tool_SongReport.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Tool/Tool_PositionText.h"
#include "Tool/Tool_Text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

using JsonValue = nlohmann::ordered_json; // keeps the order in which keys are written

namespace {

std::string Number(Cmn_Int64 iValue) { return std::to_string(iValue); }

std::string RightAligned(const std::string& iText, std::size_t iWidth)
{
    return std::string(iWidth - std::min(iWidth, iText.size()), ' ') + iText;
}

// "84.000": three decimals.
std::string Thousandths(double iValue)
{
    const Cmn_Int64 thousandths = Cmn_RoundHalfUp(iValue * 1000.0);
    std::string text = Number(thousandths / 1000) + '.';
    Tool_AppendPadded(thousandths % 1000, 3, text);
    return text;
}

// "44100", "47952.047952"
std::string Rate(double iRate)
{
    char text[32];
    return std::string(text, std::to_chars(text, text + sizeof text, iRate).ptr);
}

JsonValue PositionJson(const Time_BarBeatTick& iPosition)
{
    return JsonValue{{"bar", iPosition.mBar}, {"beat", iPosition.mBeat}, {"tick", iPosition.mTick.AsInt64()}};
}

Cmn_Int32 SharpsOf(const Time_KeySignature& iKey)
{
    const Cmn_Int32 count = iKey.GetAccidentalCount();
    return iKey.IsSharps() ? count : -count;
}

constexpr std::size_t cPositionWidth = 13;
constexpr std::size_t cNumberWidth = 11;

std::string TableLine(const std::string& iPosition, const std::string& iSample, const std::string& iTimecode,
                      const std::string& iTime, const std::string& iChange)
{
    return RightAligned(iPosition, cPositionWidth) + "  " + RightAligned(iSample, cNumberWidth) + "  " +
           RightAligned(iTimecode, cNumberWidth) + "  " + RightAligned(iTime, cNumberWidth) + "  " + iChange;
}

} // namespace

Tool_SongReport::Tool_SongReport(const Tool_Song& iSong, std::string iFile)
    : mSong(iSong)
    , mFile(std::move(iFile))
    , mRows(iSong)
{
}

std::string Tool_SongReport::TimecodeOf(const Tool_SongRows::Place& iPlace) const
{
    const Time_Typed frame = mSong.GetConverter().ToType(iPlace.mSample, Time_eType_Frames);
    return Tool_PositionText(mSong).Timecode(frame.AsInt64());
}

std::vector<Tool_SongReport::TableRow> Tool_SongReport::TableRows() const
{
    std::vector<TableRow> rows;
    for (const Tool_SongRows::Tempo& row : mRows.mTempos)
        rows.push_back({&row.mPlace, "tempo  " + RightAligned(Thousandths(row.mBeatsPerMinute), 7) + " bpm"});
    for (const Tool_SongRows::Meter& row : mRows.mMeters) {
        const std::string cut =
            row.mIsOffBarline ? ", cutting bar " + Number(Cmn_Int64{row.mBar} - 1) + " short" : "";
        rows.push_back(
            {&row.mPlace, "meter  " + Number(row.mNumerator) + '/' + Number(row.mDenominator) + cut});
    }
    for (const Tool_SongRows::Key& row : mRows.mKeys)
        rows.push_back({&row.mPlace, "key    " + row.mKey.ToString()});
    std::stable_sort(rows.begin(), rows.end(), [](const TableRow& iA, const TableRow& iB) {
        return iA.mPlace->mTick < iB.mPlace->mTick;
    });
    rows.push_back({&mRows.mEnd, "end"});
    return rows;
}

std::string Tool_SongReport::Heading() const
{
    const Tool_Settings& settings = mSong.GetSettings();
    return mFile + '\n' + Rate(settings.mSampleRate) + " Hz, timecode " +
           Time_Globals::GetTimeCodeFormatString(settings.mTimeCodeFormat) +
           ", 960 ticks to a quarter note\n";
}

std::string Tool_SongReport::ColumnNames()
{
    const std::string rule(cNumberWidth, '-');
    return TableLine("bar|beat|tick", "sample", "timecode", "min:sec", "change") + '\n' +
           TableLine(std::string(cPositionWidth, '-'), rule, rule, rule, std::string(20, '-')) + '\n';
}

std::vector<Tool_SongReport::Line> Tool_SongReport::Lines() const
{
    const Tool_Seconds seconds(mSong.GetSettings().mSampleRate);
    std::vector<Line> lines;
    for (const TableRow& row : TableRows()) {
        const Cmn_Int64 sample = row.mPlace->mSample.AsInt64();
        lines.push_back({row.mPlace->mTick, row.mChange,
                         TableLine(row.mPlace->mPosition.ToString(true, true), Number(sample),
                                   TimecodeOf(*row.mPlace), seconds.MinutesAndSeconds(sample), row.mChange)});
    }
    return lines;
}

std::string Tool_SongReport::Table() const
{
    std::string table = Heading() + '\n' + ColumnNames();
    for (const Line& line : Lines())
        table += line.mText + '\n';
    return table;
}

std::string Tool_SongReport::Json() const
{
    const double rate = mSong.GetSettings().mSampleRate;
    JsonValue tempos = JsonValue::array();
    for (const Tool_SongRows::Tempo& row : mRows.mTempos)
        tempos.push_back({{"tick", row.mPlace.mTick.AsInt64()},
                          {"sample", row.mPlace.mSample.AsInt64()},
                          {"bpm", row.mBeatsPerMinute},
                          {"ticksPerBeat", row.mTicksPerBeat},
                          {"position", PositionJson(row.mPlace.mPosition)}});
    JsonValue meters = JsonValue::array();
    for (const Tool_SongRows::Meter& row : mRows.mMeters)
        meters.push_back({{"tick", row.mPlace.mTick.AsInt64()},
                          {"bar", row.mBar},
                          {"numerator", row.mNumerator},
                          {"denominator", row.mDenominator},
                          {"offBarline", row.mIsOffBarline},
                          {"sample", row.mPlace.mSample.AsInt64()}});
    JsonValue keys = JsonValue::array();
    for (const Tool_SongRows::Key& row : mRows.mKeys)
        keys.push_back({{"tick", row.mPlace.mTick.AsInt64()},
                        {"sharps", SharpsOf(row.mKey)},
                        {"minor", !row.mKey.IsMajor()},
                        {"name", row.mKey.ToString()},
                        {"position", PositionJson(row.mPlace.mPosition)}});
    const JsonValue song = {{"file", mFile},
                            {"sampleRate", rate},
                            {"ticksPerQuarter", Tool_Song::cTicksPerQuarter},
                            {"songStartTick", mSong.GetStartTick().AsInt64()},
                            {"tempo", std::move(tempos)},
                            {"meter", std::move(meters)},
                            {"keys", std::move(keys)},
                            {"end",
                             {{"tick", mRows.mEnd.mTick.AsInt64()},
                              {"sample", mRows.mEnd.mSample.AsInt64()},
                              {"position", PositionJson(mRows.mEnd.mPosition)},
                              {"timecode", TimecodeOf(mRows.mEnd)},
                              {"seconds", static_cast<double>(mRows.mEnd.mSample.AsInt64()) / rate}}}};
    // A file name that is no UTF-8 is shown with replacement characters.
    return song.dump(2, ' ', false, JsonValue::error_handler_t::replace) + '\n';
}
