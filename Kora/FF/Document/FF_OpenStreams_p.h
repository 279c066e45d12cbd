// FF_Document::OpenStreams: the streams of a document that are being read or written, outermost first. Stream
// headers, lists and context scopes keep it; hosts see it through FF_Document::GetCurrentContext.
//
// Threads: one at a time. Ownership: the document's.
#pragma once

#include "Kora/FF/Document/FF_Document.h"
#include "Kora/FF/Document/FF_Document_TOC.h"

class FF_Document::OpenStreams
{
public:
    explicit OpenStreams(FF_Document& ioDocument)
        : mDocument(ioDocument)
    {
    }

    // A stream that is open for a scope, and begins where the one around it does.
    class StInnermost
    {
    public:
        StInnermost(OpenStreams& ioStreams, Cmn_Int16 iStreamType)
            : mContexts(ioStreams.mCurrentContext)
        {
            mContexts.emplace_back(iStreamType, ioStreams.mStart);
        }
        ~StInnermost() { mContexts.pop_back(); }
        StInnermost(const StInnermost&) = delete;
        StInnermost& operator=(const StInnermost&) = delete;

    private:
        std::vector<Context>& mContexts;
    };

    std::vector<Context>& GetContexts() { return mCurrentContext; }
    bool IsEmpty() const { return mCurrentContext.empty(); }
    // Start of the innermost stream; 0 where none is open.
    Cmn_UInt32 GetStart() const { return mStart; }
    void SetStart(Cmn_UInt32 iStart) { mStart = iStart; }

    void Push(Cmn_Int16 iStreamType, Cmn_UInt32 iStreamStart);
    void Pop(); // asserts "!mCurrentContext.empty()" and does nothing where none is open
    void Clear();
    // Exchanges all of them for the given ones.
    void Swap(std::vector<Context>& ioContexts, Cmn_UInt32 iStart);
    // Exchanges memory for those that wait to be exchanged: scopes mostly follow one another.
    void SwapSpare(std::vector<Context>& ioContexts) noexcept { mSpare.swap(ioContexts); }

    // Of the innermost stream; nothing, and false, where none is open.
    bool IsList() const { return !IsEmpty() && mCurrentContext.back().IsList(); }
    void SetItem(Cmn_Int32 iListIndex)
    {
        if (!IsEmpty()) mCurrentContext.back().SetListIndex(iListIndex);
    }
    // Its entry in the table, whatever item of it is open.
    TOC::Entry FindEntry();

    // What was written to a stream from iStart on was taken back: entries that lead there go, where the
    // stream is the document's.
    void ForgetFrom(const Sys_OutStream& iStream, Cmn_Int64 iStart);
    // Adds the document's file to an exception that has none.
    void Name(Cmn_Exception& ioException) const { mDocument.Name(ioException); }

private:
    FF_Document& mDocument;
    std::vector<Context> mCurrentContext;
    std::vector<Context> mSpare; // means nothing
    Cmn_UInt32 mStart = 0;
};

// Closes the item of the innermost open stream for a scope: the path is the stream's own
// key then, without a copy.
class FF_StNoItem
{
public:
    explicit FF_StNoItem(std::vector<FF_Document::Context>& ioContexts)
        : mInnermost(ioContexts.empty() ? nullptr : &ioContexts.back())
        , mIndex(mInnermost != nullptr ? mInnermost->GetListIndex() : 0)
    {
        if (mInnermost != nullptr) mInnermost->SetListIndex(0);
    }
    ~FF_StNoItem()
    {
        if (mInnermost != nullptr) mInnermost->SetListIndex(mIndex);
    }
    FF_StNoItem(const FF_StNoItem&) = delete;
    FF_StNoItem& operator=(const FF_StNoItem&) = delete;

private:
    FF_Document::Context* mInnermost;
    Cmn_Int32 mIndex;
};
