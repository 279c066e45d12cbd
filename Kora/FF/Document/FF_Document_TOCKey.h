// FF_Document::Context, FF_Document::TOCKey: where a stream sits in the nesting of a document.
//
// Contexts compare by stream type, then list index: the parent position and the list mark change in place and
// take no part. Keys compare context by context from the outermost, the shorter first: {4} < {4, 7} < {5}.
#pragma once

#include "Kora/FF/Document/FF_Document.h"

#include <compare>

// Not in the exported class, so that every module has them as constants of its own.
struct FF_ContextConstants
{
    static constexpr Cmn_UInt32 cNoParent = 0xFFFFFFFF; // not known, or none
    static constexpr Cmn_Int64 cStreamSize = 11;        // on disk
};

// One level of the path.
class KORA_API FF_Document::Context : public FF_ContextConstants
{
public:
    Context();
    // A list has an open item when iListIndex is not 0.
    explicit Context(Cmn_Int16 iStreamType, Cmn_UInt32 iParentPosition = cNoParent, bool iIsList = false,
                     Cmn_Int32 iListIndex = 0);
    virtual ~Context();
    // In place: paths are copied whenever a stream is looked for.
    Context(const Context&) = default;
    Context& operator=(const Context&) = default;

    Cmn_Int16 GetStreamType() const { return mStreamType; }
    // Start of the stream around this one, in bytes of the file; restored when the context is popped.
    Cmn_UInt32 GetParentPosition() const { return mParentPosition; }
    bool IsList() const { return mIsList; }
    // Of the item that the next level is in: item index + 1, 0 when no item is open.
    Cmn_Int32 GetListIndex() const { return mListIndex; }

    void SetParentPosition(Cmn_UInt32 iPosition) { mParentPosition = iPosition; }
    // Takes no part in comparisons.
    void SetIsList(bool iIsList) { mIsList = iIsList; }
    void SetListIndex(Cmn_Int32 iIndex) { mListIndex = iIndex; }

    std::strong_ordering operator<=>(const Context& iOther) const;
    bool operator==(const Context& iOther) const { return (*this <=> iOther) == 0; }

    // On disk cStreamSize bytes: stream type (16), parent position (32), list mark (bool), list index (32).
    void StreamOut(Sys_TypedOutStream& ioStream) const;
    // Reads what StreamOut writes.
    void StreamIn(Sys_TypedInStream& ioStream);

    // "7", or "7[2]" with item 2 open.
    [[nodiscard]] std::string Dump() const;

private:
    Cmn_Int16 mStreamType = 0;
    Cmn_UInt32 mParentPosition = cNoParent;
    bool mIsList = false;
    Cmn_Int32 mListIndex = 0;
};

// Names a stream: first the outermost one around it, and so inward, itself last.
class KORA_API FF_Document::TOCKey
{
public:
    TOCKey();
    // An outermost stream.
    explicit TOCKey(Cmn_Int16 iStreamType);
    // From the outermost stream inward.
    explicit TOCKey(std::vector<Context> iContexts);
    virtual ~TOCKey();
    TOCKey(const TOCKey&);
    TOCKey& operator=(const TOCKey&);

    const std::vector<Context>& GetContexts() const { return mContexts; }
    std::vector<Context>& GetContexts() { return mContexts; }
    // The key of a stream directly inside this one.
    [[nodiscard]] TOCKey Inside(const Context& iContext) const;

    std::strong_ordering operator<=>(const TOCKey& iOther) const;
    bool operator==(const TOCKey& iOther) const { return (*this <=> iOther) == 0; }

    // On disk: context count (signed 32), then the contexts, outermost first. A count above the bytes left
    // throws Sys_StreamReadException.
    void StreamOut(Sys_TypedOutStream& ioStream) const;
    // Reads what StreamOut writes.
    void StreamIn(Sys_TypedInStream& ioStream);

    // "4[1]/7": stream 7 in the first item of list 4.
    [[nodiscard]] std::string Dump() const;

private:
    std::vector<Context> mContexts;
};
