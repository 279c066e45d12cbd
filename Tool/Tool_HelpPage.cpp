#include "Tool/Tool_HelpPage.h"

#include "Tool/Tool_Help.h"
#include "Tool/Tool_Subcommand.h"

#include <algorithm>

namespace {

constexpr std::size_t cWidth = 100;

// Words in lines: the first behind what is on it already, the others behind an indentation.
std::string Wrapped(const std::vector<std::string>& iWords, std::size_t iIndent)
{
    std::string text;
    std::size_t column = iIndent;
    for (const std::string& word : iWords) {
        const bool isFirst = column == iIndent;
        if (!isFirst && column + 1 + word.size() > cWidth) {
            text.append("\n").append(iIndent, ' ');
            column = iIndent;
        } else if (!isFirst) {
            text += ' ';
            ++column;
        }
        text += word;
        column += word.size();
    }
    return text + '\n';
}

std::vector<std::string> Words(const std::string& iText)
{
    std::vector<std::string> words;
    for (std::size_t start = 0; start < iText.size();) {
        const std::size_t end = std::min(iText.find(' ', start), iText.size());
        words.push_back(iText.substr(start, end - start));
        start = end + 1;
    }
    return words;
}

std::string Row(const std::string& iHead, std::size_t iColumn, const std::string& iHelp)
{
    std::string text = "  " + iHead;
    if (text.size() + 2 > iColumn)
        text.append("\n").append(iColumn, ' ');
    else
        text.append(iColumn - text.size(), ' ');
    return text + Wrapped(Words(iHelp), iColumn);
}

// Terms that are longer stand on a line of their own.
constexpr std::size_t cLongestHead = 24;

std::string Rows(const std::vector<Tool_HelpRow>& iRows, Tool_Style iStyle)
{
    std::size_t column = 0;
    for (const Tool_HelpRow& row : iRows)
        if (const std::size_t size = row.Head().size(); size <= cLongestHead)
            column = std::max(column, size + 4);
    std::string text;
    std::string group;
    for (const Tool_HelpRow& row : iRows) {
        if (row.mGroup != group) text += '\n' + iStyle.Heading(row.mGroup + ':') + '\n';
        group = row.mGroup;
        text += Row(row.Head(), column, row.mHelp);
    }
    return text;
}

// A text's first paragraph, with its end of line, and what is behind the empty line.
std::pair<std::string, std::string> Split(const std::string& iText)
{
    const std::size_t end = std::min(iText.find("\n\n"), iText.size() - 1) + 1;
    return {iText.substr(0, end), end < iText.size() ? iText.substr(end + 1) : std::string()};
}

// "term  what it means", with what is indented further behind it.
bool AddRow(const std::string& iLine, Tool_HelpBlock& ioBlock)
{
    if (iLine.starts_with(' ')) {
        if (ioBlock.mRows.empty()) return false;
        ioBlock.mRows.back().second += ' ' + iLine.substr(iLine.find_first_not_of(' '));
        return true;
    }
    const std::size_t gap = iLine.find("  ");
    if (gap == std::string::npos) return false;
    const std::string meaning = iLine.substr(iLine.find_first_not_of(' ', gap));
    if (meaning.find("  ") != std::string::npos) return false;
    ioBlock.mRows.emplace_back(iLine.substr(0, gap), meaning);
    return true;
}

void Close(Tool_HelpBlock& ioBlock)
{
    if (ioBlock.mKind == Tool_HelpBlock::eKind_Paragraph) return;
    const bool isRows = std::all_of(ioBlock.mLines.begin(), ioBlock.mLines.end(),
                                    [&](const std::string& i) { return AddRow(i, ioBlock); });
    ioBlock.mKind = isRows ? Tool_HelpBlock::eKind_Rows : Tool_HelpBlock::eKind_Verbatim;
}

} // namespace

std::vector<Tool_HelpRow> Tool_HelpRows(const Tool_CommandEntry& iCommand)
{
    Tool_Parser parser(iCommand.mName);
    const auto command = iCommand.mMake(parser);
    return parser.GetRows();
}

std::vector<std::string> Tool_UsageWords(const std::vector<Tool_HelpRow>& iRows)
{
    std::vector<std::string> words;
    for (const Tool_HelpRow& row : iRows) {
        if (!row.mGroup.empty()) {
            words.emplace_back("OPERATION...");
            break;
        }
        std::string word = row.IsArgument() ? row.mValue : row.mSpellings.front();
        if (!row.IsArgument() && !row.mValue.empty()) word += ' ' + row.mValue;
        words.push_back(row.mIsRequired ? word : '[' + word + ']');
    }
    return words;
}

std::vector<Tool_HelpBlock> Tool_HelpBlocks(std::string_view iText)
{
    std::vector<Tool_HelpBlock> blocks;
    bool isNew = true;
    for (std::size_t start = 0; start < iText.size();) {
        const std::size_t end = std::min(iText.find('\n', start), iText.size());
        const std::string line(iText.substr(start, end - start));
        start = end + 1;
        const bool isIndented = line.starts_with("  ");
        const auto kind = isIndented ? Tool_HelpBlock::eKind_Verbatim : Tool_HelpBlock::eKind_Paragraph;
        isNew = isNew || line.empty() || (!blocks.empty() && blocks.back().mKind != kind);
        if (line.empty()) continue;
        if (isNew) blocks.push_back({kind, {}});
        isNew = false;
        blocks.back().mLines.push_back(isIndented ? line.substr(2) : line);
    }
    for (Tool_HelpBlock& block : blocks)
        Close(block);
    return blocks;
}

std::string Tool_HelpPage(const Tool_CommandEntry& iCommand, Tool_Style iStyle)
{
    const std::vector<Tool_HelpRow> rows = Tool_HelpRows(iCommand);
    const auto [lead, rest] = Split(iCommand.mText);
    const std::string usage = std::string("kora ") + iCommand.mName + ' ';
    return lead + '\n' + iStyle.Heading("Usage:") + ' ' + usage +
           Wrapped(Tool_UsageWords(rows), usage.size() + 7) + '\n' + Rows(rows, iStyle) +
           (rest.empty() ? "" : "\n") + rest;
}

std::string Tool_MainHelpPage(Tool_Style iStyle)
{
    constexpr std::size_t cColumn = 16;
    const auto [lead, rest] = Split(Tool_cMainText);
    std::string text =
        lead + '\n' + iStyle.Heading("Usage:") +
        " kora COMMAND FILE [OPTION...]\n       kora help [COMMAND]\n       kora -V, --version\n";
    const char* group = "";
    for (const Tool_CommandEntry& command : Tool_Commands()) {
        if (const char* const name = Tool_GroupName(command.mGroup); name != group)
            text += '\n' + iStyle.Heading(std::string(group = name) + ':') + '\n';
        text += Row(command.mName, cColumn, command.mBrief);
    }
    return text + '\n' + rest + '\n' + Tool_cExitText;
}
