#include "Tool/Tool_SongReport.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Tool/Tool_JsonWriter.h"
#include "Tool/Tool_Progress.h"
#include "Tool/Tool_Text.h"

#include <algorithm>
#include <sstream>

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

void AddPosition(Tool_JsonWriter& ioJson, int iIndent, const Time_BarBeatTick& iPosition)
{
    ioJson.Open(iIndent, "position", '{');
    ioJson.Add(iIndent + 2, "bar", Cmn_Int64{iPosition.mBar});
    ioJson.Add(iIndent + 2, "beat", Cmn_Int64{iPosition.mBeat});
    ioJson.Add(iIndent + 2, "tick", iPosition.mTick.AsInt64());
    ioJson.Close(iIndent, '}');
}

Cmn_Int32 SharpsOf(const Time_KeySignature& iKey)
{
    const Cmn_Int32 count = iKey.GetAccidentalCount();
    return iKey.IsSharps() ? count : -count;
}

constexpr std::size_t cPositionWidth = 13;
constexpr std::size_t cNumberWidth = 11;

void AppendRightAligned(std::string_view iText, std::size_t iWidth, std::string& ioText)
{
    ioText.append(iWidth - std::min(iWidth, iText.size()), ' ').append(iText).append("  ");
}

// Columns flush right, but for the last.
void AppendColumns(std::string_view iPosition, std::string_view iSample, std::string_view iTimecode,
                   std::string_view iTime, std::string_view iChange, std::string& ioText)
{
    AppendRightAligned(iPosition, cPositionWidth, ioText);
    for (const std::string_view text : {iSample, iTimecode, iTime})
        AppendRightAligned(text, cNumberWidth, ioText);
    ioText += iChange;
}

std::string ChangeText(const Tool_SongRows::Tempo& iRow)
{
    return "tempo  " + RightAligned(Thousandths(iRow.mBeatsPerMinute), 7) + " bpm";
}

std::string ChangeText(const Tool_SongRows::Meter& iRow)
{
    const std::string cut =
        iRow.mIsOffBarline ? ", cutting bar " + Number(Cmn_Int64{iRow.mBar} - 1) + " short" : "";
    return "meter  " + Number(iRow.mNumerator) + '/' + Number(iRow.mDenominator) + cut;
}

std::string ChangeText(const Tool_SongRows::Key& iRow) { return "key    " + iRow.mKey.ToString(); }

// A list of objects, one a row: iPlace writes where it is, iWrite what changes there.
template <class Row, class Place, class Write>
void WriteRows(const char* iName, Tool_SongWalk& ioWalk, Tool_JsonWriter& ioJson, const Place& iPlace,
               const Write& iWrite)
{
    Tool_StWork work("writing rows", {}, ioWalk.GetCount());
    ioJson.Open(2, iName, '[');
    for (Row row; ioWalk.Next(row);) {
        ioJson.Open(4, nullptr, '{');
        iPlace(row.mPlace);
        iWrite(row);
        ioJson.Close(4, '}');
        ioJson.FlushIfMuch();
        work.At(ioWalk.GetNumGiven());
    }
    ioJson.Close(2, ']');
}

template <class Place>
void WriteTempi(Tool_SongWalk& ioWalk, Tool_JsonWriter& ioJson, const Place& iPlace)
{
    WriteRows<Tool_SongRows::Tempo>("tempo", ioWalk, ioJson, iPlace, [&](const Tool_SongRows::Tempo& iRow) {
        ioJson.AddDouble(6, "bpm", iRow.mBeatsPerMinute);
        ioJson.Add(6, "ticksPerBeat", iRow.mTicksPerBeat);
    });
}

template <class Place>
void WriteMeters(Tool_SongWalk& ioWalk, Tool_JsonWriter& ioJson, const Place& iPlace)
{
    WriteRows<Tool_SongRows::Meter>("meter", ioWalk, ioJson, iPlace, [&](const Tool_SongRows::Meter& iRow) {
        ioJson.Add(6, "bar", Cmn_Int64{iRow.mBar});
        ioJson.Add(6, "numerator", Cmn_Int64{iRow.mNumerator});
        ioJson.Add(6, "denominator", Cmn_Int64{iRow.mDenominator});
        ioJson.AddBool(6, "offBarline", iRow.mIsOffBarline);
    });
}

template <class Place>
void WriteKeys(Tool_SongWalk& ioWalk, Tool_JsonWriter& ioJson, const Place& iPlace)
{
    WriteRows<Tool_SongRows::Key>("keys", ioWalk, ioJson, iPlace, [&](const Tool_SongRows::Key& iRow) {
        ioJson.Add(6, "sharps", Cmn_Int64{SharpsOf(iRow.mKey)});
        ioJson.AddBool(6, "minor", !iRow.mKey.IsMajor());
        ioJson.Add(6, "name", iRow.mKey.ToString());
    });
}

// The next row of one of the lists.
template <class Row>
class Next
{
public:
    explicit Next(Tool_SongWalk& ioWalk)
        : mWalk(ioWalk)
        , mIsThere(ioWalk.Next(mRow))
    {
    }
    // Whether its turn is before another list's, which is the later of two at one tick.
    template <class Other>
    bool IsBefore(const Next<Other>& iOther) const
    {
        return mIsThere && (!iOther.IsThere() || mRow.mPlace.mTick <= iOther.Get().mPlace.mTick);
    }
    bool IsThere() const { return mIsThere; }
    const Row& Get() const { return mRow; }
    void Advance() { mIsThere = mWalk.Next(mRow); }

private:
    Tool_SongWalk& mWalk;
    Row mRow{};
    bool mIsThere;
};

} // namespace

