// SMF_Track: the events of one track, kept as the file's own bytes and decoded as they are visited.
//
//     for (const SMF_Event& event : track)
//         if (event.IsChannel() && (event.mStatus & 0xF0) == 0x90) …
//
// Invariants: (1) the bytes are whole, sound events, of which the last and only the last is an end-of-track
//             event (2) GetEventCount() and GetEndTick() are theirs.
// Cost:       memory is the bytes of the file, about 4 an event. Visiting allocates and throws nothing.
// Ownership:  a value whose bytes never change. Copies share them, as do the tracks of one file that was
//             read: they stay until the last of those tracks is gone.
// Threads:    several may read one track, and copies of it anywhere.
#pragma once

#include "Export/Kora_API.h"
#include "Kora/SMF/SMF_Event.h"

#include <iterator>
#include <memory>
#include <string>

class KORA_API SMF_Track
{
public:
    class Iterator;

    // Nothing but its end at tick 0.
    SMF_Track();

    Iterator begin() const;
    std::default_sentinel_t end() const { return {}; }

    // The end-of-track event included.
    Cmn_Int64 GetEventCount() const { return mEventCount; }
    // Where the end-of-track event lies, in file ticks: no event lies behind it.
    Cmn_Int64 GetEndTick() const { return mEndTick; }
    // The body of the track's chunk, and where an event's status or, under running
    // status, its data begins in it.
    std::string_view GetBytes() const { return mBytes; }
    // Of an event that a walk over this track is at, or was.
    Cmn_Int64 OffsetOf(const SMF_Event& iEvent) const
    {
        return iEvent.mBytes.data() + iEvent.mDeltaSize - mBytes.data();
    }

    // The same bytes.
    bool operator==(const SMF_Track& iOther) const { return mBytes == iOther.mBytes; }

private:
    friend class SMF_Reader;
    friend class SMF_TrackBuilder;

    // iOwner keeps the bytes.
    SMF_Track(std::shared_ptr<const void> iOwner, std::string_view iBytes, Cmn_Int64 iEventCount,
              Cmn_Int64 iEndTick);

    std::shared_ptr<const void> mOwner; // null for a track that is empty
    std::string_view mBytes;
    Cmn_Int64 mEventCount = 1;
    Cmn_Int64 mEndTick = 0;
};

// A forward walk. What it points at is its own: a copy of the event stays good as long as the track.
class SMF_Track::Iterator
{
public:
    // At the first event of a track's bytes, which are whole and sound.
    explicit Iterator(std::string_view iBytes)
        : mNext(iBytes.data())
        , mEnd(mNext + iBytes.size())
        , mLastPlain(iBytes.size() < cLookedAt ? mNext - 1 : mEnd - cLookedAt)
    {
        ++*this;
    }

    const SMF_Event& operator*() const { return mEvent; }
    const SMF_Event* operator->() const { return &mEvent; }
    Iterator& operator++();
    bool operator==(std::default_sentinel_t) const { return mIsPastEnd; }

private:
    static constexpr std::size_t cLookedAt = 8;

    // One event further, whatever it is. A copy goes there, so that the one that walks stays in registers.
    KORA_API static Iterator BehindAny(Iterator iFrom);
    void ReadAny();

    SMF_Event mEvent;
    const char* mNext;
    const char* mEnd;
    const char* mLastPlain; // where as many bytes as are looked at at once are left
    bool mIsPastEnd = false;
};

inline SMF_Track::Iterator SMF_Track::begin() const { return Iterator(mBytes); }

// Checks nothing: the track's invariant says that the bytes are sound. Behind all others comes the
// end-of-track event. The next event waits for this one's size, and so that is found from top bits alone: of
// the first three bytes they are the delta time's, if it takes two, and the status's, if it is there.
inline SMF_Track::Iterator& SMF_Track::Iterator::operator++()
{
    if (mNext > mLastPlain) [[unlikely]]
        return *this = BehindAny(*this);
    const Cmn_UInt64 bytes = SMF_Event::EightBytesAt(mNext);
    const auto low = static_cast<Cmn_UInt32>(bytes);
    const Cmn_UInt32 isLong = low >> 7 & 1, hasStatus = (low >> 15 & 1) + (low >> 23 & 1);
    const Cmn_UInt32 second = low >> 8 & 0xFF & (0 - isLong);
    const auto given = static_cast<Cmn_UInt32>(bytes >> 8 >> (8 * isLong)) & 0xFF & (0 - hasStatus);
    const Cmn_UInt32 status = given | (mEvent.mStatus & (hasStatus - 1));
    // Of a channel with two data bytes, behind a delta time that is over.
    constexpr Cmn_UInt32 cKinds = 1 << 8 | 1 << 9 | 1 << 10 | 1 << 11 | 1 << 14;
    if ((cKinds >> (status >> 4) & 1) == 0 || second >= 0x80) [[unlikely]]
        return *this = BehindAny(*this);
    const char* const start = mNext;
    mNext = start + 3 + isLong + hasStatus;
    mEvent.mTick += (low & 0x7F) << (7 * isLong) | second;
    mEvent.mDeltaSize = static_cast<Cmn_UInt8>(1 + isLong);
    mEvent.mIsRunning = hasStatus == 0;
    mEvent.mStatus = static_cast<Cmn_UInt8>(status);
    mEvent.mMetaType = 0;
    mEvent.mData = {mNext - 2, 2};
    mEvent.mBytes = {start, static_cast<std::size_t>(mNext - start)};
    return *this;
}
