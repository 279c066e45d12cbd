// FF_Document::TOC: the table of contents: keys in ascending order, each with the values of
// the streams that share it.
//
// Inside it is one flat table: contexts in one array, values in one array of their bytes as they stand on
// disk, and a hash over the keys; TOCKey and TOCValue objects are made when somebody asks for one. The long
// table of a document that is open for reading stays in its file: what is asked for is read, and held against
// its sums first. The first change reads all of it.
//
// Costs:   finding a key O(1), in the file O(log n); adding a key, a value or a piece O(1)
//          amortised; the order is kept where keys are added in order, otherwise GetInOrder and
//          StreamOut sort what was added since.
// Throws:  of a table that stays in its file every function that needs what is in it,
//          Sys_StreamReadException where that cannot be read or is damaged; such a table of a document that
//          somebody appends to meanwhile is gone.
// Indexes: an entry or a value that is not there asserts, and the call does nothing and gives 0,
//          false or an empty object.
// Threads: one at a time.
#pragma once

#include "Kora/FF/Document/FF_Document_TOCKey.h"
#include "Kora/FF/Document/FF_Document_TOCValue.h"

#include <memory>
#include <span>

class FF_TOCPages;
class FF_TOCTable;

// Not in the exported class, so that every module has it as a constant of its own.
struct FF_TOCEntry
{
    // An entry's number: stays until ForgetOffsetsFrom, Clear or StreamIn. Entries are numbered from 0 in the
    // order of their being added; StreamIn adds them in ascending order of their keys.
    using Entry = Cmn_Int32;
    static constexpr Entry cNone = -1; // no entry has the key
    // What Reserve takes at most: a count that a damaged file claims takes no memory beyond it.
    static constexpr Cmn_Int32 cMostReserved = 1 << 20;
};

class KORA_API FF_Document::TOC : public FF_TOCEntry
{
public:
    TOC();
    virtual ~TOC();
    TOC(const TOC&) = delete;
    TOC& operator=(const TOC&) = delete;

    // Of the descriptions in AddValue, GetValue and Dump, and whether AddValue repairs ill-formed UTF-8 (as
    // Sys_TypedOutStream does). StreamIn takes the encoding of its stream.
    void SetTextForm(ETextEncoding iEncoding, bool iRepairText = false);

    // No keys. Entries that were handed out mean nothing any more.
    void Clear();
    Cmn_Int32 GetNumKeys() const;
    // The entry of a key, or cNone.
    [[nodiscard]] Entry Find(const TOCKey& iKey) const;
    [[nodiscard]] Entry Find(std::span<const Context> iContexts) const;
    // The entry that is iNth, from 0 on, in ascending order of the keys.
    [[nodiscard]] Entry GetInOrder(Cmn_Int32 iNth) const;
    // The key of an entry, with the parent positions that it was last registered with.
    [[nodiscard]] TOCKey GetKey(Entry iEntry) const;
    // Of a list its items and, as value 0, the list itself.
    [[nodiscard]] Cmn_Int32 GetNumValues(Entry iEntry) const;
    // A copy of a value, counted from 0.
    [[nodiscard]] TOCValue GetValue(Entry iEntry, Cmn_Int32 iValue) const;
    // The same without making an object: false where the value is not in this file or has no piece yet. Value
    // 0 may be asked for of every entry: files may tell of keys that have no values.
    [[nodiscard]] bool GetFirstOffset(Entry iEntry, Cmn_Int32 iValue, Cmn_UInt32& oOffset) const;
    // All pieces of the value, first piece first; none where it is not in this file.
    void GetOffsets(Entry iEntry, Cmn_Int32 iValue, std::vector<Cmn_UInt32>& oOffsets) const;
    // True where iOffset is one of the value's pieces.
    [[nodiscard]] bool HasOffset(Entry iEntry, Cmn_Int32 iValue, Cmn_UInt32 iOffset) const;
    // Of the innermost context of the key as it was last registered.
    [[nodiscard]] bool IsList(Entry iEntry) const;
    // Says that the stream of the key has items, or has none.
    void SetIsList(Entry iEntry, bool iIsList);
    // Makes room for so many values of the key, at most cMostReserved of them.
    void Reserve(Entry iEntry, Cmn_Int32 iValues);

