#include "Kora/Time/Edit/Time_SongEdit.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/Ndo/Ndo_Manager.h"
#include "Kora/Time/Edit/Time_SongLine_p.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap_StEditOptimizer.h"
#include "Kora/Time/Tempo/Time_TempoEdit_p.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"

#include <algorithm>
#include <memory>

namespace {

using Song = Time_SongEdit::Song;
using Clip = Time_SongEdit::Clip;
using Result = Time_TempoEditResult;
using TempoChange = Time_TempoEditDetail::Change;
using MeterLine = Time_SongLine<Time_Meter>;
using KeyLine = Time_SongLine<Time_KeySignature>;

constexpr Time_Tick cLastTick = Time_MeterMap::cMaxTick;

double AsDouble(Time_Tick iTick) { return static_cast<double>(iTick.AsInt64()); }

// --- What may be done

Result CheckAt(const Song& iSong, Time_Tick iAt)
{
    const Time_Tick start = Time_SongEdit::GetSongStartTick(iSong);
    if (iAt < start) return {.mReason = Result::eReason_BeforeSongStart, .mNearest = AsDouble(start)};
    if (iAt > cLastTick) return {.mReason = Result::eReason_OutOfLimits, .mNearest = AsDouble(cLastTick)};
    return {};
}

Result CheckRange(const Song& iSong, Time_Tick iFrom, Time_Tick iTo)
{
    if (iFrom >= iTo) return {.mReason = Result::eReason_EmptyRange};
    const Result result = CheckAt(iSong, iFrom);
    return result ? CheckAt(iSong, iTo) : result;
}

// How much longer the song may become: all that its maps hold stays a tick, and so does iAt.
Time_TickLength RoomBehind(const Song& iSong, Time_Tick iAt)
{
    Time_Tick last = iAt, keysStart, keysEnd;
    if (iSong.mMeters != nullptr && !iSong.mMeters->IsDefault())
        last = std::max(last, iSong.mMeters->GetTickOfLastChange());
    if (iSong.mTempi != nullptr && iSong.mTempi->GetNumberOfSegments() > 0)
        last = std::max(last, (*(iSong.mTempi->SegmentEnd() - 1))->GetStartTick());
    if (iSong.mKeys != nullptr && iSong.mKeys->GetKeySignaturesRange(keysStart, keysEnd))
        last = std::max(last, keysEnd - Time_TickLength(1));
    return std::max(cLastTick - last, Time_TickLength(0));
}

Result CheckInsertion(const Song& iSong, Time_Tick iAt, const Time_TickLength& iLength)
{
    if (iLength.AsInt64() < 0) return {.mReason = Result::eReason_EmptyRange};
    if (const Result result = CheckAt(iSong, iAt); !result) return result;
    const Time_TickLength room = RoomBehind(iSong, iAt);
    if (iLength <= room) return {};
    return {.mReason = Result::eReason_OutOfLimits, .mNearest = room.AsFloat64()};
}

// By ascending offsets within the length, the first at 0.
template <class Entries>
bool IsClip(const Entries& iEntries, const Time_TickLength& iLength)
{
    Time_TickLength next(0);
    for (const auto& entry : iEntries) {
        const bool isFirst = &entry == &iEntries.front();
        if (entry.mOffset < next || entry.mOffset >= iLength || (isFirst && entry.mOffset > next))
            return false;
        next = entry.mOffset + Time_TickLength(1);
    }
    return true;
}

// --- The maps as lines of what is in force, and back

MeterLine LineOf(const Time_MeterMap& iMap)
{
    MeterLine line(iMap.GetMeterAtTick(Time_TickPieces::cLowest));
    if (iMap.IsDefault()) return line;
    for (auto change = iMap.IterBegin(); change != iMap.IterEnd(); ++change)
        line.Put(change->GetTick(), change->GetMeter());
    return line;
}

KeyLine LineOf(const Time_KeySignatureMap& iMap)
{
    KeyLine line(Time_KeySignature::sDefault);
    Time_Tick tick;
    Time_KeySignature key;
    for (long i = 0; i < iMap.size(); ++i)
        if (iMap.GetKeysSignature(i, tick, key)) line.Put(tick, key);
    return line;
}

template <class State, class Entries>
Time_SongLine<State> LineOfClip(const Entries& iEntries,
                                State std::decay_t<decltype(*iEntries.begin())>::*iState)
{
    Time_SongLine<State> line(iEntries.front().*iState);
    for (const auto& entry : iEntries)
        if (entry.mOffset.AsInt64() > 0) line.Put(Time_cZeroTick + entry.mOffset, entry.*iState);
    return line;
}

std::unique_ptr<Time_KeySignatureMap> MapOf(const KeyLine& iLine)
{
    auto map = std::make_unique<Time_KeySignatureMap>();
    for (const KeyLine::Entry& entry : iLine.Get())
        map->SetKeySignature(entry.mTick, entry.mState);
    return map;
}

// Numbered so that the bar of the song start keeps its number.
std::unique_ptr<Time_MeterMap> MapOf(const MeterLine& iLine, Time_Tick iSongStart, Cmn_Int32 iBar)
{
    auto map = std::make_unique<Time_MeterMap>();
    {
        const Time_MeterMap_StEditOptimizer edit(*map);
        for (const MeterLine::Entry& entry : iLine.Get())
            map->AddMeterChange(entry.mTick, entry.mState, iBar);
    }
    const Cmn_Int32 bar = map->TickToBarBeat(iSongStart).mBar;
    if (bar != iBar) map->RenumberBars(Cmn_WrapSub(iBar, bar));
    return map;
}

// The first change holds backwards. Where it goes, or moves against the bars before it, one like it that
// keeps those comes first.
std::unique_ptr<Time_MeterMap> MapOf(MeterLine iLine, const Time_MeterMap& iOld, const MeterLine& iOldLine,
                                     Time_Tick iSongStart)
{
    const Cmn_Int32 bar = iOld.TickToBarBeat(iSongStart).mBar;
    const Time_BarBeatTick barStart(bar, 1, Time_TickLength(0));
    const Time_Tick barline = iOld.BarBeatToTick(barStart);
    std::unique_ptr<Time_MeterMap> map = MapOf(iLine, iSongStart, bar);
    const Time_Tick before = barline - Time_TickLength(1);
    const bool holds = map->IsDefault() == iOldLine.Get().empty() &&
                       map->BarBeatToTick(barStart) == barline &&
                       map->GetMeterAtTick(before) == iOld.GetMeterAtTick(before);
    if (holds) return map;
    MeterLine held(iOldLine.GetBefore());
    held.Put(barline, iOldLine.GetBefore());
    for (const MeterLine::Entry& entry : iLine.Get())
        held.Put(entry.mTick, entry.mState);
    return MapOf(held, iSongStart, bar);
}

// --- An edit: what the maps become, and then all of them at once

// What is pasted at a tick of the new line.
struct Pasted
{
    const Clip* mClip = nullptr;
    Time_Tick mAt;
};

template <class State>
std::vector<typename Time_SongLine<State>::Stretch> StretchesOf(const Time_SongLine<State>& iOld,
                                                                const Time_TickPieces& iPieces)
{
    std::vector<typename Time_SongLine<State>::Stretch> stretches;
    for (const Time_TickPieces::Piece& piece : iPieces.Get())
        stretches.push_back({&iOld, piece.mOldStart, piece.mOldEnd, piece.mNewStart});
    return stretches;
}

template <class State, class Entries>
Time_SongLine<State> Arranged(const Time_SongLine<State>& iOld, const Time_TickPieces& iPieces,
                              const Pasted& iPasted, const Entries* iClip,
                              State std::decay_t<decltype(*iClip->begin())>::*iState, Time_Tick iSongStart)
{
    auto stretches = StretchesOf(iOld, iPieces);
    Time_SongLine<State> clip(iOld.GetBefore());
    if (iClip != nullptr && !iClip->empty()) {
        clip = LineOfClip<State>(*iClip, iState);
        stretches.insert(stretches.begin() + 1,
                         {&clip, Time_cZeroTick, Time_cZeroTick + iPasted.mClip->mLength, iPasted.mAt});
    }
    return Time_SongLine<State>::Of(iOld, stretches, iSongStart);
}

class Edit
{
public:
    Edit(const Song& iSong, Time_TickPieces iPieces)
        : mSong(iSong)
        , mPieces(std::move(iPieces))
        , mSongStart(Time_SongEdit::GetSongStartTick(iSong))
    {
    }
    void SetPasted(const Clip& iClip, Time_Tick iAt) { mPasted = {&iClip, iAt}; }

