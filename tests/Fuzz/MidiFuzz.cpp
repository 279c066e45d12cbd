// Any bytes as a MIDI file: they are refused with one line, or the song and both forms of its report come out of them.
// A report of the library's assertions is a failure too: no file may break a precondition.
#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Kora_Init.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_SongReport.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {
void Require(bool iHolds, const char* iText)
{
    if (iHolds) return;
    std::fprintf(stderr, "%s\n", iText);
    std::abort();
}

void Abort(const char* iText, int) { Require(false, iText); }

void Check(std::string_view iBytes)
{
    const Tool_Song song(Tool_MidiFile::Parse(iBytes, "fuzz.mid"), Tool_Settings());
    const Tool_SongReport report(song, "fuzz.mid");
    Require(report.Json().back() == '\n', "the JSON ends with a line");
    Require(report.Table().back() == '\n', "the table ends with a line");
    const Time_Tick end = song.GetEndTick();
    Require(song.GetMeterMap().BarBeatToTick(song.GetMeterMap().TickToBarBeat(end)) == end,
            "bar, beat and tick of the end lead back to it");
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Cmn_Assert::SetHandler(Abort);
    Kora_Init::Init();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* iBytes, std::size_t iSize)
{
    try {
        Check({reinterpret_cast<const char*>(iBytes), iSize});
    } catch (const Tool_InputError& error) {
        Require(std::strchr(error.what(), '\n') == nullptr, "a complaint is one line");
    }
    return 0;
}
