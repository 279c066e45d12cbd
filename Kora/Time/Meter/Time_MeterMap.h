// Time_MeterMap: where bars and beats lie on the tick line, and the edits that arrangers make there.
//
//     tick line   ├───┬───┬───┬───┼──┬──┬──┼──┬──┬──┼───┬───┬─┼──┬──┬──┤
//     bars         1                2        3        4         5
//     changes     4/4              3/4               4/4       3/4, inside bar 4: it cuts that bar short
//
// Units:      internal ticks, 960000 to a quarter note; bars and beats of positions count from 1, durations
//             from 0; ranges are [start, end).
// Invariants: (1) ticks ascend strictly  (2) every change after the first opens a bar: the change before
//             fixes its bar number and whether it is off the barline  (3) the first change is on a barline;
//             its bar number is the only one set from outside. Debug builds check them after each edit.
//             Exception: where Copy carries a change in, the one behind it keeps the
//             numbering of the copied range.
// Default:    a map without changes answers every query as the default map: 4/4 throughout, bar 1 at tick
//             1000000000000. That is far from zero so that bars before the song stay at positive ticks.
// Before the first change its meter holds backwards without end. A meter with bars below one tick, which the
// meter itself reports, counts as one with bars of one tick.
// Edits:      each tells the undo layer first and broadcasts ValChanged, at its end and where its steps do;
//             those that stay silent say so. "Nothing" means neither. Between BeginEdit and EndEdit the
//             broadcasts wait for the end and become one.
// Threads:    the document's thread only. A copy shares nothing with its original, so that another thread may have
//             it. Queries allocate nothing.
// Ownership:  owns its changes; receivers in its listener list stay the caller's.
#pragma once

#include "Bastel/Cmn/Cmn_PolyVector.h"
#include "Kora/Cnn/Cnn_ListenerList.h"
#include "Kora/Cnn/Mdl_SimpleValMessage.h"
#include "Kora/Ndo/Ndo_Object.h"
#include "Kora/Time/Meter/Time_MeterChange.h"
#include "Kora/Time/Meter/Time_MeterGrid.h"
#include "Kora/Time/Values/Time_SongDefaults.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

class Time_MeterMapIndex;
struct Time_MeterChangeValue;
template <class Value>
class Time_SharedRow;
template <class Value>
class Time_SharedRowTaker;

// Not in the exported class, so that every module has them as constants of its own.
struct Time_MeterMapLimits : Time_DefaultSongStart
{
    static constexpr Time_Tick cMaxTick{576460752303423487}; // 2^59 - 1
};

class KORA_API Time_MeterMap : public Ndo_Object, public Time_MeterMapLimits
{
public:
    // Goes through the changes in ascending order of their ticks.
    using ConstIter = Cmn_PolyVector<Time_MeterChange>::const_iterator;

    // Empty: 4/4 throughout. A document's own map is undoable.
    explicit Time_MeterMap(EUndoFlag iUndoFlag = kNoUndo);
    // Copies take the content: changes and song start. The copy is outside of undo and has no listeners;
    // assignment keeps the target's ID and listeners, and is an edit that does not broadcast.
    Time_MeterMap(const Time_MeterMap& iOther);
    Time_MeterMap& operator=(const Time_MeterMap& iOther);
    ~Time_MeterMap() override;

    // The shared map of one change, 4/4 at bar 1. Hosts read it and leave it as it is.
    static Time_MeterMap* GetDefaultMeterMap();
    bool IsDefault() const { return Settled().mChanges.empty(); }

    // --- Queries
    // An empty map gives the default map's answers.