    // iPlanTempi plans the change of the tempo map, which alone may refuse.
    template <class PlanTempi>
    Result Run(PlanTempi iPlanTempi)
    {
        TempoChange tempi;
        if (mSong.mTempi != nullptr)
            if (const Result result = iPlanTempi(*mSong.mTempi, tempi); !result) return result;
        const std::unique_ptr<Time_MeterMap> meters = NewMeters();
        const std::unique_ptr<Time_KeySignatureMap> keys = NewKeys();

        // What may fail for want of memory comes first: all maps are as they were then.
        if (meters != nullptr) TellUndo(*mSong.mMeters);
        if (keys != nullptr) TellUndo(*mSong.mKeys);
        // Whoever listens is told when the brackets end, and finds all in its new place.
        std::optional<Time_MeterMap_StEditOptimizer> meterEdit;
        std::optional<Time_TempoMap_StEditOptimizer> tempoEdit;
        if (meters != nullptr) meterEdit.emplace(*mSong.mMeters);
        if (!tempi.IsNothing()) tempoEdit.emplace(*mSong.mTempi);
        if (!tempi.IsNothing()) Time_TempoEditDetail::Apply(*mSong.mTempi, std::move(tempi));
        if (meters != nullptr) mSong.mMeters->ReplaceWith(std::move(*meters));
        if (keys != nullptr) mSong.mKeys->ReplaceWith(std::move(*keys));
        if (mSong.mMoveTheRest) mSong.mMoveTheRest(mPieces);
        return {};
    }

private:
    static void TellUndo(Ndo_Object& ioMap)
    {
        if (ioMap.NdoIsUndoable()) Ndo_gManager.AboutToModifyObject(&ioMap);
    }

