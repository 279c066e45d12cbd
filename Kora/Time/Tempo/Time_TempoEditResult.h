// Time_TempoEditResult: whether a tempo edit was carried out, and if not why, and what
// is nearest that could be.
//
//     const Time_TempoEditResult result = Time_TempoEdit::LockToSample(map, tick, sample);
//     if (!result) …   // eReason_OutOfLimits: result.mNearest is the nearest sample for the tick
//                      // result.GetReasonText() is "it leads out of the limits"
//
// A refused edit has changed nothing and told nobody.
#pragma once

#include <cstddef>

struct Time_TempoEditResult
{
    // How an edit went: done, or why it was refused.
    enum EReason {
        eReason_Done = 0,
        eReason_EmptyRange = 1, // the range, the step, the list or the length is empty, or negative
        // mNearest: the tempo, factor, offset, length, sample, tick or count that stays within the limits;
        // not a number where none does.
        eReason_OutOfLimits = 2,
        eReason_Locked = 3, // a locked position would move; mNearest: the tick of the first one that would
        eReason_BeforeSongStart = 4, // mNearest: the song start's tick
        // Not behind the lock before, or not before the next; mNearest: the nearest sample.
        eReason_LockOrder = 5,
        eReason_NoLock = 6,       // no position is locked there, or it is the song start's
        eReason_TooManySteps = 7, // mNearest: how many there may be
        eReason_InsideRange = 8,  // a range is moved into itself; mNearest: its end that is nearer
        // No tempo of such beats is within the limits; mNearest: ticks of one that some are of.
        eReason_NoSuchBeat = 9
    };

    // An edit that changed something or had nothing to change.
    explicit operator bool() const { return mReason == eReason_Done; }

    // Why, as a text for users, such as "a locked position would move"; "done" of an edit that was.
    [[nodiscard]] constexpr const char* GetReasonText() const;
    // Whether mNearest says what would do.
    [[nodiscard]] constexpr bool HasNearest() const
    {
        return mReason != eReason_Done && mReason != eReason_EmptyRange && mReason != eReason_NoLock &&
               mNearest == mNearest;
    }

    EReason mReason = eReason_Done;
    double mNearest = 0;
    std::size_t mIndex = 0; // of the point in a list that was refused
};

constexpr const char* Time_TempoEditResult::GetReasonText() const
{
    switch (mReason) {
    case eReason_Done:
        return "done";
    case eReason_EmptyRange:
        return "the range or the length is empty";
    case eReason_OutOfLimits:
        return "it leads out of the limits";
    case eReason_Locked:
        return "a locked position would move";
    case eReason_BeforeSongStart:
        return "it is before the song's start";
    case eReason_LockOrder:
        return "it is not between the locks beside it";
    case eReason_NoLock:
        return "no position is locked there";
    case eReason_TooManySteps:
        return "there are too many steps";
    case eReason_InsideRange:
        return "a range is moved into itself";
    case eReason_NoSuchBeat:
        return "no tempo of such beats is within the limits";
    }
    return "";
}
