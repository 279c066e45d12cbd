// Tool_HelpPage: what a command's help is made of: its text, and a row for each argument and option that it declared.
//
// The help on a terminal, the manual pages and the shells' completions are made of the same rows.
#pragma once

#include "Tool/Tool_Commands.h"
#include "Tool/Tool_Console.h"
#include "Tool/Tool_Parser.h"

#include <string>
#include <string_view>
#include <vector>

// The command, made so that it declares its options, as rows in the order in which it did.
std::vector<Tool_HelpRow> Tool_HelpRows(const Tool_CommandEntry& iCommand);
// "FILE", "[-o OUT]", "[--json]" for each, "OPERATION..." for all that have a group.
std::vector<std::string> Tool_UsageWords(const std::vector<Tool_HelpRow>& iRows);

// A text in pieces: paragraphs, and what is indented between them.
struct Tool_HelpBlock
{
    enum EKind { eKind_Paragraph, eKind_Rows, eKind_Verbatim };
    EKind mKind;
    std::vector<std::string> mLines;                          // without their indentation, of the other two
    std::vector<std::pair<std::string, std::string>> mRows{}; // term and meaning
};
std::vector<Tool_HelpBlock> Tool_HelpBlocks(std::string_view iText);

// At most 100 columns.
std::string Tool_HelpPage(const Tool_CommandEntry& iCommand, Tool_Style iStyle);
std::string Tool_MainHelpPage(Tool_Style iStyle);
