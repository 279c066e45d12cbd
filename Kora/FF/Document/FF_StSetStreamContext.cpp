#include "Kora/FF/Document/FF_StSetStreamContext.h"

#include "Kora/FF/Document/FF_Document_TOC.h"

#include <utility>

FF_StSetStreamContext::FF_StSetStreamContext(FF_Document& iDocument, const FF_Document::TOCKey& iKey)
    : mDocument(iDocument)
    , mStartBefore(iDocument.mCurrentStreamStart)
{
    // Room for the streams that are opened inside, so that opening them moves nothing.
    constexpr std::size_t cMoreLevels = 4;
    const std::vector<FF_Document::Context>& contexts = iKey.GetContexts();
    mBefore.reserve(contexts.size() + cMoreLevels);
    mBefore.assign(contexts.begin(), contexts.end());
    mDocument.mCurrentContext.swap(mBefore);
    Cmn_UInt32 start = 0;
    const FF_Document::TOC::Entry entry = mDocument.FindOpenStream();
    if (entry == FF_Document::TOC::cNone || !mDocument.mTOC->GetFirstOffset(entry, 0, start)) start = 0;
    mDocument.mCurrentStreamStart = start;
}

FF_StSetStreamContext::~FF_StSetStreamContext()
{
    mDocument.mCurrentContext.swap(mBefore);
    mDocument.mCurrentStreamStart = mStartBefore;
}
