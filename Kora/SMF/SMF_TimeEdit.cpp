#include "Kora/SMF/SMF_TimeEdit.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/SMF/SMF_ChasedState_p.h"
#include "Kora/SMF/SMF_TimeMaps.h"
#include "Kora/SMF/SMF_TrackBuilder.h"

#include <algorithm>
#include <array>
#include <utility>

using SMF_TimeEditDetail::ChasedState;
using SMF_TimeEditDetail::Event;
using SMF_TimeEditDetail::Placed;

namespace {

using Events = std::vector<Event>;

constexpr Cmn_UInt32 cNone = 0xFFFFFFFF;
constexpr Cmn_Int64 cBehindAll = Cmn_Int64{1} << 59;
constexpr Cmn_Int64 cStart = SMF_TimeMaps::cStartTick.AsInt64();

Event EventOf(const SMF_Event& iEvent, Cmn_Int64 iTick, std::size_t iOrder)
{
    Event event;
    event.mTick = iTick;
    event.mBytes = iEvent.mBytes.data();
    event.mSize = static_cast<Cmn_UInt32>(iEvent.mBytes.size());
    event.mOrder = static_cast<Cmn_UInt32>(iOrder);
    event.mStatus = iEvent.mStatus;
    event.mFirst = iEvent.IsChannel() ? iEvent.DataByte(0) : iEvent.mMetaType;
    event.mSecond = iEvent.IsChannel() && iEvent.mData.size() > 1 ? iEvent.DataByte(1) : Cmn_UInt8{0};
    event.mDeltaSize = iEvent.mDeltaSize;
    event.mIsRunning = iEvent.mIsRunning;
    return event;
}

// For each note-on the index of its note-off, and back; cNone for all else. First begun is first ended.
std::vector<Cmn_UInt32> PartnersIn(const Events& iEvents)
{
    std::vector<Cmn_UInt32> partners(iEvents.size(), cNone), next(iEvents.size());
    std::array<Cmn_UInt32, 16 * 128> first, last;
    first.fill(cNone);
    last.fill(cNone);
    for (Cmn_UInt32 i = 0; i < iEvents.size(); ++i) {
        const Event& event = iEvents[i];
        const bool isOn = event.IsNoteOn();
        if (!isOn && !event.IsNoteOff()) continue;
        const std::size_t key = (event.mStatus & 15u) * 128u + event.mFirst;
        if (isOn) {
            next[i] = cNone;
            (first[key] == cNone ? first[key] : next[last[key]]) = i;
            last[key] = i;
        } else if (const Cmn_UInt32 on = first[key]; on != cNone) {
            partners[on] = i;
            partners[i] = on;
            first[key] = next[on];
        }
    }
    return partners;
}

// The index of the first event at or behind the tick.
std::size_t IndexAt(const Events& iEvents, Cmn_Int64 iTick)
{
    const auto at = std::lower_bound(iEvents.begin(), iEvents.end(), iTick,
                                     [](const Event& iEvent, Cmn_Int64 iAt) { return iEvent.mTick < iAt; });
    return static_cast<std::size_t>(at - iEvents.begin());
}

// Whether it is in force at the tick, where a seam comes: at the file's beginning that is what stays there.
bool IsBefore(const Event& iEvent, Cmn_Int64 iTick)
{
    return iEvent.mTick < iTick || (iEvent.mTick == 0 && iTick == 0 && iEvent.IsSetUp());
}

// Some of a track's placed events, which ascend by tracks, at a tick.
void AppendPlaced(Events& ioEvents, const std::vector<Placed>& iPlaced, std::size_t iTrack, Cmn_Int64 iTick)
{
    auto placed = std::lower_bound(iPlaced.begin(), iPlaced.end(), iTrack,
                                   [](const Placed& iOne, std::size_t iAt) { return iOne.mTrack < iAt; });
    for (; placed != iPlaced.end() && placed->mTrack == iTrack; ++placed) {
        ioEvents.push_back(placed->mEvent);
        ioEvents.back().mTick = iTick;
    }
}

// The track ends where it is told to, or behind its last event.
void AppendEnd(Events& ioEvents, Event iEnd, Cmn_Int64 iTick)
{
    iEnd.mTick = ioEvents.empty() ? iTick : std::max(iTick, ioEvents.back().mTick);
    ioEvents.push_back(iEnd);
}

// One track's part of a deletion.
class TrackDeletion
{
public:
    TrackDeletion(const Events& iEvents, Cmn_Int64 iFrom, Cmn_Int64 iTo)
        : mEvents(iEvents)
        , mPartners(PartnersIn(iEvents))
        , mFrom(iFrom)
        , mTo(iTo)
    {
    }

