#include "Tool/Tool_MidiFile.h"

#include "Bastel/Cmn/Cmn_CountText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

Tool_MidiFile::Tool_MidiFile(SMF_File iFile, std::string_view iName)
    : mFile(std::move(iFile))
    , mName(iName)
{
}

Tool_MidiFile Tool_MidiFile::Parse(std::string iBytes, std::string_view iName)
{
    return Naming(iName, [&] { return Tool_MidiFile(SMF_File::Read(std::move(iBytes)), iName); });
}

std::string Tool_RoundingText(const SMF_TimeMaps::Report& iReport)
{
    std::string text;
    const auto add = [&](Cmn_Int64 iCount, const char* iOne, const char* iMany, const std::string& iRest) {
        if (iCount == 0) return;
        text += (text.empty() ? "" : "; ") + Cmn_CountText(iCount, iOne, iMany) + iRest;
    };
    Cmn_Int64 farthest = 0;
    Cmn_Int64 moved = 0;
    Cmn_Int64 replaced = 0;
    for (const auto& rounded : iReport.mRoundedTicks) {
        farthest = std::max(farthest, std::abs(rounded.mError));
        moved += rounded.mError != 0;
        replaced += rounded.mIsReplaced;
    }
    add(moved, "change moved", "changes moved", ", by " + std::to_string(farthest) + " ticks at most");
    add(replaced, "change", "changes", " gave way to the next at the same MIDI tick");
    double worst = 0;
    for (const auto& tempo : iReport.mInexactTempi)
        worst = std::max(worst, std::abs(tempo.mWritten - tempo.mAsked));
    char beats[32];
    std::snprintf(beats, sizeof beats, "%.2g", worst);
    add(static_cast<Cmn_Int64>(iReport.mInexactTempi.size()), "tempo rounded", "tempi rounded",
        ", by " + std::string(beats) + " quarter notes a minute at most");
    return text;
}
