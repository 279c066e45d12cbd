#include "Tool/Tool_Convert.h"

#include "Kora/Time/Values/Time_TypedVector.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_PositionText.h"
#include "Tool/Tool_Progress.h"

#include <algorithm>
#include <istream>
#include <optional>
#include <ostream>

namespace {

constexpr char cPast[] = "lies past the time line's end";
constexpr char cBefore[] = "lies before the time line's beginning";

std::string_view WithoutBlanks(std::string_view iText)
{
    constexpr std::string_view cBlanks = " \t\r";
    const std::size_t start = iText.find_first_not_of(cBlanks);
    if (start == std::string_view::npos) return {};
    return iText.substr(start, iText.find_last_not_of(cBlanks) - start + 1);
}

// Calls iLine(text, number) for each line, numbered from 1.
template <class Line>
void ForEachLine(std::string_view iInput, Line iLine)
{
    Cmn_Int64 number = 0;
    for (std::size_t start = 0; start < iInput.size();) {
        const std::size_t end = std::min(iInput.find('\n', start), iInput.size());
        iLine(WithoutBlanks(iInput.substr(start, end - start)), ++number);
        start = end + 1;
    }
}

// One conversion: the positions as read, and as each of the library's units that the output needs.
class Converter
{
public:
    Converter(const Tool_Song& iSong, Time_EFilmGauge iGauge, std::string_view iInput,
              std::string_view iSource, Tool_EUnit iFrom, Cmn_Int64 iLinesBefore)
        : mSong(iSong)
        , mText(iSong, iGauge)
        , mInput(iInput)
        , mSource(iSource)
        , mFrom(iFrom)
        , mLinesBefore(iLinesBefore)
    {
    }

    std::string Run(const std::vector<Tool_EUnit>& iTo)
    {
        const Time_TypedVector read = ReadPositions();
        bool isFrom0 = !Tool_HasPositionsBefore0(mFrom);
        Convert(read, read.GetType());
        Convert(read, Time_eType_Samples);
        for (const Tool_EUnit unit : iTo) {
            isFrom0 = isFrom0 || !Tool_HasPositionsBefore0(unit);
            Convert(read, Tool_CountedIn(unit));
        }
        CheckSamples(read, isFrom0);
        CheckTicks();
        return Write(iTo, read.size());
    }

private:
    Time_TypedVector ReadPositions() const
    {
        Time_TypedVector counts(Tool_CountedIn(mFrom));
        counts.reserve(static_cast<std::size_t>(std::count(mInput.begin(), mInput.end(), '\n')) + 1);
        ForEachLine(mInput, [&](std::string_view iText, Cmn_Int64 iNumber) {
            Cmn_Int64 count = 0;
            const char* whyNot = nullptr;
            if (!mText.Parse(mFrom, iText, count, &whyNot)) {
                const std::string reason = whyNot == nullptr ? "" : std::string(" (") + whyNot + ')';
                throw Tool_InputError::AtLine(mSource, mLinesBefore + iNumber,
                                              Tool_Quoted(iText) + " is not a position in " +
                                                  std::string(Tool_UnitName(mFrom)) + reason + ", expected " +
                                                  mText.Form(mFrom));
            }
            counts.push_back(count);
        });
        return counts;
    }

    void Convert(const Time_TypedVector& iRead, Time_EType iType)
    {
        std::optional<Time_TypedVector>& counts = mCounts[iType];
        if (counts) return;
        counts = iRead;
        mSong.GetConverter().ToType(&*counts, iType);
    }

    // Frames count from sample 0; other positions may lie before it.
    void CheckSamples(const Time_TypedVector& iRead, bool iIsFrom0) const
    {
        const Time_TypedVector& samples = *mCounts[Time_eType_Samples];
        const Cmn_Int64 maxSample = Time_Typed::MaxTime(Time_eType_Samples).AsInt64();
        const Cmn_Int64 minSample = iIsFrom0 ? 0 : -maxSample;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            Cmn_Int64 sample = samples[i];
            // Conversions stop at the last sample: only the unclamped one shows a tick past it.
            if (sample == maxSample && iRead.GetType() == Time_eType_Ticks)
                sample = mSong.GetTempoMap().TickToSample(Time_Tick(iRead[i]), false).AsInt64();
            if (sample >= minSample && sample <= maxSample) continue;
            // Far away a sample may have wrapped round: the position itself tells its side.
            const bool isBefore =
                iRead[i] < (iRead.GetType() == Time_eType_Ticks ? mSong.GetStartTick().AsInt64() : 0);
            RefuseRange(i,
                        !isBefore  ? cPast
                        : iIsFrom0 ? "lies before sample 0, the first that has a frame"
                                   : cBefore,
                        "sample", minSample, maxSample);
        }
    }

    void CheckTicks() const
    {
        const std::optional<Time_TypedVector>& ticks = mCounts[Time_eType_Ticks];
        const Cmn_Int64 minTick = Time_Typed::MinTime(Time_eType_Ticks).AsInt64();
        const Cmn_Int64 maxTick = Time_Typed::MaxTime(Time_eType_Ticks).AsInt64();
        for (std::size_t i = 0; ticks && i < ticks->size(); ++i)
            if ((*ticks)[i] < minTick || (*ticks)[i] > maxTick)
                RefuseRange(i, (*ticks)[i] < minTick ? cBefore : cPast, "tick", minTick, maxTick);
    }

