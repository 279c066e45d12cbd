// Time_TempoMap: a document's tempo map: the tempo segments along the tick line, and every answer about which
// sample a tick falls on and which tick a sample.
//
//   segments   |  120 bpm   |  90 bpm, computed    | 140 bpm →
//   tick       T0 = 10^12   T1                     T2
//   sample     locked 0     follows                locked 480000
//
// Units:      ticks, 960000 to a quarter note; samples at GetSampleRate(). Ranges are [start, end).
// Invariants: (1) segments ascend by start tick, at most one a tick  (2) while the numeric cache is out of
//             date, the editing thread holds the read lock.
// Edits:      each edit brackets itself by BeginEdit and EndEdit, and the outermost EndEdit rebuilds the
//             cache and broadcasts. An edit that changes nothing, such as erasing an empty range, does
//             neither, and gives undo no notice. A rebuild starts at the last segment generated forward at or
//             before the first change and gives the bits of a full one.
// Threads:    everything belongs to the thread that made the map, but for this: another thread that holds the
//             read lock (TryToAcquireReadLock) may ask all queries, here or through GetBasicTempoMap.
// Real time:  with the read lock held, conversions allocate nothing, lock nothing and throw nothing.
// Ownership:  owns its segments; receivers in its listener list stay the caller's.
// Copies:     take segments and sample rate. A copy is not undoable and has no listeners; assignment keeps
//             the target's identity, edit bracket and listeners.
#pragma once

#include "Bastel/Cmn/Cmn_PolyVector.h"
#include "Export/Kora_API.h"
#include "Kora/Cnn/Cnn_ListenerList.h"
#include "Kora/Cnn/Mdl_SimpleValMessage.h"
#include "Kora/Ndo/Ndo_Object.h"
#include "Kora/Time/Tempo/Time_BasicTempoMap.h"
#include "Kora/Time/Tempo/Time_TempoMapSegment.h"
#include "Kora/Time/Values/Time_SongDefaults.h"

#include <memory>
#include <string>
#include <vector>

class IPSSyncPrim;
class Time_TempoMapCache;
class Time_TempoLimits;
struct Time_SampleTransform;

// Not in the exported class, so that every module has them as constants of its own.
struct Time_TempoMapDefaults : Time_DefaultSongStart
{
    // What an empty map gives: 120 quarters a minute.
    static constexpr double cFallbackBeatsPerMinute = Time_DefaultTempo::cDefaultBeatsPerMinute;
    // The beat that cFallbackBeatsPerMinute counts.
    static constexpr Time_TickLength cFallbackTicksPerBeat = Time_DefaultTempo::cDefaultTicksPerBeat;
};

class KORA_API Time_TempoMap : public Ndo_Object, public Time_TempoMapDefaults
{
public:
    // Read-only inside the map; see Time_TempoMapSegment.
    using Segments = Cmn_PolyVector<std::unique_ptr<const Time_TempoMapSegment>>;
    // Goes through the segments by ascending start.
    using SegmentIter = Segments::const_iterator;

    // No segments; the sample rate is Time_Globals::GetPullSampleRate(). Until its first query or edit the
    // map counts as out of date, and other threads do not get its read lock.
    explicit Time_TempoMap(EUndoFlag iUndoFlag = kNoUndo);
    Time_TempoMap(const Time_TempoMap& iOther);
    Time_TempoMap& operator=(const Time_TempoMap& iOther);
    ~Time_TempoMap() override;

    // One map that lives until the process ends, handed out with its cache built.
    static Time_TempoMap* GetDefaultTempoMap();

    // --- Edits

    // Within a bracket segments may be added in any order, at the cost of sorting them: those that do not
    // follow in order are collected, and take their places, one after the other as they came, at the next
    // query or other edit. Iterators hold until then.
    void BeginEdit() { ++mEditCount; }
    // Each call gives the map a new edit identifier; the outermost one rebuilds the cache and broadcasts.
    // Asserts "mEditCount > 0" when no edit is open. Where memory runs out, the cache stays out of date: the
    // next query rebuilds it, or throws std::bad_alloc.
    void EndEdit();
    Cmn_Int32 GetEditCount() const { return mEditCount; }
    // A number that no map had before, new after each EndEdit: tells cheaply whether the
    // map was edited meanwhile.
    Cmn_Int32 GetUniqueEditIdentifier() const { return mUniqueEditIdentifier; }

