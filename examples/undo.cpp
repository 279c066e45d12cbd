// One undo step: a ruler listens to a meter map, an edit is recorded, undone and redone.
#include "Kora/Undo.h"
#include "Kora/Kora_InitScope.h"
#include "Kora/Messages.h"
#include "Kora/Time.h"

#include <cstdio>
#include <memory>

namespace {

// Draws itself anew whenever the map says that it changed.
class Ruler
{
    void OnChanged(const Mdl_SimpleValMessage_ValChanged&) { Draw(); }

public:
    explicit Ruler(Time_MeterMap& ioMap)
        : mMap(ioMap)
    {
        mMap.GetListenerList().Add(&mReceiver);
    }
    ~Ruler() { mMap.GetListenerList().Remove(&mReceiver); }

    void Draw() const
    {
        std::printf("  ruler:");
        const Time_Tick start = mMap.GetSongStartTick();
        for (Cmn_Int64 quarter = 0; quarter <= 16; ++quarter) {
            const Time_BarBeatTick at =
                mMap.TickToBarBeat(start + Time_TickLength(quarter * Time_TickLength::cInternalPerQuarter));
            if (at.IsOnBar())
                std::printf("%2d", at.mBar);
            else
                std::printf(" .");
        }
        std::printf("\n");
    }

private:
    Time_MeterMap& mMap;
    Cnn_Receiver<Ruler, Mdl_SimpleValMessage, &Ruler::OnChanged> mReceiver{*this};
};

// A document's map is undoable, and goes by NdoDelete.
struct Deleter
{
    void operator()(Time_MeterMap* iMap) const { iMap->NdoDelete(); }
};

} // namespace

int main()
{
    const Kora_InitScope kora;
    const std::unique_ptr<Time_MeterMap, Deleter> map(new Time_MeterMap(Ndo_Object::kUndoable));
    map->MakeRealIfDefault();
    const Ruler ruler(*map);
    std::printf("4/4 throughout\n");
    ruler.Draw();

    std::printf("3/4 put on the third beat of bar 2, which is cut short\n");
    Ndo_StOperationRecorder recorder;
    map->AddMeterChange(map->BarBeatToTick({2, 3, Time_TickLength::cZero}), Time_Meter(3, 4));
    const std::unique_ptr<Ndo_Operation> undo = recorder.OperationComplete();

    std::printf("undo\n");
    Ndo_StOperationRecorder redoRecorder;
    undo->Restore();
    const std::unique_ptr<Ndo_Operation> redo = redoRecorder.OperationComplete();

    std::printf("redo\n");
    redo->Restore();
    return 0;
}
