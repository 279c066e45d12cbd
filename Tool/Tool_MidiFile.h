// Tool_MidiFile: a MIDI file with the name that the command's messages give it.
#pragma once

#include "Kora/SMF/SMF_Exception.h"
#include "Kora/SMF/SMF_TimeMaps.h"
#include "Tool/Tool_InputError.h"

#include <string>
#include <string_view>
#include <utility>

class Tool_MidiFile
{
public:
    // Understands a whole file or throws Tool_InputError, in which iName stands for the file.
    static Tool_MidiFile Parse(std::string iBytes, std::string_view iName);

    // Does iWork; what the library throws of the file's contents names the file.
    template <class Work>
    static auto Naming(std::string_view iName, Work iWork)
    {
        try {
            return iWork();
        } catch (const SMF_Exception& fault) {
            throw Tool_InputError::AtByte(iName, fault.GetOffset(), fault.what());
        }
    }

    const std::string& GetName() const { return mName; }
    const SMF_File& GetFile() const { return mFile; }
    // Gives it away; the name stays.
    SMF_File TakeFile() && { return std::move(mFile); }

private:
    Tool_MidiFile(SMF_File iFile, std::string_view iName);

    SMF_File mFile;
    std::string mName;
};

// What did not fit into a MIDI file as it was: "2 changes moved, by 480 ticks at most; 1 tempo rounded, by
// 0.00014 quarter notes a minute at most"; empty where all did.
std::string Tool_RoundingText(const SMF_TimeMaps::Report& iReport);
