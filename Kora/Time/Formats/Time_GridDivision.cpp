#include "Kora/Time/Formats/Time_GridDivision.h"

#include "Bastel/Cmn/Cmn_Assert.h"

#include <algorithm>
#include <ostream>

namespace {

constexpr std::string_view cBars = "bars";
constexpr std::string_view cBeats = "beats";

} // namespace

Time_GridDivision::Time_GridDivision(const Time_NotationDurationValue& iValue)
{
    const Cmn_Int64 ticks = iValue.GetTicks().AsInt64();
    if (!Cmn_ASSERT_AS(ticks >= 1, "iValue.GetTicks() >= 1", "Time/Time_GridDivision")) return;
    mBy = eNoteValue;
    mTicks = ticks;
    mValue = iValue;
}

Time_GridDivision Time_GridDivision::WithSwing(Cmn_Int32 iSwing) const
{
    Time_GridDivision division = *this;
    const bool isSwing = Cmn_ASSERT_AS(iSwing >= 0 && iSwing < cWholeSwing,
                                       "iSwing >= 0 && iSwing < cWholeSwing", "Time/Time_GridDivision");
    division.mSwing = isSwing && mBy == eNoteValue ? iSwing : 0;
    return division;
}

std::string Time_GridDivision::ToString() const
{
    char text[cTextBytes];
    return std::string(text, ToText(text));
}

std::size_t Time_GridDivision::ToText(char* oText) const
{
    if (mBy == eNoteValue) return mValue.ToText(oText);
    const std::string_view text = mBy == eBars ? cBars : cBeats;
    *std::copy(text.begin(), text.end(), oText) = '\0';
    return text.size();
}

bool Time_GridDivision::FromText(std::string_view iText, const char** oWhyNot)
{
    Time_NotationDurationValue value;
    const char* whyNot = nullptr;
    if (iText == cBars || iText == cBeats) {
        *this = Time_GridDivision(iText == cBars ? eBars : eBeats);
        return true;
    }
    if (!iText.starts_with("1/"))
        whyNot = "bars, beats or a note value such as 1/8t is expected";
    else if (value.FromText(iText, &whyNot) && value.GetTicks().AsInt64() < 1)
        whyNot = "the note value is shorter than a tick";
    if (whyNot == nullptr)
        *this = Time_GridDivision(value);
    else if (oWhyNot != nullptr)
        *oWhyNot = whyNot;
    return whyNot == nullptr;
}

std::string Time_GridDivision::Dump() const
{
    return ToString() + (mSwing == 0 ? "" : " swing " + std::to_string(mSwing));
}

std::ostream& operator<<(std::ostream& ioStream, const Time_GridDivision& iDivision)
{
    char text[Time_GridDivision::cTextBytes];
    iDivision.ToText(text);
    return ioStream << text;
}
