// A session: a transport's counter, a loop, a picture that follows edits, and song and markers in one document.
#include "Kora/Documents.h"
#include "Kora/Kora_InitScope.h"
#include "Kora/Kora_Song.h"
#include "Kora/Messages.h"
#include "Kora/Time.h"
#include "Kora/Undo.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

//! [counter]
// What the transport shows of the engine's sample, which counts on while the loop goes round. It allocates nothing.
void ShowCounter(const Time_Format& iFormat, const Time_LoopMapper& iLoop, Time_Sample iElapsed)
{
    Cmn_Int64 passes = 0;
    const Time_Typed here = iLoop.ElapsedToLocalTime(&passes, iElapsed);
    char bars[Time_Format::cTextBytes], code[Time_Format::cTextBytes], clock[Time_Format::cTextBytes];
    iFormat.ToText(Time_eForm_Bars, here, bars);
    iFormat.ToText(Time_eForm_Timecode, here, code);
    iFormat.ToText(Time_eForm_MinSec, here, clock);
    std::printf("  %-9s %s  %s  pass %d\n", bars, code, clock, static_cast<int>(passes) + 1);
}
//! [counter]

//! [view]
// Told of each edit of the maps, undo and redo included. It only remembers: the screen's timer draws, once for many edits.
class View
{
public:
    explicit View(Kora_Song& ioSong)
        : mSong(ioSong)
    {
        mSong.GetTempoMap().GetListenerList().Add(&mReceiver);
        mSong.GetMeterMap().GetListenerList().Add(&mReceiver);
    }
    ~View()
    {
        mSong.GetMeterMap().GetListenerList().Remove(&mReceiver);
        mSong.GetTempoMap().GetListenerList().Remove(&mReceiver);
    }
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    void OnTimer(const char* iWhen)
    {
        if (mIsStale) std::printf("  drawn %s: bar 20 is at sample %s\n", iWhen, Bar20().ToString().c_str());
        mIsStale = false;
    }

private:
    void OnChanged(const Mdl_SimpleValMessage_ValChanged&) { mIsStale = true; }
    Time_Sample Bar20() const
    {
        const Time_Converter& converter = mSong.GetConverter();
        return converter.ToSample(converter.ToType(Time_BarBeatTick::AtBar(20), Time_eType_Ticks));
    }

    Kora_Song& mSong;
    bool mIsStale = true;
    Cnn_Receiver<View, Mdl_SimpleValMessage, &View::OnChanged> mReceiver{*this};
};
//! [view]

//! [edit]
// A slower second half and 6/8 from bar 12 on: two maps, one step.
void Edit(Kora_Song& ioSong, Ndo_History& ioHistory)
{
    Time_MeterMap& meters = ioSong.GetMeterMap();
    const Time_Tick bar12 = meters.BarBeatToTick(Time_BarBeatTick::AtBar(12));
    Ndo_StOperationRecorder recorder;
    if (!Time_TempoEdit::Scale(ioSong.GetTempoMap(), bar12, ioSong.GetEndTick(), 0.75)) return;
    meters.AddMeterChange(bar12, Time_Meter::Eighths(6));
    ioHistory.Add(recorder.OperationComplete(), "Slower in 6/8");
}
//! [edit]

//! [markers]
struct Marker
{
    Time_Tick mAt;
    std::string mName;
    Cmn_UInt32 mColour = 0; // red, green, blue
};

constexpr Cmn_Int16 cMarkers = 100; // a stream type of the application's own

void WriteMarkers(FF_Document& ioDocument, const std::vector<Marker>& iMarkers)
{
    Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
    ioDocument.SeekToEnd(out); // behind what is there: the song
    FF_Document::AddTOCEntry(&ioDocument, static_cast<Cmn_UInt64>(out.GetPosition()), cMarkers, "markers");
    const FF_StreamHeaderWriter header(&ioDocument, out, cMarkers, 1);
    out.WriteInt32(static_cast<Cmn_Int32>(iMarkers.size()));
    for (const Marker& marker : iMarkers) {
        out.WriteInt64(marker.mAt.AsInt64());
        out.WriteString(marker.mName);
        out.WriteUInt32(marker.mColour);
    }
}

