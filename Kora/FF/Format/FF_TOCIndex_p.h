// FF_TOCIndex: what stands behind the keys of a long table of contents, so that a reader finds a key, and
// trusts what it finds, without reading all of the table.
//
// The keys, from their count on, are cut into pages of one size, whatever begins or ends there. The index has
// a sum of each page, and tells which records begin first in it or behind it; records are keys up to the
// count of their values, and values.
//
// Units: positions are bytes from the count of keys on.
#pragma once

#include "Kora/FF/Format/FF_TOCBytes_p.h"

#include <utility>

struct FF_TOCIndex
{
    struct Page
    {
        Cmn_UInt32 mSum;
        // The number of the first key that begins in the page or behind it; the count of keys for none.
        Cmn_UInt32 mKey;
        Cmn_UInt32 mKeyAt;   // and where; the end of the keys for none
        Cmn_UInt32 mValue;   // number of the first value before that key that begins in the page or behind it
        Cmn_UInt32 mValueAt; // and where; keyAt for none

        // The first record: a key's number with 0, or with one more than the number of a value of it.
        std::pair<Cmn_UInt32, Cmn_UInt32> GetFirst() const
        {
            return mValueAt < mKeyAt ? std::pair{mKey - 1, mValue + 1} : std::pair{mKey, Cmn_UInt32{0}};
        }
        // A key has no value before it that begins behind it.
        Cmn_UInt32 GetFirstAt() const { return mValueAt; }
    };

    Cmn_UInt32 mSize = 0; // of the keys
    Cmn_UInt32 mPageSize = 0;
    Cmn_UInt32 mNumKeys = 0;
    std::vector<Page> mPages; // and one more, at the end of the keys

    std::size_t GetNumPages() const { return mPages.size() - 1; }

    static Cmn_UInt32 PageSizeFor(Cmn_Int64 iSizeOfKeys);
    // Bytes of the index that is written behind so many bytes of keys; 0 where there is none.
    static Cmn_Int64 SizeFor(Cmn_Int64 iSizeOfKeys)
    {
        using namespace FF_Format;
        if (iSizeOfKeys <= cLargestWithoutIndex) return 0;
        // Asked for with every entry, so without a division by what is not known. Halving rounds up as the
        // larger page does.
        std::size_t pages = (static_cast<std::size_t>(iSizeOfKeys) + cIndexPage - 1) / cIndexPage;
        while (pages > cMaxIndexPages)
            pages = (pages + 1) / 2;
        return static_cast<Cmn_Int64>(pages * cIndexEntrySize + cIndexTailSize);
    }

    // iBodySize: of keys and index, which begin at iBody; iStart is where the table's header begins. False
    // where no index stands at the end of them, or one that does not fit itself: then it is the sum of the
    // body that tells what is right. Leaves the position anywhere. Throws what reading throws.
    bool Read(Sys_TypedInStream& ioStream, Cmn_Int64 iStart, Cmn_Int64 iBody, Cmn_Int64 iBodySize);

    // Passes over what follows the keys; throws for what has not the size of an index
    // of so many bytes of keys.
    static void Skip(FF_TOCCursor& ioCursor, Cmn_Int64 iSizeOfKeys);

private:
    bool ReadTail(const Cmn_UInt8* iTail, bool iSwap, Cmn_Int64 iBodySize);
    bool IsConsistent() const;
};

// Makes the index while the keys are written.
class FF_TOCIndexMaker
{
public:
    // iPageSize 0: makes none, and nothing below costs anything.
    FF_TOCIndexMaker(Cmn_UInt32 iSizeOfKeys, Cmn_UInt32 iPageSize);

    // A record begins at a position; in order.
    void Key(Cmn_Int64 iAt, Cmn_UInt32 iKey)
    {
        if (iAt >= mNextKeyAt) Note(iAt, iKey, 0, true);
    }
    void Value(Cmn_Int64 iAt, Cmn_UInt32 iKey, Cmn_UInt32 iValue)
    {
        if (iAt >= mNextValueAt) Note(iAt, iKey + 1, iValue, false);
    }
    // The next bytes, as they are stored.
    void Add(const Cmn_UInt8* iBytes, std::size_t iCount);
    // The bytes of the index as they are stored.
    std::vector<Cmn_UInt8> Finish(Cmn_UInt32 iNumKeys, Cmn_Int64 iStart, bool iSwap);

private:
    void Note(Cmn_Int64 iAt, Cmn_UInt32 iKey, Cmn_UInt32 iValue, bool iIsKey);

    Cmn_UInt32 mSize;
    Cmn_UInt32 mPageSize;
    std::vector<FF_TOCIndex::Page> mPages;
    std::size_t mWithKey = 0;   // pages before it know their first key
    std::size_t mWithValue = 0; // and their first value, or that there is none before the key
    // Where the next page begins that a key, and one that a value, may be the first of.
    Cmn_Int64 mNextKeyAt = 0;
    Cmn_Int64 mNextValueAt = 0;
    Cmn_Int64 mAdded = 0;
};
