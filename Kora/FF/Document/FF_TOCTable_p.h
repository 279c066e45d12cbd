// FF_TOCTable: the content of a table of contents as one flat table.
//
//   keys       {record, contexts, first value, count, room}       one a key, in the
//              order of their being added
//   records    contexts as on disk, little-endian, in the order   behind a key's contexts its value, while
//              of the keys                                        that is the only one: it is at home there
//   values     {begin, size, room}                                a key's stand together, but for one that is
//              at home; behind them room for more
//   arena      bytes of the values as on disk, little-endian      behind a value's bytes room for more pieces
//   slots      {tag, entry + 1}                                   open addressing, a power of two,
//              four fifths full at most
//
// Keys that are added in ascending order, and asked for as long as they are the last or were asked for just
// before, need no slots: they are made when a key is first asked for out of turn.
//
// What outgrows its room moves to the end with twice the room, so that adding costs O(1) amortised whichever
// key or value it concerns, and what moves leave behind is no more than what is in use.
//
// Invariants: (1) no two keys have the same ranks  (2) every value's bytes are such as
//             FF_TOCCursor::SkipValue passes over, its pieces not above mHighestOffset  (3) mKeyBytes and
//             mValueBytes are what the keys and values take on disk  (4) the first mAscending keys ascend
//             (5) a value that is at home is local and has one piece.
// Entries:    indexes of keys. They, and values' indexes, are the caller's to check.
#pragma once

#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Format/FF_TOCArray_p.h"
#include "Kora/FF/Format/FF_TOCBytes_p.h"
#include "Kora/FF/Format/FF_TOCIndex_p.h"

#include <algorithm>
#include <array>

class FF_TOCTable
{
public:
    // A context as it is compared.
    struct Context
    {
        Cmn_UInt32 mListRank;
        Cmn_UInt32 mParent;
        Cmn_UInt16 mTypeRank;
        bool mIsList;

        // As it stands on disk.
        Context(const Cmn_UInt8* iBytes, bool iSwap)
            : Context(Sys_LoadInteger<Cmn_Int16>(iBytes, iSwap),
                      Sys_LoadInteger<Cmn_UInt32>(iBytes + 2, iSwap), iBytes[cListMark] != 0,
                      Sys_LoadInteger<Cmn_Int32>(iBytes + 7, iSwap))
        {
        }
        Context(Cmn_Int16 iStreamType, Cmn_UInt32 iParent, bool iIsList, Cmn_Int32 iListIndex)
            : mListRank(static_cast<Cmn_UInt32>(iListIndex) ^ 0x80000000)
            , mParent(iParent)
            , mTypeRank(static_cast<Cmn_UInt16>(iStreamType ^ 0x8000))
            , mIsList(iIsList)
        {
        }
        Cmn_Int16 GetStreamType() const { return static_cast<Cmn_Int16>(mTypeRank ^ 0x8000); }
        Cmn_Int32 GetListIndex() const { return static_cast<Cmn_Int32>(mListRank ^ 0x80000000); }
        // Ascends as contexts do: by stream type, then list index.
        Cmn_UInt64 GetRank() const { return Cmn_UInt64{mTypeRank} << 32 | mListRank; }
        FF_Document::Context Make() const
        {
            return FF_Document::Context(GetStreamType(), mParent, mIsList, GetListIndex());
        }
        void Put(Cmn_UInt8* oBytes, bool iSwap) const
        {
            // Type (16), parent (32), list mark (8) as one word, into which the list index reaches.
            const Cmn_UInt64 front = Sys_StoredBits(GetStreamType(), iSwap) |
                                     Sys_StoredBits(mParent, iSwap) << 16 | Cmn_UInt64{mIsList} << 48;
            Sys_StoreInteger(oBytes, front, false);
            Sys_StoreInteger(oBytes + 7, GetListIndex(), iSwap);
        }
    };
    struct Key
    {
        Cmn_UInt32 mRecord;
        Cmn_UInt32 mContextCount;
        Cmn_UInt32 mFirstValue; // the size of one that is at home
        Cmn_UInt32 mValueCount;
        Cmn_UInt32 mValueRoom;

        bool IsAtHome() const { return mValueCount > mValueRoom; }
    };

    // In place of an entry: no key is the one that is asked for, and that one is above all.
    static constexpr Cmn_Int32 cBehindAll = FF_Document::TOC::cNone - 1;

    FF_TOCTable();