Tool_SongReport::Tool_SongReport(const Tool_Song& iSong, std::string iFile)
    : mSong(iSong)
    , mFile(std::move(iFile))
    , mPositions(iSong)
{
}

std::string Tool_SongReport::TimecodeOf(const Tool_SongRows::Place& iPlace) const
{
    return mPositions.Timecode(mSong.GetConverter().ToType(iPlace.mSample, Time_eType_Frames).AsInt64());
}

std::string Tool_SongReport::Heading() const
{
    const Tool_Settings& settings = mSong.GetSettings();
    return mFile + '\n' + Rate(settings.mSampleRate) + " Hz, timecode " +
           Time_Globals::GetTimeCodeFormatString(settings.mTimeCodeFormat) +
           ", 960 ticks to a quarter note\n";
}

std::string Tool_SongReport::ColumnNames(Tool_Style iStyle)
{
    const std::string rule(cNumberWidth, '-');
    std::string text;
    AppendColumns("bar|beat|tick", "sample", "timecode", "min:sec", "change", text);
    text = iStyle.Heading(text) + '\n';
    AppendColumns(std::string(cPositionWidth, '-'), rule, rule, rule, std::string(20, '-'), text);
    return text + '\n';
}

void Tool_SongReport::MakeLine(const Tool_SongRows::Place& iPlace, Line& oLine) const
{
    const Tool_Seconds seconds(mSong.GetSettings().mSampleRate);
    const Cmn_Int64 sample = iPlace.mSample.AsInt64();
    oLine.mTick = iPlace.mTick;
    oLine.mText.clear();
    AppendColumns(iPlace.mPosition.ToString(true, true), Number(sample), TimecodeOf(iPlace),
                  seconds.MinutesAndSeconds(sample), oLine.mChange, oLine.mText);
}

void Tool_SongReport::ForEachLine(const std::function<void(const Line&)>& iTake) const
{
    Tool_SongWalk walk(mSong);
    Next<Tool_SongRows::Tempo> tempo(walk);
    Next<Tool_SongRows::Meter> meter(walk);
    Next<Tool_SongRows::Key> key(walk);
    Line line;
    Tool_StWork work("writing rows", {}, walk.GetCount());
    const auto take = [&](auto& ioNext) {
        line.mChange = ChangeText(ioNext.Get());
        MakeLine(ioNext.Get().mPlace, line);
        iTake(line);
        ioNext.Advance();
        work.At(walk.GetNumGiven());
    };
    while (tempo.IsThere() || meter.IsThere() || key.IsThere())
        if (tempo.IsBefore(meter) && tempo.IsBefore(key))
            take(tempo);
        else if (meter.IsBefore(key))
            take(meter);
        else
            take(key);
    line.mChange = "end";
    MakeLine(walk.GetEnd(), line);
    iTake(line);
}

std::vector<Tool_SongReport::Line> Tool_SongReport::Lines() const
{
    std::vector<Line> lines;
    ForEachLine([&](const Line& iLine) { lines.push_back(iLine); });
    return lines;
}

void Tool_SongReport::WriteTable(std::ostream& oOut, Tool_Style iStyle) const
{
    constexpr std::size_t cMuch = 65536;
    std::string text = Heading() + '\n' + ColumnNames(iStyle);
    ForEachLine([&](const Line& iLine) {
        text.append(iLine.mText).append("\n");
        if (text.size() < cMuch) return;
        oOut.write(text.data(), static_cast<std::streamsize>(text.size()));
        text.clear();
    });
    oOut.write(text.data(), static_cast<std::streamsize>(text.size()));
}

std::string Tool_SongReport::Table() const
{
    std::ostringstream out;
    WriteTable(out);
    return std::move(out).str();
}

void Tool_SongReport::AddPlace(const Tool_SongRows::Place& iPlace, int iIndent, Tool_JsonWriter& ioJson) const
{
    ioJson.Add(iIndent, "tick", iPlace.mTick.AsInt64());
    ioJson.Add(iIndent, "sample", iPlace.mSample.AsInt64());
    AddPosition(ioJson, iIndent, iPlace.mPosition);
    ioJson.Add(iIndent, "timecode", TimecodeOf(iPlace));
}

void Tool_SongReport::WriteJson(std::ostream& oOut) const
{
    const Tool_Settings& settings = mSong.GetSettings();
    Tool_SongWalk walk(mSong);
    Tool_JsonWriter json(oOut);
    const auto rowPlace = [&](const Tool_SongRows::Place& iPlace) { AddPlace(iPlace, 6, json); };
    json.Open(0, nullptr, '{');
    json.Add(2, "version", Tool_JsonWriter::cVersion);
    json.Add(2, "file", mFile);
    json.AddDouble(2, "sampleRate", settings.mSampleRate);
    json.Add(2, "timecodeFormat", Time_Globals::GetTimeCodeFormatString(settings.mTimeCodeFormat));
    json.Add(2, "ticksPerQuarter", Tool_Song::cTicksPerQuarter);
    json.Add(2, "songStartTick", mSong.GetStartTick().AsInt64());
    WriteTempi(walk, json, rowPlace);
    WriteMeters(walk, json, rowPlace);
    WriteKeys(walk, json, rowPlace);
    const Tool_SongRows::Place end = walk.GetEnd();
    json.Open(2, "end", '{');
    AddPlace(end, 4, json);
    json.AddDouble(4, "seconds", static_cast<double>(end.mSample.AsInt64()) / settings.mSampleRate);
    json.Close(2, '}');
    json.Close(0, '}');
    json.Flush();
    oOut << '\n';
}

std::string Tool_SongReport::Json() const
{
    std::ostringstream out;
    WriteJson(out);
    return std::move(out).str();
}
