// Time_TempoMapCache: the numeric map that a tempo map answers from, and what its upkeep knows of the
// segments.
//
//   segments   the map's own    | A  | B      | C | D          |
//   notes      one for each     | L  |        | P |            |   what a rebuild asks, side by side
//   numeric    Update           |----|--------|---|---------- →
//
// Units:      ticks, 960000 to a quarter note; samples at the numeric map's rate.
// Invariants: (1) between edits there is one note for each segment, and the counts are those of the notes
//             (2) after Update the numeric map has the bits of one that is generated from nothing.
// Edits:      the map edits its segments and says so here, in the same order. Reserve makes room; what is
//             within it throws nothing.
// Threads:    the document's thread; other threads read the numeric map while they hold the map's read lock.
// Ownership:  the segments stay the map's, which outlives its cache.
#pragma once

#include "Kora/Time/Numeric/Time_SharedRowTaker_p.h"
#include "Kora/Time/Tempo/Time_ConstantTempoValue_p.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"

class Time_TempoMapCache
{
public:
    using Segments = Time_TempoMap::Segments;
    using RowTaker = Time_SharedRowTaker<Time_ConstantTempoValue>;
    using Row = RowTaker::Row;
    using RowP = RowTaker::RowP;
    using Places = std::vector<Cmn_Int64>; // where in a stream each segment begins

    // What is known of a segment without touching it.
    enum ENote : Cmn_UInt8 {
        eNote_Locked = 1,
        eNote_Computed = 2,
        eNote_Unspecified = 4,
        eNote_Pins = eNote_Locked | eNote_Computed | eNote_Unspecified, // its start does not just follow
        eNote_SongStart = 8,
        eNote_Forward = 16 // the last rebuild generated it forward
    };
    static Cmn_UInt8 NotesOf(const Time_TempoMapSegment& iSegment);

    Time_TempoMapCache(const Segments& iSegments, double iSampleRate);

    // --- Edits

    void Reserve(std::size_t iCount);
    // A segment that starts at iStart was put in the place of the one at iIndex, or before that one.
    void Replaced(std::size_t iIndex, Time_Tick iStart, Cmn_UInt8 iNotes);
    void Inserted(std::size_t iIndex, Time_Tick iStart, Cmn_UInt8 iNotes);
    // Before these are put before the segment at iIndex.
    void InsertMany(std::size_t iIndex, const std::vector<std::unique_ptr<Time_TempoMapSegment>>& iSegments);
    // Before the segments from iFirst up to iLast go.
    void Erase(std::size_t iFirst, std::size_t iLast);
    // All segments are others.
    void SetAll();
    // All segments are those that were another cache's, with what that knows of them.
    void TakeAll(Time_TempoMapCache& ioOther);
    void SetSampleRate(double iSampleRate);
    // For an edit that puts segments in between many: takes the notes from iFirst on away; then they are
    // given back, in turn with those Inserted at the end.
    std::vector<Cmn_UInt8> TakeNotes(std::size_t iFirst);
    void GiveBack(Cmn_UInt8 iNotes) { mNotes.push_back(iNotes); }

    // Brings the numeric map up to date; false, and nothing is done, while that runs already.
    bool Update();
    // Throws Sys_StreamReadException with the segment's place where an update would assert.
    void TryOut(const Places& iPlaces);

    // --- Snapshots

    // The segments as they are.
    RowP TakeRow();
    // They were made those of a row.
    void SetTaker(RowTaker iTaker) { mTaker = std::move(iTaker); }

    // --- Queries: of the segments as they are

    const Time_TempoMapSegment* SegmentOrNull(std::size_t iIndex) const;
    // The first segment that starts at iTick or later, and the first one after it.
    std::size_t LowerBound(Time_Tick iTick) const;
    std::size_t UpperBound(Time_Tick iTick) const;
    std::size_t FindSongStart() const; // the number of segments if there is none
    std::size_t GetLockedCount() const { return mLockedCount; }
    // A segment without a tempo of its own goes on at the tempo before it; at the map's start it has the next
    // one's.
    void EffectiveTempo(std::size_t iIndex, double& oBeatsPerMinute, Time_TickLength& oTicksPerBeat) const;
    bool ValidateSegments() const;

    // --- Queries: of the last update

    const Time_BasicTempoMap& GetBasicMap() const { return mBasicMap; }
    Time_Tick GetSongStartTick() const { return mSongStartTick; }
    Time_Sample GetSongStartSample() const { return mSongStartSample; }
    Time_Tick GetSessionStartTick() const { return mSessionStartTick; }
    bool AllAreLocked() const { return mAllAreLocked; }
    bool FewerThanTwoAreLocked() const { return mFewerThanTwoAreLocked; }

private:
    // What was edited since the last update.
    struct Changes
    {
        bool mEverything = true;
        bool mNothing = false;
        bool mPins = false;
        Time_Tick mFirst, mLast;
    };
    class StUpdating;

    void Changed(Time_Tick iStartTick, unsigned iNotes);
    void Count(Cmn_UInt8 iNotes);

    // The rebuild (Time_TempoMapCacheRebuild.cpp). Indices are those of segments.
    void RebuildAll();
    bool RebuildChanged(const Changes& iChanges);
    std::size_t Generate(Time_BasicTempoMap& ioMap, std::size_t iIndex);
    void GenerateFirstFromFallback(Time_BasicTempoMap& ioMap);
    std::unique_ptr<Time_TempoMapSegment> DerivedLender();
    std::size_t NextLocked(std::size_t iIndex) const;
    std::size_t ComputeBackwardsTo(Time_BasicTempoMap& ioMap, std::size_t iFrom);
    void ComputeBackwardsCore(Time_BasicTempoMap& ioMap, std::size_t iFrom, std::size_t iTarget);
    void LayOutBackwards(Time_BasicTempoMap& ioMap, std::size_t iFrom, Time_Tick& ioEndTick,
                         double& ioEndSample);
    void GenerateBackward(Time_BasicTempoMap& ioMap, const Time_TempoMapSegment& iSegment, std::size_t iIndex,
                          double iEndSample, Time_Tick iEndTick);
    void RefuseWhatWasRead(std::size_t iIndex, const char* iExpected) const;
    std::size_t LastForwardBefore(std::size_t iIndex) const;
    std::size_t FirstPinFrom(std::size_t iIndex) const;
    bool HoldsAgainst(std::size_t iPin) const;
    void CacheSongStart();

    const Segments& mSegments;
    std::vector<Cmn_UInt8> mNotes; // one for each segment
    std::size_t mLockedCount = 0;
    std::size_t mSongStartCount = 0;
    Changes mChanges;
    RowTaker mTaker;

    Time_BasicTempoMap mBasicMap;
    bool mIsRegular = false; // its segments stand in the order in which they were generated
    bool mIsUpdating = false;
    Time_Tick mSongStartTick = Time_TempoMap::cDefaultSongStartTick;
    Time_Sample mSongStartSample;
    Time_Tick mSessionStartTick = Time_TempoMap::cDefaultSongStartTick;
    bool mFewerThanTwoAreLocked = true;
    bool mAllAreLocked = true;
    const Places* mTriedPlaces = nullptr; // while it tries out what was read
};