    // Null where nothing changes.
    std::unique_ptr<Time_MeterMap> NewMeters() const
    {
        if (mSong.mMeters == nullptr) return nullptr;
        const MeterLine old = LineOf(*mSong.mMeters);
        const auto* const clip = mPasted.mClip != nullptr ? &mPasted.mClip->mMeters : nullptr;
        const MeterLine line =
            Arranged(old, mPieces, mPasted, clip, &Time_SongEdit::ClipMeter::mMeter, mSongStart);
        return line == old ? nullptr : MapOf(line, *mSong.mMeters, old, mSongStart);
    }

    std::unique_ptr<Time_KeySignatureMap> NewKeys() const
    {
        if (mSong.mKeys == nullptr) return nullptr;
        const KeyLine old = LineOf(*mSong.mKeys);
        const auto* const clip = mPasted.mClip != nullptr ? &mPasted.mClip->mKeys : nullptr;
        const KeyLine line = Arranged(old, mPieces, mPasted, clip, &Time_SongEdit::ClipKey::mKey, mSongStart);
        return line == old ? nullptr : MapOf(line);
    }

    const Song& mSong;
    Time_TickPieces mPieces;
    Time_Tick mSongStart;
    Pasted mPasted;
};

} // namespace

Time_Tick Time_SongEdit::GetSongStartTick(const Song& iSong)
{
    if (iSong.mTempi != nullptr && iSong.mTempi->GetNumberOfSegments() > 0)
        return Time_TempoEditDetail::FirstEditableTick(*iSong.mTempi);
    return iSong.mMeters != nullptr ? iSong.mMeters->GetSongStartTick()
                                    : Time_TempoMap::cDefaultSongStartTick;
}

Result Time_SongEdit::DeleteTime(const Song& iSong, Time_Tick iFrom, Time_Tick iTo)
{
    if (const Result result = CheckRange(iSong, iFrom, iTo); !result) return result;
    return Edit(iSong, Time_TickPieces::Delete(iFrom, iTo))
        .Run([&](const Time_TempoMap& iMap, TempoChange& oChange) {
            return Time_TempoEditDetail::PlanDeletion(iMap, iFrom, iTo, oChange);
        });
}

Result Time_SongEdit::InsertTime(const Song& iSong, Time_Tick iAt, const Time_TickLength& iLength)
{
    if (const Result result = CheckInsertion(iSong, iAt, iLength); !result) return result;
    if (iLength.AsInt64() == 0) return {};
    return Edit(iSong, Time_TickPieces::Insert(iAt, iLength))
        .Run([&](const Time_TempoMap& iMap, TempoChange& oChange) {
            return Time_TempoEditDetail::PlanInsertion(iMap, iAt, iLength, oChange);
        });
}

Time_TickLength Time_SongEdit::LengthOfSamples(const Song& iSong, Time_Tick iAt, double iSamples)
{
    const Time_TempoMap& tempi =
        iSong.mTempi != nullptr ? *iSong.mTempi : *Time_TempoMap::GetDefaultTempoMap();
    const Time_Tick before = std::max(iAt - Time_TickLength(1), GetSongStartTick(iSong));
    const double samplesPerTick = Time_TempoEditDetail::SamplesPerTick(
        Time_TempoEditDetail::PieceAt(tempi, before), tempi.GetSampleRate());
    return Time_TickLength(Cmn_RoundHalfUp(iSamples / samplesPerTick));
}

