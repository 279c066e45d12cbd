// Tool_Commands: the table of kora's subcommands: what the command finds them in, and all that tells of them is made from.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

class Tool_Parser;
class Tool_Subcommand;

enum Tool_EGroup { Tool_eGroup_Songs, Tool_eGroup_Documents, Tool_eGroup_Command };

struct Tool_CommandEntry
{
    const char* mName;
    Tool_EGroup mGroup;
    const char* mBrief; // what it does, in half a line: "draw a song as an SVG picture"
    const char* mText;  // its help beside the options: a sentence, an empty line, and the rest
    // The subcommand, which declares its options to the parser and must not outlive it.
    std::unique_ptr<Tool_Subcommand> (*mMake)(Tool_Parser& ioParser);
};

// In the order in which they are shown.
std::span<const Tool_CommandEntry> Tool_Commands();
// Null for a name that is none.
const Tool_CommandEntry* Tool_FindCommand(std::string_view iName);
// All names, for messages: "song, plot or convert".
std::string Tool_CommandNames();
// "Songs, from a MIDI file or a document"
const char* Tool_GroupName(Tool_EGroup iGroup);

// One for each, in the file of its group.
#define TOOL_COMMAND(Name) std::unique_ptr<Tool_Subcommand> Tool_Make##Name##Command(Tool_Parser& ioParser)
TOOL_COMMAND(Song);
TOOL_COMMAND(Convert);
TOOL_COMMAND(Plot);
TOOL_COMMAND(Export);
TOOL_COMMAND(Grid);
TOOL_COMMAND(Click);
TOOL_COMMAND(Edit);
TOOL_COMMAND(Save);
TOOL_COMMAND(Info);
TOOL_COMMAND(Check);
TOOL_COMMAND(Repair);
TOOL_COMMAND(Xml);
TOOL_COMMAND(Help);
TOOL_COMMAND(Man);
TOOL_COMMAND(Completions);
#undef TOOL_COMMAND
