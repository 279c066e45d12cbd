// Tool_Commands: the table of kora's subcommands: what the command finds them in, and all that tells of them is made from.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

class Tool_Parser;
class Tool_Subcommand;

enum Tool_EGroup { Tool_eGroup_Songs, Tool_eGroup_Documents, Tool_eGroup_Command };

// The subcommand, which declares its options to the parser and must not outlive it.
using Tool_MakeCommand = std::unique_ptr<Tool_Subcommand>(Tool_Parser& ioParser);

struct Tool_CommandEntry
{
    const char* mName;
    Tool_EGroup mGroup;
    const char* mBrief; // what it does, in half a line: "draw a song as an SVG picture"
    const char* mText;  // its help beside the options: a sentence, an empty line, and the rest
    Tool_MakeCommand* mMake;
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
Tool_MakeCommand Tool_MakeSongCommand, Tool_MakeConvertCommand, Tool_MakePlotCommand, Tool_MakeExportCommand,
    Tool_MakeGridCommand, Tool_MakeClickCommand, Tool_MakeEditCommand, Tool_MakeSaveCommand,
    Tool_MakeInfoCommand, Tool_MakeCheckCommand, Tool_MakeRepairCommand, Tool_MakeXmlCommand,
    Tool_MakeHelpCommand, Tool_MakeManCommand, Tool_MakeCompletionsCommand;