    // Takes the place of a segment at the same tick, which is destroyed (at the latest when the outermost
    // edit ends). Null asserts "0 != iSegmentP.get()". A segment with a tempo of its own that is not above 0,
    // or infinite, asserts "iBeatsPerMinute > 0" and is not taken.
    void AddSegment(std::unique_ptr<Time_TempoMapSegment> iSegmentP);
    // The end asserts "iter != mSegments.end()".
    void DeleteSegment(SegmentIter iter);
    // Those that start in [iStart, iEnd).
    void EraseSegments(Time_Tick iStart, Time_Tick iEnd);
    // Segments locked to a sample in the range.
    void EraseLockedSegmentsBySample(Time_Sample iStart, Time_Sample iEnd);
    // The segments of [iStart, iEnd) go and these come, as one edit. They ascend by start ticks within the
    // range, or assert "segments ascend within the range" and nothing is changed.
    void ReplaceSegments(Time_Tick iStart, Time_Tick iEnd,
                         std::vector<std::unique_ptr<Time_TempoMapSegment>> iSegments);
    // Makes the first locked segment the song start, or where none is locked, one at cDefaultSongStartTick,
    // locked to the sample that it falls on. Nothing if there is a song start.
    void EnsureSongStart();
    // The segment at iTick is the song start: locked, to the sample that it falls on where it is not
    // yet, and the only one that is marked. Nothing if that is so; asserts "iter != mSegments.end()"
    // where no segment starts.
    void SongStartWasAdded(Time_Tick iTick);
    // No segments; the sample rate stays.
    void Clear();
    // Copies iOther's segments; the sample rate stays. Nothing for the map itself.
    void ReplaceWith(const Time_TempoMap& iOther);
    // Takes iOther's segments themselves, which has none then: an edit of both.
    void ReplaceWith(Time_TempoMap&& ioOther);
    // Not undoable.
    void SetSampleRate(double iSampleRate);
    // Moves all locked samples, as a session does whose rate or origin changes; free segments keep their
    // tempi. With a new rate both go into one bracket, so that nothing is laid out in between. One edit,
    // nothing where nothing moves. Asserts "locks ascend", and changes nothing, where two locks would meet or
    // the scale is not above 0.
    void TransformSamples(const Time_SampleTransform& iTransform);
    // Moves all segments by ticks and their locks by samples, as one edit. Without a lock sample 0 stays at
    // cDefaultSongStartTick.
    void Offset(const Time_TickLength& iTicks, Time_SampleLength iSamples);

    // --- Stretches from one lock to the next: one segment in each is computed, so that it ends at the right
    // sample. These are one edit each, and nothing where all is so.

    // Nothing that starts in [iStart, iEnd) is computed any more; what was keeps the tempo that was found for
    // it, or where none could be, has the fallback tempo.
    void ClearComputedFlagsInRange(Time_Tick iStart, Time_Tick iEnd);
    // Of what starts in the range the first computed segment stays that; where there is
    // none, the longest becomes it.
    void EnsureExactlyOneComputedSegmentInRange(Time_Tick iStart, Time_Tick iEnd);
    // Around iTick, from the lock at or before it up to the next one, exactly one segment is computed; none
    // where there is no lock to one side.
    void FixUpComputedFlagsAroundTick(Time_Tick iTick);
    // The same for all such stretches that reach into the range; their tempi are found.
    void RecomputeBetweenIDBs(Time_Tick iStart, Time_Tick iEnd);
    // Whether all stretches are so and end behind their start; asserts "exactly one computed segment between
    // two locks" and "locks ascend", each where it is broken first.
    bool ValidateBetweenIDBs() const;

    // --- Segments

