// Kora_Format: std::format of the values that go to streams: times, ranges, positions, meters, tempi, keys.
//
//     std::format("{:>12}", Time_BarBeatTick::AtBar(3))    "       3|1|0"
//     std::format("{}", Time_Range(from, to))              "[0, 48000) Samples"
//
// Text:    what the value's operator<< writes, whatever the global locale is. Fill, alignment, width and precision are
//          those of strings.
// When:    where the compiler's library has <format> and says that it is whole, by __cpp_lib_format: GCC 13's has it.
//          With GCC 12's, which Clang takes there too, this header has nothing in it. Behind it a host can ask
//          "#ifdef __cpp_lib_format".
// Threads: as the values.
#pragma once

#include "Kora/Time.h"

#if __has_include(<format>)
#include <format>
#endif

#ifdef __cpp_lib_format
#include <locale>
#include <sstream>
#include <string_view>

// Formats a value as the text that it writes to a stream. A host's own values may have it too:
// "template <> struct std::formatter<Take> : Kora_FormatAsStreamed<Take> {};".
template <class Value>
struct Kora_FormatAsStreamed : std::formatter<std::string_view>
{
    // Called by std::format.
    template <class Context>
    auto format(const Value& iValue, Context& ioContext) const
    {
        std::ostringstream text;
        text.imbue(std::locale::classic()); // a global locale may put separators between thousands
        text << iValue;
        return std::formatter<std::string_view>::format(text.str(), ioContext);
    }
};

template <>
struct std::formatter<Time_Sample> : Kora_FormatAsStreamed<Time_Sample>
{
};
template <>
struct std::formatter<Time_SampleLength> : Kora_FormatAsStreamed<Time_SampleLength>
{
};
template <>
struct std::formatter<Time_Tick> : Kora_FormatAsStreamed<Time_Tick>
{
};
template <>
struct std::formatter<Time_TickLength> : Kora_FormatAsStreamed<Time_TickLength>
{
};
template <>
struct std::formatter<Time_Typed> : Kora_FormatAsStreamed<Time_Typed>
{
};
template <>
struct std::formatter<Time_TypedLocal> : Kora_FormatAsStreamed<Time_TypedLocal>
{
};
template <>
struct std::formatter<Time_TypedLength> : Kora_FormatAsStreamed<Time_TypedLength>
{
};
template <>
struct std::formatter<Time_TypedVector> : Kora_FormatAsStreamed<Time_TypedVector>
{
};
template <>
struct std::formatter<Time_Range> : Kora_FormatAsStreamed<Time_Range>
{
};
template <>
struct std::formatter<Time_RangeSet> : Kora_FormatAsStreamed<Time_RangeSet>
{
};
template <>
struct std::formatter<Time_BarBeatTick> : Kora_FormatAsStreamed<Time_BarBeatTick>
{
};
template <>
struct std::formatter<Time_SMPTE> : Kora_FormatAsStreamed<Time_SMPTE>
{
};
template <>
struct std::formatter<Time_MinSec> : Kora_FormatAsStreamed<Time_MinSec>
{
};
template <>
struct std::formatter<Time_FeetFrame> : Kora_FormatAsStreamed<Time_FeetFrame>
{
};
template <>
struct std::formatter<Time_NotationDurationValue> : Kora_FormatAsStreamed<Time_NotationDurationValue>
{
};
template <>
struct std::formatter<Time_GridDivision> : Kora_FormatAsStreamed<Time_GridDivision>
{
};
template <>
struct std::formatter<Time_GridLine> : Kora_FormatAsStreamed<Time_GridLine>
{
};
template <>
struct std::formatter<Time_Meter> : Kora_FormatAsStreamed<Time_Meter>
{
};
template <>
struct std::formatter<Time_MeterChange> : Kora_FormatAsStreamed<Time_MeterChange>
{
};
template <>
struct std::formatter<Time_TempoMark> : Kora_FormatAsStreamed<Time_TempoMark>
{
};
template <>
struct std::formatter<Time_KeySignature> : Kora_FormatAsStreamed<Time_KeySignature>
{
};
#endif
