#include "Tool/Tool_InputError.h"

namespace {

constexpr std::size_t cLongestShown = 40;

// Deliberate: a name's bytes beyond ASCII stay, since a terminal shows them; values may be any bytes at all.
// Test: DocumentTest.InfoShowsEveryStreamAndEveryEntry
std::string Escape(std::string_view iText, bool iKeepsNonAscii)
{
    constexpr char cHex[] = "0123456789abcdef";
    std::string shown;
    for (const char c : iText) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80 ? iKeepsNonAscii : byte >= 0x20 && byte != 0x7F)
            shown += c;
        else
            shown += {'\\', 'x', cHex[byte >> 4], cHex[byte & 15]};
    }
    return shown;
}

} // namespace

std::string Tool_Printable(std::string_view iText) { return Escape(iText, true); }

Tool_InputError Tool_InputError::InFile(std::string_view iFile, std::string_view iText)
{
    return Tool_InputError(Tool_Printable(iFile) + ": " + std::string(iText));
}

Tool_InputError Tool_InputError::AtByte(std::string_view iFile, Cmn_Int64 iOffset, std::string_view iText)
{
    return InFile(iFile, "byte " + std::to_string(iOffset) + ": " + std::string(iText));
}

Tool_InputError Tool_InputError::AtLine(std::string_view iSource, Cmn_Int64 iLine, std::string_view iText)
{
    return InFile(iSource, "line " + std::to_string(iLine) + ": " + std::string(iText));
}

std::string Tool_Quoted(std::string_view iText)
{
    const bool isLong = iText.size() > cLongestShown;
    return '"' + Escape(iText.substr(0, cLongestShown), false) + (isLong ? "...\"" : "\"");
}