    // The first segment, or SegmentEnd.
    SegmentIter SegmentBegin() const { return Settled().mSegments.begin(); }
    // Behind the last segment.
    SegmentIter SegmentEnd() const { return Settled().mSegments.end(); }
    std::size_t GetNumberOfSegments() const { return Settled().mSegments.size(); }
    // The segment that starts at iTick, or the end.
    [[nodiscard]] SegmentIter FindSegment(Time_Tick iTick) const;
    // The last segment that starts at or before iTick, or the first; the end of an empty map.
    [[nodiscard]] SegmentIter FindControllingSegment(Time_Tick iTick) const;
    // The first segment whose start falls on the sample, or the end.
    [[nodiscard]] SegmentIter FindSegmentBySample(Time_Sample iSample) const;
    // The first segment marked as song start, or the end.
    [[nodiscard]] SegmentIter FindSongStart() const;
    // Whether fewer segments than that are locked to samples.
    bool IsNumberOfLockedSegmentsLessThan(std::size_t iCount) const;
    // The tempo in force at a tick; an empty map gives the fallback tempo.
    void GetTempoAtTick(double& oBeatsPerMinute, Time_TickLength& oTicksPerBeat, Time_Tick iTick) const;
    // The greatest and the least tempo in force in [iStart, iEnd), or at iStart where that is empty,
    // in beats of iTicksPerBeat.
    void GetMaxMinBPM(double& oMax, double& oMin, const Time_TickLength& iTicksPerBeat, Time_Tick iStart,
                      Time_Tick iEnd) const;
    // How many samples [iStart, iEnd) may last when all its tempi are scaled by one factor that keeps them
    // within the limits; oMin is above oMax where none does.
    void GetLengthConstraintsForRange(double& oMin, double& oMax, Time_Tick iStart, Time_Tick iEnd,
                                      const Time_TempoLimits& iLimits) const;
    // The sample that the last valid tick falls on, or the last valid one where that is before it.
    Time_Sample GetMaxSample() const;

    // Of the song-start segment: its tick, its locked sample, and the tick at sample 0. Without one
    // cDefaultSongStartTick, 0 and cDefaultSongStartTick.
    Time_Tick GetSongStartTick() const;
    Time_Sample GetSongStartSample() const;
    Time_Tick GetSessionStartTick() const;
    // No segment is free.
    bool IsAllIDB() const;
    // At most one segment is locked, so nothing is stretched between two samples.
    bool IsAllChanges() const;

    // --- Conversions
    // Each is that of Time_BasicTempoMap, where it is described.

    const Time_BasicTempoMap& GetBasicTempoMap() const;
    double GetSampleRate() const;
    double GetMinTicksPerSample() const;
    double GetMaxTicksPerSample() const;

    Time_Sample TickToSample(Time_Tick iTick, bool iClamp = true) const KORA_NONBLOCKING;
    Time_Tick SampleToTick(Time_Sample iSample) const KORA_NONBLOCKING;
    Time_Sample TickToFirstSample(Time_Tick iTick) const KORA_NONBLOCKING;
    Time_Tick SampleToFirstTick(Time_Sample iSample) const KORA_NONBLOCKING;
    Time_Sample NextTickToSample(Time_Tick iTick, bool iClamp, std::size_t& ioSegment) const KORA_NONBLOCKING;
    Time_Tick NextSampleToTick(Time_Sample iSample, std::size_t& ioSegment) const KORA_NONBLOCKING;
    Time_Sample NextTickToFirstSample(Time_Tick iTick, std::size_t& ioSegment) const KORA_NONBLOCKING;
    Time_Tick NextSampleToFirstTick(Time_Sample iSample, std::size_t& ioSegment) const KORA_NONBLOCKING;
    Time_Sample TickToSampleBasedOnReferenceTempoAtTick(Time_Tick iTick, Time_Tick iReference,
                                                        bool iClamp = true) const KORA_NONBLOCKING;
    Time_Tick SampleToTickBasedOnReferenceTempoAtTick(Time_Sample iSample,
                                                      Time_Tick iReference) const KORA_NONBLOCKING;
    Time_Tick SampleToTickBasedOnReferenceTempoAtSample(Time_Sample iSample,
                                                        Time_Sample iReference) const KORA_NONBLOCKING;

    // --- Conversions of typed times
    // Each clamps samples. Frames, on either side, assert "time_type_mismatch": the scalar forms then give 0,
    // the others their argument.

    Time_Sample TimeTypedToSample(const Time_Typed& iTime) const KORA_NONBLOCKING;
    Time_Tick TimeTypedToTick(const Time_Typed& iTime) const KORA_NONBLOCKING;
    Time_Typed TimeTypedToSpecifiedType(const Time_Typed& iTime, Time_EType iType) const KORA_NONBLOCKING;
    Time_Typed SampleToSpecifiedType(Time_Sample iSample, Time_EType iType) const KORA_NONBLOCKING;
    Time_Typed TickToSpecifiedType(Time_Tick iTick, Time_EType iType) const KORA_NONBLOCKING;
    void TimesToType(Time_TypedVector* ioTimes, Time_EType iType) const KORA_NONBLOCKING;

    // --- Other threads, listeners

