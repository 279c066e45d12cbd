// An undoable edit: markers of the application's own beside the library's tempo map, in one history.
#include "Kora/Undo.h"
#include "Kora/Kora_InitScope.h"
#include "Kora/Time.h"

#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

//! [markers]
// The application's own undoable object: names at ticks.
class Markers final : public Ndo_Object
{
public:
    using Content = std::map<Time_Tick, std::string>;

    explicit Markers(EUndoFlag iFlag)
        : Ndo_Object(iFlag)
    {
    }
    const Content& Get() const { return mContent; }
    void Set(Time_Tick iTick, const std::string& iName)
    {
        NdoAboutToModify(); // before the change: what is there now is what undo brings back
        mContent[iTick] = iName;
    }

    Ndo_State* NdoGetState() override;
    void NdoRestoreState(Ndo_State* iState) override;

private:
    Content mContent;
};

// All that a restore puts back.
class MarkersState final : public Ndo_State
{
public:
    explicit MarkersState(Markers::Content iContent)
        : mContent(std::move(iContent))
    {
    }
    Ndo_Object* NdoCreateObject() override { return new Markers(Ndo_Object::kNoUndo); }
    const Markers::Content mContent;
};

Ndo_State* Markers::NdoGetState() { return new MarkersState(mContent); }

void Markers::NdoRestoreState(Ndo_State* iState) { mContent = static_cast<MarkersState*>(iState)->mContent; }
//! [markers]

// Undoable objects go by NdoDelete.
struct Deleter
{
    void operator()(Ndo_Object* iObject) const { iObject->NdoDelete(); }
};

void Print(const char* iWhat, const Markers& iMarkers, Time_TempoMap& iTempos, const Ndo_History& iHistory)
{
    std::printf("%s\n ", iWhat);
    for (const auto& [tick, name] : iMarkers.Get())
        std::printf(" %s at sample %s", name.c_str(), iTempos.TickToSample(tick).ToString().c_str());
    std::printf("; undo: %s; %s\n", iHistory.CanUndo() ? iHistory.GetUndoName().c_str() : "nothing",
                iHistory.IsSaved() ? "as saved" : "not saved");
}

} // namespace

int main()
{
    const Kora_InitScope kora;
    Time_Globals::SetSampleRate(48000);
    const std::unique_ptr<Time_TempoMap, Deleter> tempos(new Time_TempoMap(Ndo_Object::kUndoable));
    const std::unique_ptr<Markers, Deleter> markers(new Markers(Ndo_Object::kUndoable));
    const Time_Tick start = Time_MeterMap::GetDefaultMeterMap()->GetSongStartTick();
    const Time_Tick chorus = start + Time_TickLength(8 * Time_TickLength::cInternalPerQuarter);
    auto segment = std::make_unique<Time_ConstantTempoSeg>(start, 120.0);
    segment->LockToSample(Time_Sample(0));
    tempos->AddSegment(std::move(segment));
    Ndo_History history;

    //! [step]
    // One step of the user's, whatever it touches.
    {
        Ndo_StOperationRecorder recorder;
        markers->Set(start, "intro");
        markers->Set(chorus, "chorus");
        history.Add(recorder.OperationComplete(), "Add Markers");
    }
    //! [step]
    Print("two markers", *markers, *tempos, history);
    history.MarkSaved();

    //! [drag]
    // A drag makes a step with each move of the mouse; those with one ID become one.
    constexpr Cmn_Int64 cThisDrag = 1;
    for (const double tempo : {110.0, 104.0, 100.0}) {
        Ndo_StOperationRecorder recorder;
        tempos->AddSegment(std::make_unique<Time_ConstantTempoSeg>(
            start + Time_TickLength(4 * Time_TickLength::cInternalPerQuarter), tempo));
        history.Add(recorder.OperationComplete(), "Drag Tempo", cThisDrag);
    }
    history.StopMerging(); // the mouse was let go
    //! [drag]
    Print("the tempo of bar 2 dragged down to 100", *markers, *tempos, history);

    history.Undo();
    Print("undo", *markers, *tempos, history);
    history.Redo();
    Print("redo", *markers, *tempos, history);

    //! [rollback]
    try {
        const Ndo_StOperationRecorder recorder;
        markers->Set(start, "half done");
        throw std::runtime_error("the user pressed Escape");
    } catch (const std::runtime_error& error) {
        std::printf("%s\n", error.what()); // the scope ended without OperationComplete
    }
    //! [rollback]
    Print("nothing of it stays", *markers, *tempos, history);
    history.Clear(); // before the objects go
    return 0;
}
