#include "Kora/FF/Document/FF_StSetStreamContext.h"

#include "Kora/FF/Document/FF_OpenStreams_p.h"

FF_StSetStreamContext::FF_StSetStreamContext(FF_Document& iDocument, const FF_Document::TOCKey& iKey)
    : mDocument(iDocument)
    , mStartBefore(iDocument.GetCurrentStreamStart())
{
    // Room for the streams that are opened inside, so that opening them moves nothing.
    constexpr std::size_t cMoreLevels = 4;
    const std::vector<FF_Document::Context>& contexts = iKey.GetContexts();
    mDocument.GetOpenStreams().SwapSpare(mBefore);
    mBefore.reserve(contexts.size() + cMoreLevels);
    mBefore.assign(contexts.begin(), contexts.end());
    // The table may have to be read: nothing is exchanged before that went well.
    Cmn_UInt32 start = 0;
    {
        const FF_StNoItem noItem(mBefore);
        const FF_Document::TOC& toc = mDocument.GetTOC();
        const FF_Document::TOC::Entry entry = toc.Find(mBefore);
        if (entry == FF_Document::TOC::cNone || !toc.GetFirstOffset(entry, 0, start)) start = 0;
    }
    mDocument.GetOpenStreams().Swap(mBefore, start);
}

FF_StSetStreamContext::~FF_StSetStreamContext()
{
    FF_Document::OpenStreams& streams = mDocument.GetOpenStreams();
    streams.Swap(mBefore, mStartBefore);
    streams.SwapSpare(mBefore);
}