    std::size_t GetNumKeys() const { return mKeys.size(); }
    const Key& GetKey(Cmn_Int32 iEntry) const { return mKeys[static_cast<std::size_t>(iEntry)]; }
    std::vector<FF_Document::Context> GetContexts(Cmn_Int32 iEntry) const;
    // Of its innermost context.
    bool IsList(Cmn_Int32 iEntry) const;
    // The bytes of a value, little-endian.
    std::span<const Cmn_UInt8> GetValue(Cmn_Int32 iEntry, Cmn_Int32 iValue) const;
    // Of a value whose location is local, as bytes.
    std::span<const Cmn_UInt8> GetOffsets(Cmn_Int32 iEntry, Cmn_Int32 iValue) const;

    Cmn_Int32 Find(std::span<const FF_Document::Context> iContexts) const
    {
        for (const Cmn_UInt32 entry : mRecent)
            if (IsKey(entry, iContexts)) return static_cast<Cmn_Int32>(entry);
        return FindAmongAll(iContexts);
    }
    // Whether the contexts are above every key; false where that is not known.
    bool IsBehindAll(std::span<const FF_Document::Context> iContexts) const
    {
        if (mAscending != mKeys.size()) return false;
        if (mKeys.empty()) return true;
        const Key& last = mKeys.back();
        for (std::size_t i = 0; i < (std::min)(std::size_t{last.mContextCount}, iContexts.size()); ++i) {
            const Cmn_UInt64 rank = RankOf(iContexts[i]);
            if (const Cmn_UInt64 stored = RankAt(last, i); stored != rank) return stored < rank;
        }
        return last.mContextCount < iContexts.size();
    }
    // The entry that is iNth in ascending order of the keys.
    Cmn_Int32 GetInOrder(Cmn_Int32 iNth) const;

    // A key that is not there, nor above all unless IsBehindAll says so.
    Cmn_Int32 Add(std::span<const FF_Document::Context> iContexts, bool iIsBehindAll);
    Cmn_Int32 Add(std::span<const FF_Document::Context> iContexts)
    {
        return Add(iContexts, IsBehindAll(iContexts));
    }
    // The key takes the parent positions that are known.
    void TakeParents(Cmn_Int32 iEntry, std::span<const FF_Document::Context> iContexts);
    void SetIsList(Cmn_Int32 iEntry, bool iIsList);
    // Room for so many values of the key.
    void Reserve(Cmn_Int32 iEntry, std::size_t iValues);
    // iText: UTF-8 of at most StringDisplayInfo::cMaxText bytes. The value has the piece *iOffset; null for none.
    void AddValue(Cmn_Int32 iEntry, std::string_view iText, const Cmn_UInt32* iOffset);
    void AddOffset(Cmn_Int32 iEntry, Cmn_Int32 iValue, Cmn_UInt32 iOffset);
    void Invalidate(Cmn_Int32 iEntry, Cmn_Int32 iValue);
    // iBytes: as GetValue gives them.
    void SetValue(Cmn_Int32 iEntry, Cmn_Int32 iValue, std::span<const Cmn_UInt8> iBytes);
    // Allocates nothing.
    void ForgetOffsetsFrom(Cmn_UInt32 iFrom);

    // The body of the stream, behind its type: the keys from their count on, then their index.
    Cmn_Int64 GetSizeOfKeys() const { return cCountSize + mKeyBytes + mValueBytes; }
    // The whole stream, its header included, with iGrowth more bytes of keys and values.
    Cmn_Int64 GetStreamSize(Cmn_Int64 iGrowth) const { return StreamSizeFor(GetSizeOfKeys() + iGrowth); }
    static Cmn_Int64 StreamSizeFor(Cmn_Int64 iSizeOfKeys)
    {
        return FF_Format::cFrameSize + FF_Format::cStreamTypeSize + iSizeOfKeys +
               FF_TOCIndex::SizeFor(iSizeOfKeys);
    }
    // iStart: where the stream's header begins. iPageSize: of the index; 0 for none.
    void WriteBody(Sys_TypedOutStream& ioStream, Cmn_Int64 iStart, Cmn_UInt32 iPageSize) const;
    // Into a table that is empty. What follows the keys, if anything, has the size of an index; whether it is
    // right is not asked here.
    void ReadBody(FF_TOCCursor& ioCursor, Cmn_Int64 iBegin, Cmn_Int64 iEnd);

private:
    struct Value
    {
        Cmn_UInt64 mBegin;
        Cmn_UInt32 mSize;
        Cmn_UInt32 mRoom;
    };
    struct Slot
    {
        Cmn_UInt32 mTag;
        Cmn_UInt32 mEntryPlusOne; // 0 where the slot is free
    };
    static constexpr Cmn_Int64 cCountSize = 4;
    static constexpr std::size_t cContextSize = FF_Document::Context::cStreamSize;
    static constexpr std::size_t cListMark = 6; // where it stands in a context