std::vector<Marker> ReadMarkers(FF_Document& ioDocument)
{
    std::vector<Marker> markers;
    Sys_TypedInStream in = ioDocument.MakeTypedInStream();
    if (!ioDocument.SeekToStream(FF_Document::TOCKey(cMarkers), in)) return markers; // a song alone
    const FF_StreamHeaderReader header(&ioDocument, in, cMarkers);
    header.CheckVersion(1, 1);
    for (Cmn_Int32 left = in.ReadInt32(); left > 0; --left) {
        Marker& marker = markers.emplace_back();
        marker.mAt = Time_Tick(in.ReadInt64());
        marker.mName = in.ReadString();
        marker.mColour = in.ReadUInt32();
    }
    return markers;
}
//! [markers]

//! [document]
void Save(const Sys_FileLoc& iPlace, const Kora_Song& iSong, const std::vector<Marker>& iMarkers)
{
    iSong.CheckPlaces(); // what is saved can be read
    FF_SafeSave save(iPlace);
    iSong.Write(save.GetDocument());
    WriteMarkers(save.GetDocument(), iMarkers);
    save.Commit();
}

std::vector<Marker> Open(const Sys_FileLoc& iPlace, Kora_Song& oSong)
{
    FF_Document document(iPlace);
    document.Open(Sys_Store::eOpenFlag_Read);
    oSong.Read(document);
    return ReadMarkers(document);
}
//! [document]

} // namespace

int main(int iCount, char** iArguments)
try {
    const Kora_InitScope kora;
    Time_Globals::SetSampleRate(48000);
    Time_Globals::SetGlobalTimeCodeFormat(eTimeCodeFormat_25);
    Kora_Song song(Ndo_Object::kUndoable);
    song.Open(Sys_FileLoc(iCount > 1 ? iArguments[1] : "first-light.mid"));
    const Time_Converter& converter = song.GetConverter();
    const auto bar = [&](int iBar) {
        return converter.ToType(Time_BarBeatTick::AtBar(iBar), Time_eType_Samples);
    };

    //! [transport]
    const Time_LoopMapper loop(bar(5), bar(6)); // samples, as what the engine counts
    const Time_Format format(converter);
    Time_Sample engine = bar(5).AsSample();
    std::puts("playing bar 5 in a loop, shown twice a second");
    for (int tick = 0; tick < 5; ++tick) {
        ShowCounter(format, loop, engine);
        engine += Time_SampleLength(24000);
    }
    //! [transport]

    std::puts("editing");
    Ndo_History history;
    View view(song);
    view.OnTimer("at first");
    Edit(song, history);
    view.OnTimer("after the edit");
    view.OnTimer("once more, for nothing changed");
    static_cast<void>(history.Undo());
    view.OnTimer("after undo");

    const Sys_FileLoc place("guide-session.kora");
    const Time_MeterMap& meters = song.GetMeterMap(); // to ticks by way of no sample, which would round
    const std::vector<Marker> markers = {
        {meters.BarBeatToTick(Time_BarBeatTick::AtBar(5)), "verse", 0x2060C0},
        {meters.BarBeatToTick(Time_BarBeatTick::AtBar(10)), "chorus", 0xC03020}};
    Save(place, song, markers);
    std::puts("opened again");
    Kora_Song again;
    for (const Marker& marker : Open(place, again))
        std::printf("  %s %s #%06X\n",
                    again.GetMeterMap().TickToBarBeat(marker.mAt).ToString(false, false).c_str(),
                    marker.mName.c_str(), static_cast<unsigned>(marker.mColour));
    std::remove("guide-session.kora");
} catch (const Cmn_Exception& exception) {
    std::fprintf(stderr, "%s\n", exception.Describe().c_str());
    return 1;
}
