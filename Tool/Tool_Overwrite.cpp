#include "Tool/Tool_Overwrite.h"

#include "Tool/Tool_Document.h"
#include "Tool/Tool_File.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_MidiFile.h"
#include "Tool/Tool_Subcommand.h"

#include <algorithm>
#include <sstream>

namespace {

bool HasNotes(const Tool_Input& iInput)
{
    const Tool_MidiFile midi = Tool_MidiFile::Parse(iInput.ReadAll(), iInput.Name());
    const auto& tracks = midi.GetFile().GetTracks();
    return std::any_of(tracks.begin(), tracks.end(), [](const SMF_Track& iTrack) {
        for (const SMF_Event& event : iTrack)
            if (event.IsChannel()) return true;
        return false;
    });
}

// "" where a file has nothing that songs in documents have not.
std::string WhatMore(const std::string& iName)
{
    std::istringstream none;
    try {
        const Tool_Input input(iName, none);
        if (Tool_IsDocument(input))
            return Tool_CountOtherEntries(*Tool_OpenDocument(input)) > 0 ? "more than a song" : "";
        return input.Start().starts_with("MThd") && HasNotes(input) ? "notes" : "";
    } catch (const Tool_InputError&) {
        return "";
    } catch (const Cmn_Exception&) {
        return "";
    }
}

void Refuse(const std::string& iOutput, const std::string& iWhat, const std::string& iWhy)
{
    throw Tool_UsageError(iWhat + " would take the place of " + Tool_Quoted(iOutput) + iWhy +
                          ", expected another file");
}

} // namespace

void Tool_CheckHoldsNoMore(const std::string& iOutput, const std::string& iWhat)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(Tool_PathOf(iOutput), error)) return;
    const std::string more = WhatMore(iOutput);
    if (!more.empty()) Refuse(iOutput, iWhat, ", which has " + more);
}

void Tool_CheckOverwrite(const Tool_Input& iInput, const std::string& iOutput, const std::string& iWhat)
{
    if (iInput.IsSameFile(iOutput)) Refuse(iOutput, iWhat, "");
    Tool_CheckHoldsNoMore(iOutput, iWhat);
}

void Tool_CheckEnding(const std::string& iOutput, std::initializer_list<const char*> iOfOthers,
                      const char* iOurs)
{
    for (const char* ending : iOfOthers)
        if (Tool_EndsIn(iOutput, ending))
            throw Tool_UsageError("-o " + Tool_Quoted(iOutput) + ", expected a name in " + iOurs);
}
