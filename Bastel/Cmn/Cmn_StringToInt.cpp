#include "Bastel/Cmn/Cmn_StringToInt.h"

#include "Bastel/Cmn/Cmn_Exception.h"

#include <charconv>

namespace {

// The C locale's white space, whatever locale the host runs in.
constexpr std::string_view cWhite = " \t\n\v\f\r";

template <class Integer>
Integer Parse(std::string_view iText)
{
    const std::size_t first = iText.find_first_not_of(cWhite);
    if (first == iText.npos) throw Cmn_Exception(Cmn_eMessage_NotAnInteger);
    iText = iText.substr(first, iText.find_last_not_of(cWhite) - first + 1);

    // from_chars takes a minus but no plus.
    if (iText.starts_with('+') && iText.size() > 1 && iText[1] != '-') iText.remove_prefix(1);

    Integer value = 0;
    const char* const end = iText.data() + iText.size();
    const auto [rest, error] = std::from_chars(iText.data(), end, value);
    // The text is looked at first: digits without end that a letter follows are no integer,
    // rather than a large one.
    if (error == std::errc::invalid_argument || rest != end) throw Cmn_Exception(Cmn_eMessage_NotAnInteger);
    if (error != std::errc()) throw Cmn_Exception(Cmn_eMessage_IntegerOutOfRange);
    return value;
}

} // namespace

Cmn_Int64 Cmn_StringToInt64(std::string_view iText) { return Parse<Cmn_Int64>(iText); }
Cmn_Int32 Cmn_StringToInt32(std::string_view iText) { return Parse<Cmn_Int32>(iText); }