Result Time_SongEdit::Copy(const Song& iSong, Time_Tick iFrom, Time_Tick iTo, Clip& oClip)
{
    if (const Result result = CheckRange(iSong, iFrom, iTo); !result) return result;
    Clip clip{.mLength = iTo - iFrom, .mMeters = {}, .mTempi = {}, .mKeys = {}};
    if (iSong.mMeters != nullptr)
        for (const MeterLine::Entry& entry : LineOf(*iSong.mMeters).Part(iFrom, iTo))
            clip.mMeters.push_back({entry.mTick - iFrom, entry.mState});
    if (iSong.mTempi != nullptr) clip.mTempi = Time_TempoEdit::CopyRange(*iSong.mTempi, iFrom, iTo);
    if (iSong.mKeys != nullptr)
        for (const KeyLine::Entry& entry : LineOf(*iSong.mKeys).Part(iFrom, iTo))
            clip.mKeys.push_back({entry.mTick - iFrom, entry.mState});
    oClip = std::move(clip);
    return {};
}

Result Time_SongEdit::Cut(const Song& iSong, Time_Tick iFrom, Time_Tick iTo, Clip& oClip)
{
    Clip clip;
    if (const Result result = Copy(iSong, iFrom, iTo, clip); !result) return result;
    const Result result = DeleteTime(iSong, iFrom, iTo);
    if (result) oClip = std::move(clip);
    return result;
}

Result Time_SongEdit::Paste(const Song& iSong, Time_Tick iAt, const Clip& iClip)
{
    const bool isSound = iClip.mLength.AsInt64() > 0 && IsClip(iClip.mMeters, iClip.mLength) &&
                         IsClip(iClip.mKeys, iClip.mLength);
    if (!isSound) return {.mReason = Result::eReason_EmptyRange};
    if (const Result result = CheckInsertion(iSong, iAt, iClip.mLength); !result) return result;
    Edit edit(iSong, Time_TickPieces::Insert(iAt, iClip.mLength));
    edit.SetPasted(iClip, iAt);
    return edit.Run([&](const Time_TempoMap& iMap, TempoChange& oChange) {
        if (iClip.mTempi.mTempi.empty())
            return Time_TempoEditDetail::PlanInsertion(iMap, iAt, iClip.mLength, oChange);
        if (iClip.mTempi.mLength != iClip.mLength) return Result{.mReason = Result::eReason_EmptyRange};
        return Time_TempoEditDetail::PlanPasting(iMap, iAt, iClip.mTempi, oChange);
    });
}

Result Time_SongEdit::RepeatTime(const Song& iSong, Time_Tick iFrom, Time_Tick iTo, std::size_t iCount)
{
    if (const Result result = CheckRange(iSong, iFrom, iTo); !result) return result;
    if (iCount == 0) return {};
    Clip clip;
    if (const Result result = Copy(iSong, iFrom, iTo, clip); !result) return result;
    const std::size_t each =
        std::max({clip.mMeters.size(), clip.mTempi.mTempi.size(), clip.mKeys.size(), std::size_t{1}});
    if (iCount > cMaxCopies / each)
        return {.mReason = Result::eReason_TooManySteps, .mNearest = static_cast<double>(cMaxCopies / each)};
    const auto fitting = static_cast<std::size_t>(RoomBehind(iSong, iTo).AsInt64() / (iTo - iFrom).AsInt64());
    if (iCount > fitting)
        return {.mReason = Result::eReason_OutOfLimits, .mNearest = static_cast<double>(fitting)};
    return Edit(iSong, Time_TickPieces::Repeat(iFrom, iTo, iCount))
        .Run([&](const Time_TempoMap& iMap, TempoChange& oChange) {
            return Time_TempoEditDetail::PlanPasting(
                iMap, iTo, Time_TempoEditDetail::Repeated(clip.mTempi, iCount), oChange);
        });
}

Result Time_SongEdit::MoveTime(const Song& iSong, Time_Tick iFrom, Time_Tick iTo, Time_Tick iPosition)
{
    if (const Result result = CheckRange(iSong, iFrom, iTo); !result) return result;
    if (const Result result = CheckAt(iSong, iPosition); !result) return result;
    if (const Result result = Time_TempoEditDetail::CheckMove(iFrom, iTo, iPosition); !result) return result;
    if (iPosition == iFrom || iPosition == iTo) return {};
    return Edit(iSong, Time_TickPieces::Move(iFrom, iTo, iPosition))
        .Run([&](const Time_TempoMap& iMap, TempoChange& oChange) {
            return Time_TempoEditDetail::PlanMove(iMap, iFrom, iTo, iPosition, oChange);
        });
}
