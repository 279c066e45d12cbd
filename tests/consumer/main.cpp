// A host in small: it links the installed library and crosses its boundary in the ways that hosts do.
#include "Bastel/Cmn/Cmn_StringToInt.h"
#include "Kora/Kora.h"

#include <cstdio>
#include <string>

namespace {

int sFailures = 0;
std::string sReport;

void Expect(bool iHolds, const char* iClaim)
{
    if (!iHolds) {
        std::printf("does not hold: %s\n", iClaim);
        ++sFailures;
    }
}

void TheLibraryIsOfTheVersionOfItsHeaders()
{
    Expect(Kora_Version::HeadersMatch(), "headers and library were installed together");
    Expect(std::string(Kora_Version::GetText()) == KORA_VERSION_TEXT, "the library says so too");
}

void AFailedCheckReachesTheHostsHandler()
{
    const Cmn_Assert::Handler before =
        Cmn_Assert::SetHandler([](const char* iText, int) { sReport = iText; });
    const int bars = 0;
    Expect(!Cmn_ASSERT(bars > 0), "a failed check is false");
    Cmn_Assert::SetHandler(before);
    Expect(sReport.rfind("bars > 0@$^$@", 0) == 0, "the report opens with the expression");
}

void AnExceptionIsCaughtByItsTypeInTheHost()
{
    Expect(Cmn_StringToInt32(" 960 ") == 960, "text becomes an integer");
    try {
        static_cast<void>(Cmn_StringToInt32("960 ticks"));
        Expect(false, "text with more than an integer throws");
    } catch (const Cmn_Exception& error) {
        Expect(error.GetMessageID() == Cmn_eMessage_NotAnInteger, "the exception names its message");
        Expect(error.what() == std::string("the text is not an integer"), "the texts are at hand");
    }
}

class Host
{
    void OnChanged(const Mdl_SimpleValMessage_ValChanged&) { ++mTold; }

public:
    explicit Host(Time_MeterMap& ioMap) { ioMap.GetListenerList().Add(&mReceiver); }

    int mTold = 0;

private:
    Cnn_Receiver<Host, Mdl_SimpleValMessage, &Host::OnChanged> mReceiver{*this};
};

void AMapTellsTheHostAndUndoesItsEdit()
{
    auto* const map = new Time_MeterMap(Ndo_Object::kUndoable);
    Host host(*map);
    Ndo_StOperationRecorder recorder;
    map->AddMeterChange(Time_MeterMap::cDefaultSongStartTick, Time_Meter(3, 4), 7);
    Expect(map->GetSongStartBar() == 7, "the host's bar number stands");
    recorder.OperationComplete()->Restore();
    Expect(map->IsDefault(), "undo empties the map");
    Expect(host.mTold == 2, "the host's receiver hears of the edit and of its undo");
    map->NdoDelete();
}

void StaticDataIsShared()
{
    Expect(Time_TempoMap::GetDefaultTempoMap()->SampleToTick(Time_Sample(22050)) ==
               Time_TempoMap::cDefaultSongStartTick + Time_TickLength::cQuarter,
           "half a second is a quarter note at 120");
    Expect(Kora_Init::sInitializedCount == 1, "the start-up count is one for library and host");
}

// A host's static objects may come first where the library is a static one, and go last.
class SaveEntry : public DAW_MenuEntrySimple
{
    std::string GetMenuText() override { return "&Save"; }
    void DoIt() override {}
};
SaveEntry sSaveEntry;
const Cmn_Int16 sSaveNumber = sSaveEntry.DAW_MenuEntrySimple::GetCommandID();
const bool sTimeIsStarted = (Time_Typed::Init(), true);

void TheHostsStaticObjectsUseTheLibrary()
{
    Expect(sSaveNumber == 25000, "a menu entry has its number before main");
    Expect(sTimeIsStarted && Time_Typed::MaxTime(Time_eType_Samples).AsInt64() == 0x7FFFFFFFF,
           "the limits are those of the start-up option");
}

} // namespace

int main()
{
    Kora_Init::Init();
    TheHostsStaticObjectsUseTheLibrary();
    AMapTellsTheHostAndUndoesItsEdit();
    StaticDataIsShared();
    TheLibraryIsOfTheVersionOfItsHeaders();
    AFailedCheckReachesTheHostsHandler();
    AnExceptionIsCaughtByItsTypeInTheHost();
    Kora_Init::Free();
    return sFailures == 0 ? 0 : 1;
}