    // Finds the key or inserts it without values. A key that was there takes the parent positions of the
    // given contexts, but for those that are Context::cNoParent.
    Entry Insert(std::span<const Context> iContexts);
    // Appends a value with an empty local location. The description is cut to
    // StringDisplayInfo::cMaxText bytes.
    void AddValue(Entry iEntry, std::string_view iDescription);
    // As FF_Document::TOCValue::AddOffset.
    void AddOffset(Entry iEntry, Cmn_Int32 iValue, Cmn_UInt32 iOffset);
    // As FF_Document::TOCValue::Invalidate.
    void Invalidate(Entry iEntry, Cmn_Int32 iValue);
    // Throws Sys_StreamWriteException, with the value as it was, for one that could not be read back.
    void SetValue(Entry iEntry, Cmn_Int32 iValue, const TOCValue& iNew);
    // Drops the pieces at iFrom and beyond, whose bytes were taken back; a value that loses all its pieces is
    // invalidated or, as the last of its key, removed, and a key without values is removed. A chain that
    // leads to such a piece loses them all. Entries change. Allocates nothing.
    void ForgetOffsetsFrom(Cmn_UInt32 iFrom);

    // Bytes that StreamOut writes, the stream's header included. O(1).
    Cmn_Int64 GetStreamSize() const;
    // The stream: type cTOCStreamType, version 2; count of keys (signed 32), then for each key in ascending
    // order the key, the count of its values (signed 32), the values; of a long table an index behind them.
    void StreamOut(Sys_TypedOutStream& ioStream) const;
    // Replaces the content. Throws Sys_StreamReadException, with the offset and the content as it
    // was, for counts and sizes that the bytes left cannot hold or that leave some over, keys that do
    // not ascend, offsets before iBegin or from iEnd on, and location chains without end;
    // Cmn_Exception (Cmn_eMessage_UnexpectedStreamType) for a stream of another type, and the typed
    // exceptions for versions other than 2.
    void StreamIn(Sys_TypedInStream& ioStream, Cmn_Int64 iEnd, Cmn_Int64 iBegin = 0);

    // Whether the stream whose header that is, and that StreamIn has read, has the index that
    // belongs to its keys, or none.
    [[nodiscard]] bool FitsIndex(Sys_TypedInStream& ioStream, const Sys_StdStreamHeaderInfo& iHeader) const;

    // One line a value in ascending order, the first of a key "4[1]/7  [1034]  description", further ones
    // numbered: "4 #1  [2048]  description".
    [[nodiscard]] std::string Dump() const;

private:
    friend class FF_Document;

    // As StreamIn, but for a long table, which stays in the file that the stream reads
    // and that must outlive it.
    void Open(Sys_FileBasedInStream& ioStream, bool iSwap, Cmn_Int64 iEnd, Cmn_Int64 iBegin);
    // With the piece *iOffset; null for none.
    void AddValue(Entry iEntry, std::string_view iDescription, const Cmn_UInt32* iOffset);
    // All of the table, in memory.
    FF_TOCTable& GetTable() const { return mPages == nullptr ? *mTable : ReadWhole(); }
    FF_TOCTable& ReadWhole() const;
    bool Has(Entry iEntry, Cmn_Int32 iValue) const;
    std::vector<Context> GetContexts(Entry iEntry) const;
    std::span<const Cmn_UInt8> GetBytes(Entry iEntry, Cmn_Int32 iValue) const;
    std::span<const Cmn_UInt8> GetPieces(Entry iEntry, Cmn_Int32 iValue) const;

    mutable std::unique_ptr<FF_TOCTable> mTable;
    mutable std::unique_ptr<FF_TOCPages> mPages; // null where the table is in memory
    ETextEncoding mEncoding = eTextEncoding_Utf8;
    bool mRepairText = false;
};
