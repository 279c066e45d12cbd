#include "Kora/Time/Tempo/Time_TempoMark.h"

#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Kora/Time/Formats/Time_FormText_p.h"
#include "Kora/Time/Tempo/Time_BasicTempoMapSegment.h"

#include <algorithm>
#include <charconv>
#include <ostream>

namespace {

constexpr std::string_view cTicks = " ticks";

// The note value whose length is that of a beat.
bool FindNoteValue(const Time_TickLength& iTicks, Time_NotationDurationValue& oValue)
{
    for (int code = Time_eNoteDuration_Whole; code <= Time_eNoteDuration_SixtyFourth; ++code) {
        const auto duration = static_cast<Time_ENoteDuration>(code);
        const Time_NotationDurationValue values[] = {
            {duration, false}, {duration, true}, {duration, false, true, 2, 3}};
        const auto value = std::find_if(std::begin(values), std::end(values), [&](const auto& v) {
            return v.GetTicks().AsInt64() == iTicks.AsInt64();
        });
        if (value == std::end(values)) continue;
        oValue = *value;
        return true;
    }
    return false;
}

const char* ReadBeat(std::string_view iText, Time_TickLength& oTicks)
{
    Time_NotationDurationValue value;
    const char* whyNot = nullptr;
    if (value.FromText(iText, &whyNot)) {
        oTicks = value.GetTicks();
        return nullptr;
    }
    Time_FormReader reader(iText);
    Cmn_Int64 ticks = 0;
    if (reader.TakeInteger(ticks) != Time_FormReader::eInteger_Taken || reader.GetRest() != cTicks.substr(1))
        return whyNot;
    oTicks = Time_TickLength(ticks);
    return nullptr;
}

// The number behind the beat; a sign, "inf" and "nan" are no numbers of beats.
const char* ReadBeatsPerMinute(std::string_view iText, double& oNumber)
{
    const bool isNumber = !iText.empty() && ((iText[0] >= '0' && iText[0] <= '9') || iText[0] == '.');
    const auto [end, error] = std::from_chars(iText.data(), iText.data() + iText.size(), oNumber);
    if (!isNumber || error != std::errc() || end != iText.data() + iText.size())
        return "a tempo such as 120 or 1/8.=66.5 is expected";
    return nullptr;
}

std::string_view WithoutBlanks(std::string_view iText)
{
    while (iText.starts_with(' '))
        iText.remove_prefix(1);
    while (iText.ends_with(' '))
        iText.remove_suffix(1);
    return iText;
}

const char* ReadMark(std::string_view iText, Time_TempoMark& oMark)
{
    const std::size_t equals = iText.find('=');
    double beatsPerMinute = 0;
    const std::string_view number = equals == iText.npos ? iText : iText.substr(equals + 1);
    if (const char* const whyNot = ReadBeatsPerMinute(WithoutBlanks(number), beatsPerMinute)) return whyNot;
    Time_TickLength ticksPerBeat = Time_TickLength::cQuarter;
    if (equals != iText.npos)
        if (const char* const whyNot = ReadBeat(WithoutBlanks(iText.substr(0, equals)), ticksPerBeat))
            return whyNot;
    if (!Time_BasicTempoMapSegment::IsTempo(beatsPerMinute, ticksPerBeat)) return "a tempo is above 0";
    oMark = Time_TempoMark(beatsPerMinute, ticksPerBeat);
    return nullptr;
}

} // namespace

std::string Time_TempoMark::ToString() const
{
    char text[cTextBytes];
    return std::string(text, ToText(text));
}

std::size_t Time_TempoMark::ToText(char* oText) const
{
    char* at = oText;
    Time_NotationDurationValue value;
    if (!FindNoteValue(mTicksPerBeat, value)) {
        at = Time_WriteInteger(at, mTicksPerBeat.AsInt64());
        at = std::copy(cTicks.begin(), cTicks.end(), at);
        *at++ = '=';
    } else if (value != Time_NotationDurationValue()) {
        at += value.ToText(at);
        *at++ = '=';
    }
    at = std::to_chars(at, oText + cTextBytes - 1, mBeatsPerMinute).ptr;
    *at = '\0';
    return static_cast<std::size_t>(at - oText);
}

bool Time_TempoMark::FromText(std::string_view iText, const char** oWhyNot)
{
    if (const char* const whyNot = ReadMark(iText, *this)) {
        if (oWhyNot != nullptr) *oWhyNot = whyNot;
        return false;
    }
    return true;
}

Cmn_XMLNode Time_TempoMark::GetAsXML(const std::string& iName) const
{
    Cmn_XMLNode node(iName);
    node.AddValue("mBeatsPerMinute", mBeatsPerMinute);
    node.AddValue("nTicksPerBeat", mTicksPerBeat.AsInt64());
    return node;
}

std::ostream& operator<<(std::ostream& ioStream, const Time_TempoMark& iMark)
{
    char text[Time_TempoMark::cTextBytes];
    iMark.ToText(text);
    return ioStream << text;
}
