// FF_TOCPages: a table of contents that stays in its file: pages are read when
// something in them is asked for.
//
// A page is held against its sum, its records against the grammar and against the index, when it
// is read; nothing of it is handed out before. What is never asked for is never read:
// FF_DocumentCheck looks at all of it.
//
// Memory:  the index, and 16 bytes a page; pages that were read, up to cMostCached bytes of them, and a
//          quarter more for where their keys are.
// Throws:  every function Sys_StreamReadException with the place, where a page cannot be read or is damaged.
// Entries: numbers of keys, which ascend. They, and values' numbers, are the caller's to check.
// Ownership: the stream stays the caller's. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_CellMemory_p.h"
#include "Kora/FF/Document/FF_TOCTable_p.h"
#include "Kora/FF/Format/FF_TOCIndex_p.h"

#include <algorithm>
#include <array>

class Sys_FileBasedInStream;
struct Sys_StdStreamHeaderInfo;

class FF_TOCPages
{
public:
    static constexpr std::size_t cMostCached = std::size_t{32} << 20;

    // Of the table that ioStream stands at; pieces lie in [iBegin, iEnd). Null where it has no index, or is
    // none: reading all of it tells. The position stays.
    static std::unique_ptr<FF_TOCPages> Open(Sys_FileBasedInStream& ioStream, bool iSwap, Cmn_Int64 iBegin,
                                             Cmn_Int64 iEnd);

    Cmn_Int64 GetStart() const { return mStart; }
    Cmn_Int64 GetBegin() const { return mBegin; }
    Cmn_Int64 GetEnd() const { return mEnd; }
    bool IsSwapped() const { return mSwap; }
    Sys_FileBasedInStream& GetStream() const { return mStream; }

    std::size_t GetNumKeys() const { return mIndex.mNumKeys; }
    Cmn_Int64 GetSizeOfKeys() const { return mIndex.mSize; }
    Cmn_Int32 Find(std::span<const FF_Document::Context> iContexts);
    std::vector<FF_Document::Context> GetContexts(Cmn_Int32 iEntry);
    Cmn_UInt32 GetNumValues(Cmn_Int32 iEntry) { return Locate(static_cast<Cmn_UInt32>(iEntry)).mNumValues; }
    bool IsList(Cmn_Int32 iEntry);
    // The bytes of a value, little-endian, until the next call.
    std::span<const Cmn_UInt8> GetValue(Cmn_Int32 iEntry, Cmn_Int32 iValue);

private:
    static constexpr Cmn_UInt32 cNoEntry = 0xFFFFFFFF;
    static constexpr std::size_t cCountSize = 4; // of keys, contexts, values
    static constexpr std::size_t cContextSize = FF_Document::Context::cStreamSize;

    class Part;
    // A key that begins in a page: what a search asks of it stands together.
    struct Key
    {
        Cmn_UInt64 mPrefix = 0; // not of one that is cut
        Cmn_UInt32 mSize = 0;   // what of it is in the page
        Cmn_UInt16 mAt = 0;     // where it begins
        Cmn_UInt16 mRecord = 0; // its number among the records
    };
    struct Known
    {
        Cmn_UInt64 mPrefix = 0; // of its first key; 0 where it was not asked for
        Cmn_UInt32 mSlot = 0;   // its place in mPages from 1 on
    };
    // What it has lies side by side: a search that meets it out of every cache waits for few lines.
    struct Page
    {
        Cmn_UInt32 mNumber = 0;
        bool mIsLastCut = false; // the last record goes on in the next page
        bool mIsKeyCut = false;  // which is the last key
        std::span<const Key> mKeys;
        std::span<const Cmn_UInt16> mRecords; // where each begins
        std::span<const Cmn_UInt8> mBytes;
    };
    struct KeyPlace
    {
        Cmn_UInt32 mEntry = cNoEntry;
        Cmn_UInt32 mNumValues = 0;
        std::size_t mPage = 0;
        std::size_t mKey = 0; // of those that begin in the page
    };
    // A key that was found lately, so that who asks for it again, as readers of lists do, pays for no search.
    struct Found
    {
        Cmn_UInt64 mPrefix = 0;
        std::vector<Cmn_UInt64> mRanks;
        KeyPlace mPlace;
    };
    // Pages that begin with keys of one stream type, the first and the last of those that are known.
    struct Run
    {
        Cmn_UInt64 mFirstPrefix = 0; // of none, 0
        Cmn_UInt64 mLastPrefix = 0;
        std::size_t mFirst = 0;
        std::size_t mLast = 0;

        std::size_t Guess(Cmn_UInt64 iPrefix) const;
        void Take(std::size_t iPage, Cmn_UInt64 iPrefix);
    };

    FF_TOCPages(Sys_FileBasedInStream& ioStream, bool iSwap);