    Events Run(const std::vector<Placed>& iSteps, std::size_t iTrack, SMF_TimeEdit::Report& ioReport)
    {
        Events kept;
        kept.reserve(mEvents.size());
        for (std::size_t i = 0; i + 1 < mEvents.size(); ++i)
            if (Keeps(i, ioReport)) {
                kept.push_back(mEvents[i]);
                kept.back().mTick = MovedTick(mEvents[i].mTick);
                ioReport.mMoved += mEvents[i].mTick != kept.back().mTick;
            } else {
                ++ioReport.mDropped;
            }
        const std::size_t before = kept.size();
        Events steps;
        AppendPlaced(steps, iSteps, iTrack, mFrom);
        kept.insert(kept.begin() + static_cast<std::ptrdiff_t>(IndexAt(kept, mFrom)), steps.begin(),
                    steps.end());
        ioReport.mAdded += static_cast<Cmn_Int64>(kept.size() - before);
        SortSeam(kept);
        AppendEnd(kept, mEvents.back(), MovedTick(mEvents.back().mTick));
        return kept;
    }

private:
    bool IsInside(const Event& iEvent) const { return iEvent.mTick >= mFrom && iEvent.mTick < mTo; }

    Cmn_Int64 MovedTick(Cmn_Int64 iTick) const
    {
        return iTick < mFrom ? iTick : iTick < mTo ? mFrom : iTick - (mTo - mFrom);
    }

    bool Keeps(std::size_t iIndex, SMF_TimeEdit::Report& ioReport) const
    {
        const Event& event = mEvents[iIndex];
        const Event* const partner = mPartners[iIndex] == cNone ? nullptr : &mEvents[mPartners[iIndex]];
        if (event.IsNoteOn()) {
            ioReport.mGoneNotes += IsInside(event);
            return !IsInside(event);
        }
        if (event.IsNoteOff() && partner != nullptr) {
            ioReport.mCutNotes += partner->mTick < mFrom && event.mTick > mFrom;
            return !IsInside(*partner);
        }
        return !IsInside(event) || IsBefore(event, mFrom);
    }

    // What comes together there is in the order in which it was.
    void SortSeam(Events& ioEvents) const
    {
        const auto at = [&](Cmn_Int64 iTick) {
            return ioEvents.begin() + static_cast<std::ptrdiff_t>(IndexAt(ioEvents, iTick));
        };
        std::stable_sort(at(mFrom), at(mFrom + 1),
                         [](const Event& iA, const Event& iB) { return iA.mOrder < iB.mOrder; });
    }

    const Events& mEvents;
    const std::vector<Cmn_UInt32> mPartners;
    const Cmn_Int64 mFrom, mTo;
};

} // namespace

struct SMF_TimeEdit::Tracks
{
    std::vector<Events> mEvents; // each ends with its end-of-track event

    // Calls iWork(event, track) for the events of all tracks.
    template <class Work>
    void ForEach(Cmn_Int64 iFrom, Cmn_Int64 iTo, Work iWork) const
    {
        for (std::size_t track = 0; track < mEvents.size(); ++track) {
            const Events& events = mEvents[track];
            for (std::size_t i = IndexAt(events, iFrom); i < events.size() && events[i].mTick < iTo; ++i)
                iWork(events[i], track);
        }
    }

    // What is in force before the events at a tick, but for those that stay at the file's first.
    ChasedState StateAt(Cmn_Int64 iTick) const
    {
        ChasedState state;
        ForEach(0, iTick + 1, [&](const Event& iEvent, std::size_t iTrack) {
            if (IsBefore(iEvent, iTick)) state.Apply(iEvent, iTrack);
        });
        return state;
    }

    // What the events at a tick set that do not stay at the file's first.
    ChasedState SetAt(Cmn_Int64 iTick) const
    {
        ChasedState state;
        ForEach(iTick, iTick + 1, [&](const Event& iEvent, std::size_t iTrack) {
            if (!IsBefore(iEvent, iTick)) state.Apply(iEvent, iTrack);
        });
        return state;
    }
};

// A stretch of time: its events by ticks from its beginning, whole notes only, and what it begins with.
struct SMF_TimeEdit::Clip
{
    Cmn_Int64 mLength = 0;
    std::vector<Events> mEvents;
    ChasedState mState;

    Cmn_Int64 CountEvents() const
    {
        std::size_t count = 0;
        for (const Events& events : mEvents)
            count += events.size();
        return static_cast<Cmn_Int64>(count);
    }
};

