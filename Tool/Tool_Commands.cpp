#include "Tool/Tool_Commands.h"

#include "Tool/Tool_Help.h"
#include "Tool/Tool_Subcommand.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr Tool_CommandEntry cCommands[] = {
    {"song", Tool_eGroup_Songs, "print tempo, meter and key changes and the end of a song", Tool_cSongText,
     Tool_MakeSongCommand},
    {"plot", Tool_eGroup_Songs, "draw a song as an SVG picture", Tool_cPlotText, Tool_MakePlotCommand},
    {"convert", Tool_eGroup_Songs,
     "turn positions into other units: bars, timecode, minutes, feet, samples and more", Tool_cConvertText,
     Tool_MakeConvertCommand},
    {"grid", Tool_eGroup_Songs, "print the lines of a grid: bars, beats, note values, with their samples",
     Tool_cGridText, Tool_MakeGridCommand},
    {"click", Tool_eGroup_Songs, "render a song's beats as a sound file", Tool_cClickText,
     Tool_MakeClickCommand},
    {"xml", Tool_eGroup_Songs, "print a song's maps as XML", Tool_cXmlText, Tool_MakeXmlCommand},
    {"save", Tool_eGroup_Songs, "save a song as a document", Tool_cSaveText, Tool_MakeSaveCommand},
    {"export", Tool_eGroup_Songs, "write a document's song as a MIDI file", Tool_cExportText,
     Tool_MakeExportCommand},
    {"edit", Tool_eGroup_Songs, "change tempo, meter and key, and delete, insert, move and repeat time",
     Tool_cEditText, Tool_MakeEditCommand},
    {"info", Tool_eGroup_Documents, "print what is in a document: header, streams, table of contents",
     Tool_cInfoText, Tool_MakeInfoCommand},
    {"check", Tool_eGroup_Documents, "say whether documents are whole, and if not, where they are damaged",
     Tool_cCheckText, Tool_MakeCheckCommand},
    {"repair", Tool_eGroup_Documents, "bring back what a damaged document still holds, into another file",
     Tool_cRepairText, Tool_MakeRepairCommand},
    {"help", Tool_eGroup_Command, "show how kora or one of its commands is used", Tool_cHelpText,
     Tool_MakeHelpCommand},
    {"man", Tool_eGroup_Command, "print a manual page, or write all of them", Tool_cManText,
     Tool_MakeManCommand},
    {"completions", Tool_eGroup_Command, "print what lets a shell complete kora's arguments",
     Tool_cCompletionsText, Tool_MakeCompletionsCommand},
};

} // namespace

std::span<const Tool_CommandEntry> Tool_Commands() { return cCommands; }

const Tool_CommandEntry* Tool_FindCommand(std::string_view iName)
{
    const auto found = std::find_if(std::begin(cCommands), std::end(cCommands),
                                    [&](const Tool_CommandEntry& i) { return i.mName == iName; });
    return found == std::end(cCommands) ? nullptr : found;
}

std::string Tool_CommandNames()
{
    std::string names;
    for (const Tool_CommandEntry& command : cCommands)
        names.append(names.empty()                                ? ""
                     : &command == std::prev(std::end(cCommands)) ? " or "
                                                                  : ", ")
            .append(command.mName);
    return names;
}

const char* Tool_GroupName(Tool_EGroup iGroup)
{
    switch (iGroup) {
    case Tool_eGroup_Songs:
        return "Songs, from a MIDI file or a document";
    case Tool_eGroup_Documents:
        return "Documents";
    case Tool_eGroup_Command:
        break;
    }
    return "The command itself";
}