    [[noreturn]] void Refuse(Cmn_Int64 iAt) const;
    // Until the next call; iKeep stays beside it.
    const Page& Load(std::size_t iPage, const Page* iKeep = nullptr)
    {
        const Cmn_UInt32 slot = mKnown[iPage].mSlot;
        return slot != 0 ? mPages[slot - 1] : Read(iPage, iKeep);
    }
    const Page& Read(std::size_t iPage, const Page* iKeep);
    void TakeOver(Page& ioPage, std::size_t iSlot);
    std::size_t MostPages() const { return std::max<std::size_t>(cMostCached / mIndex.mPageSize, 4); }
    void Decode(Page& ioPage);
    void TakeRecords(Page& ioPage);
    std::span<const Cmn_UInt8> TakeKey(Part& ioPart, std::span<const Cmn_UInt8> iBefore,
                                       Cmn_UInt32& oNumValues) const;

    // The bytes of a record of the page; of one that is cut, all of them, put together, until the next call.
    std::span<const Cmn_UInt8> RecordAt(const Page& iPage, std::size_t iRecord);
    std::span<const Cmn_UInt8> CutRecordAt(const Page& iPage, std::size_t iBegin);
    std::span<const Cmn_UInt8> KeyAt(const Page& iPage, std::size_t iKey)
    {
        const Key& key = iPage.mKeys[iKey];
        if (iPage.mIsKeyCut && iKey + 1 == iPage.mKeys.size()) return CutRecordAt(iPage, key.mAt);
        return {iPage.mBytes.data() + key.mAt, key.mSize};
    }
    static Cmn_UInt64 RankOf(const FF_Document::Context& iContext)
    {
        return FF_TOCTable::Context(iContext.GetStreamType(), 0, false, iContext.GetListIndex()).GetRank();
    }
    // What tells most keys apart: the type and the item of the outermost context, the type of the
    // next. Ascends as keys do.
    template <class GetRank>
    static Cmn_UInt64 PrefixOf(std::size_t iNumContexts, const GetRank& iGetRank)
    {
        const Cmn_UInt64 first = iNumContexts == 0 ? 0 : iGetRank(0);
        const Cmn_UInt64 second = iNumContexts <= 1 ? 0 : iGetRank(1) >> 32;
        return first << 16 | second;
    }
    FF_TOCTable::Context ContextAt(const Cmn_UInt8* iAt) const;
    std::size_t CountContexts(std::span<const Cmn_UInt8> iKey) const;
    Cmn_UInt64 PrefixAt(std::span<const Cmn_UInt8> iKey) const;
    Cmn_UInt64 RankAt(std::span<const Cmn_UInt8> iKey, std::size_t iContext) const;
    bool IsLess(std::span<const Cmn_UInt8> iA, std::span<const Cmn_UInt8> iB) const;
    std::strong_ordering Compare(std::span<const Cmn_UInt8> iKey,
                                 std::span<const FF_Document::Context> iContexts) const;

    Cmn_UInt64 GetPrefix(std::size_t iPage);
    std::span<const Cmn_UInt8> FirstKeyFrom(std::size_t iPage);
    bool BeginsBehind(std::size_t iPage, std::span<const FF_Document::Context> iContexts, Cmn_UInt64 iPrefix);
    std::size_t FindPage(std::span<const FF_Document::Context> iContexts, Cmn_UInt64 iPrefix);
    bool FindLately(std::span<const FF_Document::Context> iContexts, Cmn_UInt64 iPrefix);
    std::size_t GuessKey(const Page& iPage, Cmn_UInt64 iPrefix, std::size_t iCount) const;
    std::pair<std::size_t, std::size_t> FindPrefix(const Page& iPage, Cmn_UInt64 iPrefix) const;
    std::size_t FindKey(const Page& iPage, std::span<const FF_Document::Context> iContexts,
                        Cmn_UInt64 iPrefix);
    const KeyPlace& Locate(Cmn_UInt32 iEntry);
    const KeyPlace& Remember(const Page& iPage, std::size_t iKey);
    std::span<const Cmn_UInt8> RawValue(Cmn_UInt32 iEntry, Cmn_UInt32 iValue);

    Sys_FileBasedInStream& mStream;
    Sys_TypedInStream mTyped; // over it, for what is told of it
    bool mSwap;
    Cmn_Int64 mStart = 0; // of the table's header
    Cmn_Int64 mBody = 0;  // of the keys, from their count on
    Cmn_Int64 mBegin = 0;
    Cmn_Int64 mEnd = 0;
    FF_TOCIndex mIndex;
    std::vector<Known> mKnown; // of each page
    std::vector<Page> mPages;  // never moved
    // Of each of them a cell, and for what is larger memory of its own.
    std::unique_ptr<Sys_CellMemory> mMemory;
    std::vector<Key*> mCells;
    std::vector<std::unique_ptr<Key[]>> mLarger;
    std::size_t mNextSlot = 0;
    std::array<Run, 4> mRuns; // each type has its place
    std::array<Found, 4> mFound;
    std::size_t mNextFound = 0;
    KeyPlace mPlace;              // of the key that was asked for last
    std::vector<Cmn_UInt8> mRead; // a page on its way in
    std::vector<Key> mReadKeys;
    std::vector<Cmn_UInt16> mReadRecords;
    std::vector<Cmn_UInt8> mCut;     // a record that was put together
    std::vector<Cmn_UInt8> mSwapped; // a value in the other byte order
};