    // Never waits. True when the caller holds the lock and the cache is up to date; false while an
    // edit has put it out of date, for the editing thread too. Pair each success with a
    // ReleaseReadLock on the same thread.
    [[nodiscard]] bool TryToAcquireReadLock() const KORA_NONBLOCKING;
    // On the thread that got it. A thread that waits to edit goes on.
    void ReleaseReadLock() const KORA_NONBLOCKING;
    Cnn_ListenerList<Mdl_SimpleValMessage>& GetListenerList() { return mListeners; }

    // Rebuilds the numeric cache if it is out of date, and leaves the read lock then.
    // Every query does so first.
    void UpdateBasicMapIfNeeded() const;

    // --- Undo and persistence

    // A state shares with the one before what did not change in between. To restore it is an edit of
    // what differs, with the bits of a full rebuild; out of memory, it throws std::bad_alloc and
    // leaves the map as it was.
    Ndo_State* NdoGetState() override;
    void NdoRestoreState(Ndo_State* iStateP) override;

    // A header "TempoMap", version 1, with the count of segments (32 bits) and each segment in its own form,
    // by ascending start ticks. The sample rate is the session's and no part of it.
    void StreamOut(Sys_TypedOutStream& ioStream) const;
    // Replaces the segments; an edit without an undo notice. Takes segments of the layout before too. Throws
    // Sys_StreamReadException, and leaves the map as it was, for bytes that no writer writes: ticks that do
    // not ascend, more segments than bytes can hold, tempi or beats of the segments' own that are not above
    // 0. So it does for segments that could not be laid out without an assertion: a song start that is not
    // locked, a computed segment with no locked one behind it, or one that would end at or before its start.
    // Where a computed segment ends may depend on the sample rate: set the session's first.
    void StreamIn(Sys_TypedInStream& ioStream);
    // How many bytes StreamOut writes.
    Cmn_Int64 GetSerialSize() const;
    // <TempoMap> <nSegmentCount/> <Segments> … </Segments> </TempoMap>
    Cmn_XMLNode GetAsXML() const;
    // The segments, then the numeric cache.
    [[nodiscard]] std::string Dump() const;

    // Asserts what a finished map's segments keep: live, ascending, none of an older layout. Debug builds
    // do so after each rebuild.
    bool ValidateSegs() const;

private:
    using Places = std::vector<Cmn_Int64>; // where in a stream each segment begins

    const Time_TempoMapCache& Clean() const
    {
        if (mIsDirty) UpdateBasicMapIfNeeded();
        return *mCache;
    }
    // While segments are collected the map is out of date, so that other threads hold no read lock.
    const Time_TempoMap& Settled() const
    {
        if (!mAdded.empty()) SettleAdded();
        return *this;
    }
    void SettleAdded() const;
    void MakeRoom(std::size_t iCount) const;
    void PutSegment(std::size_t iIndex, std::unique_ptr<const Time_TempoMapSegment> iSegmentP,
                    Time_Tick iStart, Cmn_UInt8 iNotes) const;
    void DirtyBasicMap();
    void RemoveSegments(std::size_t iFirst, std::size_t iLast);
    void PutInPlace(std::size_t iFirst, std::size_t iLast,
                    std::vector<std::unique_ptr<Time_TempoMapSegment>> iSegments);
    void SetSegments(Segments iSegments);
    Segments CloneSegments() const;

    std::size_t IndexOf(SegmentIter iter) const { return static_cast<std::size_t>(iter - mSegments.begin()); }
    SegmentIter IterAt(std::size_t iIndex) const
    {
        return mSegments.begin() + static_cast<std::ptrdiff_t>(iIndex);
    }

    Segments ReadTriedOut(Sys_TypedInStream& ioStream) const;
    static Segments ReadSegments(Sys_TypedInStream& ioStream, Places& oPlaces);
    Segments TriedOut(Segments iSegments, const Places& iPlaces) const;

    static Time_TempoMap* spDefaultTempoMap;
    static Cmn_Int32 sUniqueEditIdentifier; // touched by the model thread only

    mutable bool mIsDirty = true; // written while the read lock is held
    mutable Segments mSegments;
    mutable Segments mAdded; // collected in the order in which they came
    std::unique_ptr<Time_TempoMapCache> mCache;
    Cmn_Int32 mEditCount = 0;
    Cmn_Int32 mUniqueEditIdentifier;
    std::unique_ptr<IPSSyncPrim> mReadLock;
    Cnn_ListenerList<Mdl_SimpleValMessage> mListeners;
};
