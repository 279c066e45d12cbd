#include "Tool/Tool_Convert.h"

#include "Kora/Time/Values/Time_TypedVector.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_PositionText.h"

#include <algorithm>
#include <optional>

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
    Converter(const Tool_Song& iSong, std::string_view iInput, std::string_view iSource, Tool_EUnit iFrom)
        : mSong(iSong)
        , mText(iSong)
        , mInput(iInput)
        , mSource(iSource)
        , mFrom(iFrom)
    {
    }

    std::string Run(const std::vector<Tool_EUnit>& iTo)
    {
        const Time_TypedVector read = ReadPositions();
        bool usesFrames = UsesFrames(mFrom);
        Convert(read, read.GetType());
        Convert(read, Time_eType_Samples);
        for (const Tool_EUnit unit : iTo) {
            usesFrames = usesFrames || UsesFrames(unit);
            Convert(read, Tool_CountedIn(unit));
        }
        CheckSamples(read, usesFrames);
        CheckTicks();
        return Write(iTo, read.size());
    }

private:
    static bool UsesFrames(Tool_EUnit iUnit) { return Tool_CountedIn(iUnit) == Time_eType_Frames; }

    Time_TypedVector ReadPositions() const
    {
        Time_TypedVector counts(Tool_CountedIn(mFrom));
        counts.reserve(static_cast<std::size_t>(std::count(mInput.begin(), mInput.end(), '\n')) + 1);
        ForEachLine(mInput, [&](std::string_view iText, Cmn_Int64 iNumber) {
            Cmn_Int64 count = 0;
            if (!mText.Parse(mFrom, iText, count))
                throw Tool_InputError::AtLine(mSource, iNumber,
                                              Tool_Quoted(iText) + " is not a position in " +
                                                  std::string(Tool_UnitName(mFrom)) + ", expected " +
                                                  mText.Form(mFrom));
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
    void CheckSamples(const Time_TypedVector& iRead, bool iUsesFrames) const
    {
        const Time_TypedVector& samples = *mCounts[Time_eType_Samples];
        const Cmn_Int64 maxSample = Time_Typed::MaxTime(Time_eType_Samples).AsInt64();
        const Cmn_Int64 minSample = iUsesFrames ? 0 : -maxSample;
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
                        !isBefore     ? cPast
                        : iUsesFrames ? "lies before sample 0, the first that has a frame"
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
        throw Tool_InputError::AtLine(mSource, line, Tool_Quoted(position) + " " + iText);
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
    std::optional<Time_TypedVector> mCounts[3]; // by Time_EType
};

} // namespace

std::string Tool_Convert(const Tool_Song& iSong, std::string_view iInput, std::string_view iSource,
                         Tool_EUnit iFrom, const std::vector<Tool_EUnit>& iTo)
{
    return Converter(iSong, iInput, iSource, iFrom).Run(iTo);
}