    static Context Flat(const FF_Document::Context& iContext)
    {
        return {iContext.GetStreamType(), iContext.GetParentPosition(), iContext.IsList(),
                iContext.GetListIndex()};
    }
    static Cmn_UInt64 RankOf(const FF_Document::Context& iContext) { return Flat(iContext).GetRank(); }
    static Cmn_Int64 KeySize(std::size_t iContexts)
    {
        return 2 * cCountSize + static_cast<Cmn_Int64>(cContextSize * iContexts);
    }
    const Cmn_UInt8* ContextAt(const Key& iKey, std::size_t iContext) const
    {
        return mRecords.data() + iKey.mRecord + iContext * cContextSize;
    }
    Cmn_UInt8* ContextAt(const Key& iKey, std::size_t iContext)
    {
        return mRecords.data() + iKey.mRecord + iContext * cContextSize;
    }
    Cmn_UInt64 RankAt(const Key& iKey, std::size_t iContext) const
    {
        return Context(ContextAt(iKey, iContext), false).GetRank();
    }
    // Records have positions of 32 bits.
    bool HasPlaceFor(std::size_t iBytes) const { return iBytes <= 0xFFFFFFFFu - mRecords.size(); }
    // Of the value that is, or would be, at home.
    const Cmn_UInt8* HomeOf(const Key& iKey) const { return ContextAt(iKey, iKey.mContextCount); }

    template <class GetRank>
    Cmn_UInt64 HashOf(std::size_t iCount, const GetRank& iGetRank) const;
    Cmn_UInt64 HashOf(std::span<const FF_Document::Context> iContexts) const;
    std::size_t FirstSlotOf(Cmn_UInt64 iHash) const { return static_cast<std::size_t>(iHash >> mSlotShift); }
    bool IsKey(Cmn_UInt32 iEntry, std::span<const FF_Document::Context> iContexts) const
    {
        if (iEntry >= mKeys.size() || mKeys[iEntry].mContextCount != iContexts.size()) return false;
        for (std::size_t i = 0; i < iContexts.size(); ++i)
            if (RankAt(mKeys[iEntry], i) != RankOf(iContexts[i])) return false;
        return true;
    }
    Cmn_Int32 FindAmongAll(std::span<const FF_Document::Context> iContexts) const;
    Cmn_Int32 FindBySlots(std::span<const FF_Document::Context> iContexts) const;
    void PutInSlot(Cmn_UInt64 iHash, std::size_t iEntry) const;
    void MakeSlotsFor(std::size_t iKeys) const;
    void FillSlots() const;
    void CountAscending();

    bool IsLess(const Key& iA, const Key& iB) const;
    void UpdateOrder() const;

    // To change it: no longer at home.
    Value& ValueOf(Cmn_Int32 iEntry, Cmn_Int32 iValue);
    void LeaveHome(Key& ioKey);
    Cmn_UInt8* BytesOf(const Value& iValue) { return mArena.data() + iValue.mBegin; }
    const Cmn_UInt8* BytesOf(const Value& iValue) const { return mArena.data() + iValue.mBegin; }
    void MakeRoomForValues(Key& ioKey, std::size_t iMore);
    // Gives the location iNewSize bytes, the old ones first, and moves what stands behind it.
    void ResizeLocation(Value& ioValue, std::size_t iNewSize);
    void InvalidateValue(Value& ioValue);
    // False where the value has lost all its pieces.
    bool ForgetPieces(Value& ioValue, Cmn_UInt32 iFrom);
    void ForgetValues(Key& ioKey, Cmn_UInt32 iFrom);
    void RemoveKeysWithoutValues();

    void ReadKey(FF_TOCCursor& ioCursor);
    void ReadValues(FF_TOCCursor& ioCursor, Cmn_Int64 iBegin, Cmn_Int64 iEnd);
    void Reserve(Cmn_Int64 iBytes, std::size_t iKeys, std::size_t iDepth);

    FF_TOCArray<Key> mKeys;
    FF_TOCArray<Cmn_UInt8> mRecords;
    FF_TOCArray<Value> mValues;
    FF_TOCArray<Cmn_UInt8> mArena;
    mutable std::vector<Slot> mSlots; // empty until they are needed
    mutable int mSlotShift = 0;
    // Asked for lately: a list that is being written, and what is written around it.
    mutable std::array<Cmn_UInt32, 4> mRecent{};
    mutable std::size_t mNextRecent = 0;
    Cmn_UInt64 mFactor; // of the hash
    Cmn_Int64 mKeyBytes = 0;
    Cmn_Int64 mValueBytes = 0;
    std::size_t mAscending = 0;
    Cmn_UInt32 mHighestOffset = 0; // at least
    // The entries in order, as far as they were asked for; unused while all keys ascend.
    mutable std::vector<Cmn_Int32> mOrder;
};
