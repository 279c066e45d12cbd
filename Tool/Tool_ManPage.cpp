#include "Tool/Tool_ManPage.h"

#include "Kora/Kora_Version.h"
#include "Tool/Tool_Help.h"
#include "Tool/Tool_HelpPage.h"

#include <algorithm>
#include <cstdio>

namespace {

// When the texts last changed; a page has a date, and the day of the build would make each build another.
constexpr char cDate[] = "2026-11-26";

// One character of UTF-8 as groff names it; ioAt moves to its last byte.
std::string Glyph(std::string_view iText, std::size_t& ioAt)
{
    const auto byte = [&](std::size_t i) {
        return static_cast<unsigned>(static_cast<unsigned char>(iText[i]));
    };
    const unsigned first = byte(ioAt);
    const std::size_t more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    unsigned code = first & (0x3FU >> more);
    for (std::size_t i = 0; i < more; ++i)
        code = code << 6 | (byte(++ioAt) & 0x3F);
    char name[16];
    std::snprintf(name, sizeof name, "\\[u%04X]", code);
    return name;
}

// Characters that mean something to the formatter, or that it would print as others that look alike.
std::string Escaped(std::string_view iText)
{
    std::string text;
    for (std::size_t i = 0; i < iText.size(); ++i)
        switch (const char c = iText[i]) {
        case '\\':
            text += "\\e";
            break;
        case '-':
            text += "\\-";
            break;
        case '~':
            text += "\\(ti";
            break;
        case '^':
            text += "\\(ha";
            break;
        case '`':
            text += "\\(ga";
            break;
        case '\'':
            text += "\\(aq";
            break;
        default:
            text += static_cast<unsigned char>(c) < 0x80 ? std::string(1, c) : Glyph(iText, i);
        }
    return text.starts_with('.') ? "\\&" + text : text;
}

// In lines of a length that people who read the source are used to; none begins with what would be a request.
std::string Lines(std::string_view iText)
{
    constexpr std::size_t cWidth = 76;
    std::string lines;
    std::size_t column = 0;
    for (std::size_t start = 0; start < iText.size();) {
        const std::size_t end = std::min(iText.find(' ', start), iText.size());
        const std::string word = Escaped(iText.substr(start, end - start));
        start = end + 1;
        if (column > 0) lines += column + 1 + word.size() > cWidth ? '\n' : ' ';
        column = lines.empty() || lines.back() == '\n' ? word.size() : column + 1 + word.size();
        lines += word;
    }
    return lines + '\n';
}

std::string Bold(std::string_view iText) { return "\\fB" + Escaped(iText) + "\\fR"; }

std::string Italic(std::string_view iText) { return "\\fI" + Escaped(iText) + "\\fR"; }

std::string Entry(const std::string& iHead, std::string_view iMeaning)
{
    return ".TP\n" + iHead + '\n' + Lines(iMeaning);
}

std::string Block(const Tool_HelpBlock& iBlock)
{
    std::string text;
    switch (iBlock.mKind) {
    case Tool_HelpBlock::eKind_Paragraph:
        for (const std::string& line : iBlock.mLines)
            text += (text.empty() ? "" : " ") + line;
        return ".PP\n" + Lines(text);
    case Tool_HelpBlock::eKind_Rows:
        for (const auto& [term, meaning] : iBlock.mRows)
            text += Entry(Bold(term), meaning);
        return text;
    case Tool_HelpBlock::eKind_Verbatim:
        break;
    }
    text = ".PP\n.RS 4\n.nf\n";
    for (const std::string& line : iBlock.mLines)
        text += Escaped(line) + '\n';
    return text + ".fi\n.RE\n";
}

// The first paragraph of a section stands right below its heading.
std::string Blocks(std::string_view iText)
{
    std::string text;
    for (const Tool_HelpBlock& block : Tool_HelpBlocks(iText))
        text += Block(block);
    return text.starts_with(".PP\n") ? text.substr(4) : text;
}

std::string Head(const Tool_HelpRow& iRow)
{
    std::string head;
    for (const std::string& spelling : iRow.mSpellings)
        head += (head.empty() ? "" : ", ") + Bold(spelling);
    return head + (head.empty() || iRow.mValue.empty() ? "" : " ") +
           (iRow.mValue.empty() ? "" : Italic(iRow.mValue));
}

std::string Top(const std::string& iPage, std::string_view iBrief)
{
    std::string title = iPage;
    std::transform(title.begin(), title.end(), title.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return ".TH " + title + " 1 " + cDate +
           " \"Kora " KORA_VERSION_TEXT "\" \"User commands\"\n.nh\n.ad l\n.SH NAME\n" +
           Lines(iPage + " - " + std::string(iBrief));
}

std::string PageOf(const Tool_CommandEntry* iCommand)
{
    return iCommand == nullptr ? "kora" : std::string("kora-") + iCommand->mName;
}

constexpr char cExits[] = ".SH EXIT STATUS\n"
                          ".TP\n0\ngood\n"
                          ".TP\n1\nbad input; one line on the error stream says where and why\n"
                          ".TP\n2\nwrong usage\n";

std::string MainPage()
{
    std::string text =
        Top("kora", "show what is known about a song, and keep songs in documents") +
        ".SH SYNOPSIS\n.B kora\n.I COMMAND FILE\n.RI [ OPTION... ]\n.br\n.B kora help\n.RI [ COMMAND ]\n"
        ".br\n.B kora \\-\\-version\n.SH DESCRIPTION\n" +
        Blocks(Tool_cMainText) + ".SH COMMANDS\n";
    const char* group = "";
    std::string others;
    for (const Tool_CommandEntry& command : Tool_Commands()) {
        if (const char* const name = Tool_GroupName(command.mGroup); name != group)
            text += ".SS " + Escaped(group = name) + '\n';
        text += Entry(Bold(command.mName), command.mBrief);
        others += (others.empty() ? ".BR " : " ,\n.BR ") + Escaped(PageOf(&command)) + " (1)";
    }
    return text + ".SH OPTIONS\n" +
           Entry(Bold("-h") + ", " + Bold("--help"), "show the help; behind a command, its own") +
           Entry(Bold("-V") + ", " + Bold("--version"), "print the version") + ".SH ENVIRONMENT\n" +
           Entry(Bold("NO_COLOR"),
                 "set to anything but nothing, keeps colours from a terminal, which has them "
                 "otherwise; files and pipes never do") +
           cExits + ".SH SEE ALSO\n" + others + '\n';
}

} // namespace

std::string Tool_ManPageName(const Tool_CommandEntry* iCommand) { return PageOf(iCommand) + ".1"; }

std::string Tool_ManPage(const Tool_CommandEntry* iCommand)
{
    if (iCommand == nullptr) return MainPage();
    const std::vector<Tool_HelpRow> rows = Tool_HelpRows(*iCommand);
    std::string text =
        Top(PageOf(iCommand), iCommand->mBrief) + ".SH SYNOPSIS\n.B kora " + iCommand->mName + '\n';
    for (const std::string& word : Tool_UsageWords(rows))
        text += Escaped(word) + '\n';
    text += std::string(".SH DESCRIPTION\n") + Blocks(iCommand->mText) + ".SH OPTIONS\n";
    std::string group;
    for (const Tool_HelpRow& row : rows) {
        if (row.mGroup != group) text += ".SS " + Escaped(row.mGroup) + '\n';
        group = row.mGroup;
        text += Entry(Head(row), row.mHelp);
    }
    return text + cExits + ".SH SEE ALSO\n.BR kora (1)\n";
}