    // Beats past the bar's numerator run on into bars of the same meter, beats below 1
    // truncate to the bar's start.
    Time_Tick BarBeatToTick(const Time_BarBeatTick& iBBT) const;
    // Its BarBeatToTick is iTick again.
    // Default map: TickToBarBeat(1000000000000) is 1|1|0, one tick before is 0|4|959999.
    Time_BarBeatTick TickToBarBeat(Time_Tick iTick) const;
    // Why a position is none of the map, as a text for users, such as "the bar has fewer beats"; null where
    // it is one, so that TickToBarBeat of its tick gives it back. Allocates nothing.
    [[nodiscard]] const char* WhyNoPosition(const Time_BarBeatTick& iBBT) const;
    // The meter in force, and where the change lies that set it.
    Time_Meter GetMeterAtTick(Time_Tick iTick, Time_Tick* oChangeTick = nullptr) const;
    // The click interval in force, in ticks, and where its length next changes (cMaxTick if never).
    Time_TickLength GetClicksAtTick(Time_Tick iTick, Time_Tick* oUntil = nullptr) const;
    Time_Tick GetTickOfLastChange() const;
    Cmn_Int32 GetNumberOfChanges() const;
    // The first change, or IterEnd.
    [[nodiscard]] ConstIter IterBegin() const;
    // Behind the last change.
    [[nodiscard]] ConstIter IterEnd() const;
    // The first change at or after iTick; IterEnd if none.
    [[nodiscard]] ConstIter IterFindFirstGE(Time_Tick iTick) const;
    Time_Tick GetSongStartTick() const { return mSongStartTick; }
    // The bar number at the song start.
    Cmn_Int32 GetSongStartBar() const;

    // --- Durations in bars, beats and ticks, each counted from 0
    //
    // A start that lies less than a tenth of a beat before the next barline counts as lying on that barline;
    // adding and subtracting then take the gap off the result again, so that played notes keep their lead.

    // The bars first, keeping the distance to the bar's start, then the beats, then the ticks.
    Time_Tick AddDurationToTick(Time_Tick iTick, const Time_BarBeatTick& iDuration) const;
    // The same backwards: the bars first, then the beats, then the ticks.
    Time_Tick SubtractDurationFromTick(Time_Tick iTick, const Time_BarBeatTick& iDuration) const;
    // The duration from iTickA on to iTickB: as many bars as fit, then beats, then ticks.
    // Deliberate: with iTickA after iTickB it is zero. Test: LongDurationsAndFarTimesAreExact
    Time_BarBeatTick ComputeDurationBetween(Time_Tick iTickA, Time_Tick iTickB) const;

    // --- The grid: bars, beats and note values as lines (Time_MeterGrid.h)

    // The lines of a range of ticks, from its start on and before its end.
    Time_MeterGrid Grid(const Time_Range& iRange, const Time_GridDivision& iDivision) const;
    // The barlines of a range alone.
    Time_MeterGrid Bars(const Time_Range& iRange) const { return Grid(iRange, Time_GridDivision::Bars()); }
    // Its beats, barlines among them.
    Time_MeterGrid Beats(const Time_Range& iRange) const { return Grid(iRange, Time_GridDivision::Beats()); }
    // The line that a position snaps to.
    Time_GridLine FindGridLine(Time_Tick iTick, const Time_GridDivision& iDivision,
                               Time_EGridSearch iSearch = Time_eGridSearch_Nearest) const;

    // --- Edits of changes

    // A bracket around many edits, which may be nested. Within it changes may be added in any order,
    // at the cost of sorting them: those that do not follow in order are collected, and take their
    // places at the next query or other edit. What comes out is what adding them one by one gives.
    // Iterators hold until then.
    void BeginEdit() { ++mEditCount; }
    // The outermost one broadcasts once where an edit inside would have. Asserts "mEditCount > 0", and does
    // nothing, when no edit is open.
    void EndEdit();
    Cmn_Int32 GetEditCount() const { return mEditCount; }

