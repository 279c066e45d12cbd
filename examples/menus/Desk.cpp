#include "Desk.h"

#include <algorithm>
#include <charconv>
#include <iostream>
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

bool Desk::Play(std::istream& ioInput, bool iPrompts, const bool& iQuits)
{
    bool isUnderstood = true;
    std::string line;
    while (!iQuits) {
        if (iPrompts) std::cout << "> " << std::flush;
        if (!std::getline(ioInput, line)) break;
        if (line.ends_with('\r')) line.pop_back();
        std::istringstream words(line);
        if (std::string word, more; words >> word && word == "quit" && !(words >> more)) break;
        if (Obey(line)) continue;
        isUnderstood = false;
        std::cerr
            << '"' << line
            << "\" is not understood; expected menus, quit, an item's number, a key like Ctrl+S, or hold KEY "
               "COUNT\n";
    }
    return isUnderstood;
}

bool Desk::Obey(const std::string& iLine)
{
    std::istringstream words(iLine);
    std::string first, second, third, more;
    words >> first >> second >> third >> more;
    Cmn_Int16 number = 0;
    int repeats = 0;
    if (first == "hold") {
        const auto chord = ParseChord(second);
        if (!chord || !more.empty() || !ParseNumber(third, repeats) || repeats < 0) return false;
        Strike(*chord, repeats);
    } else if (!second.empty()) {
        return false;
    } else if (first == "menus") {
        ShowMenus();
    } else if (ParseNumber(first, number)) {
        if (!Choose(number)) std::cout << "no enabled item has the number " << number << '\n';
    } else if (const auto chord = ParseChord(first)) {
        Strike(*chord, 0);
    } else {
        return first.empty();
    }
    return true;
}

void Desk::Strike(const KeyChord& iChord, int iRepeats)
{
    if (!Key(iChord, true, false)) std::cout << WhyNot(iChord) << '\n';
    for (int i = 0; i < iRepeats; ++i)
        Key(iChord, true, true);
    Key(iChord, false, false);
}

std::string Desk::Shown(const MenuLine& iLine)
{
    if (iLine.mSeparator) return "        ------";
    const std::size_t tab = iLine.mText.find('\t');
    std::string title = iLine.mText.substr(0, tab);
    std::erase(title, '&'); // the mnemonic's mark
    if (iLine.mDepth == 0) return title;

    std::string line = "  " + std::to_string(iLine.mNumber) + (iLine.mChecked ? " [x] " : "     ") + title;
    if (tab != std::string::npos) {
        line.append(30 - std::min<std::size_t>(30, CharactersOf(line)), ' ').append(iLine.mText, tab + 1);
    }
    return iLine.mEnabled ? line : line + "  (disabled)";
}
