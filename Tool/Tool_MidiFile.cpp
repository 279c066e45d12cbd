#include "Tool/Tool_MidiFile.h"

#include <utility>

Tool_MidiFile::Tool_MidiFile(SMF_File iFile, std::string_view iName)
    : mFile(std::move(iFile))
    , mName(iName)
{
}

Tool_MidiFile Tool_MidiFile::Parse(std::string_view iBytes, std::string_view iName)
{
    return Naming(iName, [&] { return Tool_MidiFile(SMF_File::Read(iBytes), iName); });
}