    [[noreturn]] void RefuseRange(std::size_t iIndex, const char* iWhere, const char* iUnit, Cmn_Int64 iMin,
                                  Cmn_Int64 iMax) const
    {
        Refuse(iIndex, std::string(iWhere) + ", expected " + iUnit + ' ' + std::to_string(iMin) + " to " +
                           std::to_string(iMax));
    }

    [[noreturn]] void Refuse(std::size_t iIndex, const std::string& iText) const
    {
        const auto line = static_cast<Cmn_Int64>(iIndex) + 1;
        std::string_view position;
        ForEachLine(mInput, [&](std::string_view iPosition, Cmn_Int64 iNumber) {
            if (iNumber == line) position = iPosition;
        });
        throw Tool_InputError::AtLine(mSource, mLinesBefore + line, Tool_Quoted(position) + " " + iText);
    }

    std::string Write(const std::vector<Tool_EUnit>& iTo, std::size_t iCount) const
    {
        constexpr std::size_t cBytesOfOnePosition = 14;
        std::string lines;
        lines.reserve(iCount * iTo.size() * cBytesOfOnePosition);
        for (std::size_t i = 0; i < iCount; ++i)
            for (std::size_t column = 0; column < iTo.size(); ++column) {
                const Tool_EUnit unit = iTo[column];
                if (!mText.Append(unit, (*mCounts[Tool_CountedIn(unit)])[i], lines))
                    Refuse(i, "has no bar number, expected one of at most 32 bits");
                lines += column + 1 < iTo.size() ? '\t' : '\n';
            }
        return lines;
    }

    const Tool_Song& mSong;
    Tool_PositionText mText;
    std::string_view mInput;
    std::string_view mSource;
    Tool_EUnit mFrom;
    Cmn_Int64 mLinesBefore;                     // of the input, in earlier blocks
    std::optional<Time_TypedVector> mCounts[3]; // by Time_EType
};

// Whole lines, block by block.
class Blocks
{
public:
    Blocks(const Tool_Song& iSong, Time_EFilmGauge iGauge, std::string_view iSource, Tool_EUnit iFrom,
           const std::vector<Tool_EUnit>& iTo, std::ostream& oOut)
        : mSong(iSong)
        , mGauge(iGauge)
        , mSource(iSource)
        , mFrom(iFrom)
        , mTo(iTo)
        , mOut(oOut)
    {
    }

    void Add(std::string_view iLines)
    {
        try {
            Write(iLines);
        } catch (const Tool_InputError&) {
            // Once more line by line: those before the bad one are answered.
            for (std::size_t start = 0; start < iLines.size();) {
                const std::size_t end = std::min(iLines.find('\n', start), iLines.size() - 1) + 1;
                Write(iLines.substr(start, end - start));
                start = end;
            }
        }
    }
    [[noreturn]] void RefuseLength() const
    {
        throw Tool_InputError::AtLine(mSource, mLinesBefore + 1,
                                      "more than " + std::to_string(Tool_cLongestLine) +
                                          " bytes, expected a position");
    }

private:
    void Write(std::string_view iLines)
    {
        const std::string answer = Converter(mSong, mGauge, iLines, mSource, mFrom, mLinesBefore).Run(mTo);
        mOut.write(answer.data(), static_cast<std::streamsize>(answer.size())).flush();
        mLinesBefore += std::count(iLines.begin(), iLines.end(), '\n');
        mWork.At(mLinesBefore);
    }

    const Tool_Song& mSong;
    Time_EFilmGauge mGauge;
    std::string_view mSource;
    Tool_EUnit mFrom;
    const std::vector<Tool_EUnit>& mTo;
    std::ostream& mOut;
    Cmn_Int64 mLinesBefore = 0;
    Tool_StWork mWork{"converting", {}, 0, "lines"};
};

} // namespace

std::string Tool_Convert(const Tool_Song& iSong, std::string_view iInput, std::string_view iSource,
                         Tool_EUnit iFrom, const std::vector<Tool_EUnit>& iTo, Time_EFilmGauge iGauge)
{
    return Converter(iSong, iGauge, iInput, iSource, iFrom, 0).Run(iTo);
}

void Tool_ConvertStream(const Tool_Song& iSong, std::istream& ioIn, std::string_view iSource,
                        Tool_EUnit iFrom, const std::vector<Tool_EUnit>& iTo, std::ostream& oOut,
                        Time_EFilmGauge iGauge)
{
    constexpr std::streamsize cBlock = 65536;
    Blocks blocks(iSong, iGauge, iSource, iFrom, iTo, oOut);
    std::string text;
    // peek waits for a line, or for what the stream takes at once; the rest is there already.
    while (oOut && ioIn.peek() != std::istream::traits_type::eof()) {
        const std::size_t before = text.size();
        text.resize(before + static_cast<std::size_t>(cBlock));
        const std::streamsize most = std::clamp<std::streamsize>(ioIn.rdbuf()->in_avail(), 1, cBlock);
        const std::streamsize count = ioIn.rdbuf()->sgetn(text.data() + before, most);
        text.resize(before + static_cast<std::size_t>(count));
        const std::size_t newline = text.find_last_of('\n');
        if (newline != std::string::npos) {
            blocks.Add(std::string_view(text).substr(0, newline + 1));
            text.erase(0, newline + 1);
        }
        if (text.size() > Tool_cLongestLine) blocks.RefuseLength();
    }
    if (ioIn.bad()) throw Tool_InputError::InFile(iSource, "cannot be read, expected positions");
    if (oOut && !text.empty()) blocks.Add(text);
}