    // The first change of an empty map. Asserts "this->IsDefault()"; on another map
    // goes on as AddMeterChange.
    // Deliberate: does not broadcast, the map still answers much as before. Test: BroadcastsAreCounted
    void AddInitialMeterChange(Time_Tick iTick, const Time_Meter& iMeter, Cmn_Int32 iBar);
    // Adds a change, or overwrites the one at iTick, which keeps its bar number. iBar only numbers a first
    // change: all others follow from the one before. An empty map gets just this change.
    void AddMeterChange(Time_Tick iTick, const Time_Meter& iMeter, Cmn_Int32 iBar);
    void AddMeterChange(Time_Tick iTick, const Time_Meter& iMeter);
    // Removes the change exactly at iTick; else only gives the undo notice.
    void RemoveMeterChange(Time_Tick iTick);
    // Makes the meter hold from the start of iBBT's bar and drops the changes between there and iBBT. Nothing
    // where the meter in force has these numbers; the click is not compared.
    void ForceMeterAtBarBeat(const Time_BarBeatTick& iBBT, const Time_Meter& iMeter);
    // Adds iDelta to all bar numbers.
    void RenumberBars(Cmn_Int32 iDelta);
    // Gives an empty map the default map's change; does not broadcast.
    void MakeRealIfDefault();
    // Moves the song start, which gets a change there; bar numbers change so that its bar keeps its number. A
    // change at the old song start that repeats the meter beside it goes. On an empty map it is stored
    // without a broadcast; nothing if equal.
    void SetSongStartTick(Time_Tick iTick);
    // Guarantees a change at the song start, there numbered iBar if it had to be added.
    // Nothing if there is one.
    void AddBackSongStartMeter(Cmn_Int32 iBar);
    // Removes the changes of the range; the meter before it then holds through.
    void Delete(Time_Tick iStartTick, Time_Tick iEndTick, bool iKeepSongStart = false);
    // The same, but the meter after the range stays what it was, from the barline at or after the end.
    void Erase(Time_Tick iStartTick, Time_Tick iEndTick, bool iKeepSongStart = false);
    // Takes iOther's changes, not its song start. Out of memory, the map is as it was.
    void ReplaceWith(const Time_MeterMap& iOther);
    // The same of a map that nobody needs any more, whose changes are not defined afterwards. Nothing throws
    // behind the undo notice. Nothing for the map itself.
    void ReplaceWith(Time_MeterMap&& ioOther);
    // Removes all changes, keeps the song start; does not broadcast.
    void Clear();

    // --- Edits of time

    // Cuts the range out and closes the gap. Where it is not whole bars, the meters around it are refitted
    // to the bars that come out.
    void DeleteTime(Time_Tick iStartTick, Time_Tick iEndTick);
    // Opens a gap, fills it from iSrcP if given, and refits the meters of its bars.
    void InsertTime(Time_Tick iAtTick, const Time_TickLength& iTicksToInsert,
                    const Time_MeterMap* iSrcP = nullptr);
    // Moves every change at or after iTick. Nothing for a length of zero or an empty map. A move back past
    // changes that stay asserts "moved meter changes stay in order"; they are then put in order, and of two
    // changes at one tick the moved one stays.
    void ShiftMeterChangesStartingAt(Time_Tick iTick, const Time_TickLength& iLength);
    // The same for all changes, the first one too.
    void ShiftAllMeterEventsByNumTicks(const Time_TickLength& iLength);
    // Takes the first change at or after iTick that is not the first of all, gives it the number of its
    // stored BBT, and moves the changes behind it by as much as its old place lies past that bar's place.
    void RealignExistingMeterChangesToBBT(Time_Tick iTick);

    // --- Copy and paste

    // Fills oDestP, a clip, with the changes of the range, moved so that iStartTick becomes tick 0. The meter
    // in force is carried in by a change at the first barline where the clip would not have it anyway.
    // An empty map has no changes to copy.
    void Copy(Time_MeterMap* oDestP, Time_Tick iStartTick, Time_Tick iEndTick) const;
    // Replaces the changes of the range by iSrcP's, moved by iStartTick, as far as they fit; the meter after
    // the range stays what it was. Where the default change that MakeRealIfDefault adds falls into the range,
    // it stays unless a pasted change is at its tick.
    void Paste(Time_Tick iStartTick, Time_Tick iEndTick, const Time_MeterMap* iSrcP,
               bool iKeepSongStart = false);

    // --- Undo, documents, text

    // Broadcasts.
    Cnn_ListenerList<Mdl_SimpleValMessage>& GetListenerList() { return mListenerList; }
    // A Time_MeterMap_NdoState. To restore one gives what a stream of the map as it was would bring back, as
    // an edit of what differs; out of memory, it throws std::bad_alloc and leaves the map as it was.
    Ndo_State* NdoGetState() override;
    void NdoRestoreState(Ndo_State* iStateP) override;

