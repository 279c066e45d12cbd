// A song from a MIDI file: what it says, an edit with undo, and a document that brings it back.
#include "Kora/Kora_InitScope.h"
#include "Kora/Kora_Song.h"
#include "Kora/Time.h"
#include "Kora/Undo.h"

#include <cstdio>
#include <string>

namespace {

Time_TempoEdit::Tempo TempoAt(const Kora_Song& iSong, Time_Tick iTick)
{
    Time_TempoEdit::Tempo tempo{0};
    iSong.GetTempoMap().GetTempoAtTick(tempo.mBeatsPerMinute, tempo.mTicksPerBeat, iTick);
    return tempo;
}

//! [rows]
void PrintTempi(const Kora_Song& iSong)
{
    const Time_Format format(iSong.GetConverter());
    const Time_TempoMap& tempi = iSong.GetTempoMap();
    for (auto segment = tempi.SegmentBegin(); segment != tempi.SegmentEnd(); ++segment) {
        const Time_Tick at = (*segment)->GetStartTick();
        std::printf("  %s  %s  %.2f bpm\n", format.ToString(Time_eForm_Bars, at).c_str(),
                    format.ToString(Time_eForm_MinSec, at).c_str(), TempoAt(iSong, at).mBeatsPerMinute);
    }
}
//! [rows]

//! [edit]
// A ritardando over a range, as one step that can be undone. A refused one has changed nothing.
bool Retard(Kora_Song& ioSong, const Time_BarBeatTick& iFrom, const Time_BarBeatTick& iTo, double iTempo,
            Ndo_History& ioHistory)
{
    const Time_MeterMap& meters = ioSong.GetMeterMap();
    const Time_Tick from = meters.BarBeatToTick(iFrom), to = meters.BarBeatToTick(iTo);
    Ndo_StOperationRecorder recorder;
    const Time_TempoEditResult result = Time_TempoEdit::Ramp(
        ioSong.GetTempoMap(), from, to, TempoAt(ioSong, from), iTempo, Time_TempoEdit::eCurve_Linear, 4);
    if (!result) {
        std::printf("refused: %s", result.GetReasonText());
        if (result.HasNearest()) std::printf("; the nearest that would do is %g", result.mNearest);
        std::printf("\n");
        return false;
    }
    ioHistory.Add(recorder.OperationComplete(), "Ritardando");
    return true;
}
//! [edit]

} // namespace

int main(int iCount, char** iArguments)
{
    const Kora_InitScope kora;
    //! [open]
    Kora_Song song(Ndo_Object::kUndoable);
    try {
        song.Open(Sys_FileLoc(iCount > 1 ? iArguments[1] : "first-light.mid"));
    } catch (const Cmn_Exception& exception) {
        std::fprintf(stderr, "%s\n", exception.Describe().c_str()); // one line: file, reason, byte
        return 1;
    }
    //! [open]
    std::printf("opened\n");
    PrintTempi(song);

    Ndo_History history;
    Retard(song, {21, 1, {}}, {22, 1, {}}, 3.0, history);
    if (Retard(song, {21, 1, {}}, {22, 1, {}}, 60.0, history)) {
        std::printf("%s\n", history.GetStepName(0).c_str());
        PrintTempi(song);
    }
    //! [save]
    song.Save(Sys_FileLoc("song-guide.kora"));
    static_cast<void>(history.Undo());
    Kora_Song again;
    again.Open(Sys_FileLoc("song-guide.kora"));
    //! [save]
    std::printf("undone: %u tempi; in the document: %u\n",
                static_cast<unsigned>(song.GetTempoMap().GetNumberOfSegments()),
                static_cast<unsigned>(again.GetTempoMap().GetNumberOfSegments()));
    std::remove("song-guide.kora");
}
