// Any bytes as a MIDI file: they are refused with one line, or the song and both forms of its
// report come out of them.
#include "Fuzz/FuzzTarget.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_SongReport.h"

#include <cstring>
#include <string>

namespace {

void Check(std::string_view iBytes)
{
    const Tool_Song song(Tool_MidiFile::Parse(std::string(iBytes), "fuzz.mid"), Tool_Settings());
    const Tool_SongReport report(song, "fuzz.mid");
    Require(report.Json().back() == '\n', "the JSON ends with a line");
    Require(report.Table().back() == '\n', "the table ends with a line");
    const Time_Tick end = song.GetEndTick();
    Require(song.GetMeterMap().BarBeatToTick(song.GetMeterMap().TickToBarBeat(end)) == end,
            "bar, beat and tick of the end lead back to it");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* iBytes, std::size_t iSize)
{
    try {
        Check({reinterpret_cast<const char*>(iBytes), iSize});
    } catch (const Tool_InputError& error) {
        Require(std::strchr(error.what(), '\n') == nullptr, "a complaint is one line");
    }
    return 0;
}