SMF_TimeEdit::SMF_TimeEdit(const SMF_File& iFile)
    : mFile(iFile)
    , mTracks(std::make_unique<Tracks>())
{
    for (const SMF_Track& track : mFile.GetTracks()) {
        Events& events = mTracks->mEvents.emplace_back();
        events.reserve(static_cast<std::size_t>(track.GetEventCount()));
        for (const SMF_Event& event : track)
            events.push_back(EventOf(
                event, SMF_TimeMaps::FromFileTick(event.mTick, mFile.GetDivision()) - cStart, events.size()));
    }
}

SMF_TimeEdit::~SMF_TimeEdit() = default;

Time_Tick SMF_TimeEdit::GetEndTick() const
{
    Cmn_Int64 end = 0;
    for (const Events& events : mTracks->mEvents)
        end = std::max(end, events.back().mTick);
    return Time_Tick(cStart + end);
}

SMF_File SMF_TimeEdit::GetFile() const
{
    SMF_File file = mFile;
    for (std::size_t i = 0; i < mTracks->mEvents.size(); ++i) {
        SMF_TrackBuilder builder(mFile.GetTracks()[i].GetBytes().size());
        for (const Event& event : mTracks->mEvents[i]) {
            const Cmn_Int64 tick = SMF_TimeMaps::ToFileTick(event.mTick, file.GetDivision());
            if (event.mBytes == nullptr) {
                builder.AppendChannel(tick, event.mStatus, event.mFirst, event.mSecond);
                continue;
            }
            SMF_Event written;
            written.mBytes = {event.mBytes, event.mSize};
            written.mStatus = event.mStatus;
            written.mMetaType = event.IsChannel() ? Cmn_UInt8{0} : event.mFirst;
            written.mDeltaSize = event.mDeltaSize;
            written.mIsRunning = event.mIsRunning;
            builder.Append(written, tick);
        }
        file.SetTrack(i, builder.Finish());
    }
    return file;
}

// --- Edits

SMF_TimeEdit::Report SMF_TimeEdit::InsertTime(Time_Tick iAt, Time_TickLength iLength)
{
    if (!Cmn_ASSERT(iAt.AsInt64() >= cStart && iLength.AsInt64() >= 0)) return {};
    if (iLength.AsInt64() == 0) return {};
    Clip silence;
    silence.mLength = iLength.AsInt64();
    silence.mEvents.resize(mTracks->mEvents.size());
    silence.mState = mTracks->StateAt(iAt.AsInt64() - cStart);
    return InsertClip(iAt.AsInt64() - cStart, silence, 1);
}

SMF_TimeEdit::Report SMF_TimeEdit::DeleteTime(Time_Tick iFrom, Time_Tick iTo)
{
    if (!Cmn_ASSERT(iFrom.AsInt64() >= cStart && iFrom < iTo)) return {};
    return Delete(iFrom.AsInt64() - cStart, iTo.AsInt64() - cStart);
}

SMF_TimeEdit::Report SMF_TimeEdit::Delete(Cmn_Int64 iFrom, Cmn_Int64 iTo)
{
    const std::vector<Placed> steps =
        mTracks->StateAt(iFrom).StepsTo(mTracks->StateAt(iTo), mTracks->SetAt(iTo));
    Report report;
    for (std::size_t i = 0; i < mTracks->mEvents.size(); ++i)
        mTracks->mEvents[i] = TrackDeletion(mTracks->mEvents[i], iFrom, iTo).Run(steps, i, report);
    return report;
}

SMF_TimeEdit::Report SMF_TimeEdit::RepeatTime(Time_Tick iFrom, Time_Tick iTo, Cmn_Int64 iTimes)
{
    if (!Cmn_ASSERT(iFrom.AsInt64() >= cStart && iFrom < iTo && iTimes >= 0)) return {};
    if (iTimes == 0) return {};
    const Cmn_Int64 to = iTo.AsInt64() - cStart;
    return InsertClip(to, CopyTime(iFrom.AsInt64() - cStart, to), iTimes);
}

SMF_TimeEdit::Report SMF_TimeEdit::MoveTime(Time_Tick iFrom, Time_Tick iTo, Time_Tick iPosition)
{
    if (!Cmn_ASSERT(iFrom.AsInt64() >= cStart && iFrom < iTo && iPosition.AsInt64() >= cStart)) return {};
    if (!Cmn_ASSERT(iPosition <= iFrom || iPosition >= iTo)) return {};
    if (iPosition == iFrom || iPosition == iTo) return {};
    const Cmn_Int64 from = iFrom.AsInt64() - cStart, to = iTo.AsInt64() - cStart;
    const Clip clip = CopyTime(from, to);
    Report report = Delete(from, to);
    const Cmn_Int64 at = iPosition.AsInt64() - cStart - (iPosition > iTo ? clip.mLength : 0);
    const Report inserted = InsertClip(at, clip, 1);
    // What went and came again has moved.
    report.mMoved += inserted.mMoved + clip.CountEvents();
    report.mDropped = std::max<Cmn_Int64>(report.mDropped - clip.CountEvents(), 0);
    report.mAdded += inserted.mAdded - clip.CountEvents();
    report.mGoneNotes = 0;
    return report;
}