    // Stream "Meter", version 2: count (32 bits), the changes, their BBTs, the song start (64 bits).
    void StreamOut(Sys_TypedOutStream& ioStream) const;
    // Replaces the content, renumbered, without a broadcast; BBTs and song start may be missing.
    // Version 1 is skipped. Throws Sys_StreamReadException for what no map writes: bad meters, ticks
    // that do not ascend, more changes than the bytes can hold; Cmn_DocumentTooNewException above
    // version 2. The map then stays as it was.
    void StreamIn(Sys_TypedInStream& ioStream);
    // A node "MeterMap" with "nChangeCount", "nSongStartTick" and the list "Changes".
    virtual Cmn_XMLNode GetAsXML() const;
    // One line for each change and one for the song start.
    [[nodiscard]] std::string Dump() const;
    // The first broken invariant in words with the change it was met at; empty when all hold.
    [[nodiscard]] std::string FindBrokenInvariant() const;

private:
    friend class Time_GridCursor;
    friend class Time_MeterMap_NdoState;
    using Iter = Cmn_PolyVector<Time_MeterChange>::iterator;
    struct BarAndOffset;
    struct Added
    {
        Time_MeterChange mChange; // with the bar given
        bool mIsBarGiven;         // or else that of its tick, then and later
    };

    const Time_MeterMap& Settled() const
    {
        if (!mAdded.empty()) SettleAdded();
        return *this;
    }
    const Time_MeterMapIndex& Index() const { return *Settled().mIndex; }
    // What governs a tick, and where it begins and ends to govern.
    void GetStretch(Time_Tick iTick, Time_MeterStretch& oStretch, Cmn_Int64& oFrom, Cmn_Int64& oTo) const;
    bool IsCollected(Time_Tick iTick) const;
    void Collect(Time_Tick iTick, const Time_Meter& iMeter, std::optional<Cmn_Int32> iBar);
    void SettleAdded() const;
    void MakeRoom(std::size_t iCount) const;
    void PutLast(const Time_MeterChange& iChange, bool iIsNumbered, bool iIsBBTNumbered) const;
    void AboutToModify();
    void AddNow(Time_Tick iTick, const Time_Meter& iMeter);
    const Cmn_PolyVector<Time_MeterChange>& Changes() const;
    std::size_t LowerBound(Time_Tick iTick) const;
    bool IsBarlineWithMeter(Time_Tick iTick, const Time_Meter& iMeter) const;
    Time_Tick BarlineAtOrAfter(Time_Tick iTick) const;
    Time_Tick BarStart(Cmn_Int64 iBar) const;
    Cmn_Int64 BarOf(Time_Tick iTick) const;

    BarAndOffset SnapToBarline(Time_Tick iTick) const;

    void UpdateBarNumbers(std::size_t iFrom);
    void RefreshIndex(std::size_t iFrom) const;
    void PutMeterChange(Time_Tick iTick, const Time_Meter& iMeter, Cmn_Int32 iBar);
    bool EraseChanges(Time_Tick iStartTick, Time_Tick iEndTick);
    void ShiftFrom(std::size_t iFirst, Cmn_Int64 iLength);
    std::size_t RestoreOrder(std::size_t iFirstMoved);
    void SortChanges(std::size_t iFirstPreferred);
    void Broadcast();
    std::shared_ptr<const Time_SharedRow<Time_MeterChangeValue>> TakeRow() const;
    void Replaced(std::size_t iFirst, std::size_t iRemoved, std::size_t iAdded) const;
    void BroadcastIfUntold();
    void CheckInvariants() const;

    void RestoreSongStart(Cmn_Int32 iBar);
    void PinMeterAt(Time_Tick iTick);
    bool RefitBar(Cmn_Int64 iBar);

    mutable Cmn_PolyVector<Time_MeterChange> mChanges;
    mutable std::vector<Added> mAdded; // collected in the order in which they came
    Time_MeterChange mLowest;          // of all changes, while some are collected
    Time_Tick mSongStartTick = cDefaultSongStartTick;
    Cnn_ListenerList<Mdl_SimpleValMessage> mListenerList;

    std::unique_ptr<Time_MeterMapIndex> mIndex; // of mChanges, or of the default change
    std::unique_ptr<Time_SharedRowTaker<Time_MeterChangeValue>> mRowTaker; // of mChanges
    Cmn_Int32 mEditCount = 0;
    bool mIsBroadcastOwed = false;     // to the end of the outermost edit
    bool mIsUntold = false;            // changed since the last broadcast
    mutable bool mIsAsStreamed = true; // no BBT or mark is other than a stream would bring back
    bool mNumbersPending = false;      // Paste has put changes in and not yet renumbered
};
