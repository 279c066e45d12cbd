#include "examples/menus/Desk.h"

#include <algorithm>
#include <charconv>
#include <ostream>
#include <sstream>

namespace {

// A whole number and nothing behind it.
template <class T>
bool ParseNumber(const std::string& iText, T& oNumber)
{
    const auto [end, error] = std::from_chars(iText.data(), iText.data() + iText.size(), oNumber);
    return error == std::errc() && end == iText.data() + iText.size();
}

std::size_t CharactersOf(const std::string& iText)
{
    return static_cast<std::size_t>(
        std::count_if(iText.begin(), iText.end(), [](char iByte) { return (iByte & 0xC0) != 0x80; }));
}

} // namespace

bool Desk::Obey(const std::string& iLine, std::ostream& oErr)
{
    std::istringstream words(iLine);
    std::string first, second, third, more;
    words >> first >> second >> third >> more;
    if (first == "quit") return false;
    if (first.empty()) return true;
    Cmn_Int16 number = 0;
    int repeats = 0;
    if (first == "menus" && second.empty()) {
        ShowMenus();
    } else if (second.empty() && ParseNumber(first, number)) {
        if (!Choose(number)) oErr << "no enabled item has the number " << number << '\n';
    } else if (const auto chord = ParseChord(first); chord && second.empty()) {
        Strike(*chord, 0);
    } else if (const auto held = ParseChord(second);
               held && first == "hold" && more.empty() && ParseNumber(third, repeats))
    {
        Strike(*held, repeats);
    } else {
        oErr
            << '"' << iLine
            << "\" is no key; expected menus, quit, an item's number, a key like Ctrl+S, or hold KEY COUNT\n";
    }
    return true;
}

void Desk::Strike(const KeyChord& iChord, int iRepeats)
{
    Key(iChord, true, false);
    for (int i = 0; i < iRepeats; ++i)
        Key(iChord, true, true);
    Key(iChord, false, false);
}

std::string Desk::Shown(const MenuLine& iLine)
{
    if (iLine.separator) return "        ------";
    const std::size_t tab = iLine.text.find('\t');
    std::string title = iLine.text.substr(0, tab);
    std::erase(title, '&'); // the mnemonic's mark
    if (iLine.depth == 0) return title;

    std::string line = "  " + std::to_string(iLine.number) + (iLine.checked ? " [x] " : "     ") + title;
    if (tab != std::string::npos) {
        line.append(30 - std::min<std::size_t>(30, CharactersOf(line)), ' ').append(iLine.text, tab + 1);
    }
    return iLine.enabled ? line : line + "  (disabled)";
}