Cmn_Int64 SMF_TimeEdit::CountEvents(Time_Tick iFrom, Time_Tick iTo) const
{
    return CopyTime(iFrom.AsInt64() - cStart, iTo.AsInt64() - cStart).CountEvents();
}

// --- Stretches

SMF_TimeEdit::Clip SMF_TimeEdit::CopyTime(Cmn_Int64 iFrom, Cmn_Int64 iTo) const
{
    Clip clip;
    clip.mLength = iTo - iFrom;
    clip.mState = mTracks->StateAt(iFrom);
    for (const Events& events : mTracks->mEvents) {
        const std::vector<Cmn_UInt32> partners = PartnersIn(events);
        Events &copied = clip.mEvents.emplace_back(), cut;
        const auto copy = [&](Events& ioTo, const Event& iEvent, Cmn_Int64 iTick) {
            ioTo.push_back(iEvent);
            ioTo.back().mTick = iTick - iFrom;
        };
        for (std::size_t i = IndexAt(events, iFrom); i < events.size() && events[i].mTick < iTo; ++i) {
            const Event& event = events[i];
            const bool isNote = event.IsNoteOn() || event.IsNoteOff();
            const Event* const partner = partners[i] == cNone ? nullptr : &events[partners[i]];
            if (event.IsEndOfTrack() || IsBefore(event, iFrom)) continue;
            if (event.IsNoteOff() && (partner == nullptr || partner->mTick < iFrom)) continue;
            copy(copied, event, event.mTick);
            if (!isNote || event.IsNoteOff() || (partner != nullptr && partner->mTick < iTo)) continue;
            copy(cut,
                 partner != nullptr ? *partner
                                    : Event::Channel(0x80 | (event.mStatus & 15), event.mFirst, 64),
                 iTo);
        }
        copied.insert(copied.end(), cut.begin(), cut.end());
    }
    return clip;
}

SMF_TimeEdit::Report SMF_TimeEdit::InsertClip(Cmn_Int64 iAt, const Clip& iClip, Cmn_Int64 iTimes)
{
    const ChasedState before = mTracks->StateAt(iAt);
    ChasedState anew, after = iClip.mState;
    for (std::size_t track = 0; track < iClip.mEvents.size(); ++track)
        for (Event event : iClip.mEvents[track]) {
            if (event.mTick == 0) anew.Apply(event, track);
            event.mTick += cBehindAll;
            after.Apply(event, track);
        }
    const std::vector<Placed> begin = before.StepsTo(iClip.mState, anew);
    const std::vector<Placed> again = after.StepsTo(iClip.mState, anew);
    const std::vector<Placed> end = after.StepsTo(before, mTracks->SetAt(iAt));
    const Cmn_Int64 length = iClip.mLength * iTimes;
    Report report;
    for (std::size_t track = 0; track < mTracks->mEvents.size(); ++track) {
        const Events& events = mTracks->mEvents[track];
        const std::vector<Cmn_UInt32> partners = PartnersIn(events);
        Events result, moved;
        for (std::size_t i = 0; i + 1 < events.size(); ++i) {
            const Event& event = events[i];
            // A note that ends exactly there ends there still.
            const bool isEndOfOne = event.mTick == iAt && event.IsNoteOff() && partners[i] != cNone &&
                                    events[partners[i]].mTick < iAt;
            (IsBefore(event, iAt) || isEndOfOne ? result : moved).push_back(event);
        }
        const std::size_t stayed = result.size();
        for (Cmn_Int64 i = 0; i < iTimes; ++i) {
            const Cmn_Int64 start = iAt + i * iClip.mLength;
            AppendPlaced(result, i == 0 ? begin : again, track, start);
            for (const Event& event : iClip.mEvents[track]) {
                result.push_back(event);
                result.back().mTick += start;
            }
        }
        AppendPlaced(result, end, track, iAt + length);
        report.mAdded += static_cast<Cmn_Int64>(result.size() - stayed);
        report.mMoved += static_cast<Cmn_Int64>(moved.size());
        const bool isRenumbered = result.size() > stayed;
        for (Event& event : moved) {
            event.mTick += length;
            result.push_back(event);
        }
        const Event& last = events.back();
        AppendEnd(result, last, last.mTick + (last.mTick >= iAt ? length : 0));
        for (std::size_t i = 0; isRenumbered && i < result.size(); ++i)
            result[i].mOrder = static_cast<Cmn_UInt32>(i);
        mTracks->mEvents[track] = std::move(result);
    }
    return report;
}
