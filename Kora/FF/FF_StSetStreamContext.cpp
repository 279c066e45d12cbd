#include "Kora/FF/FF_StSetStreamContext.h"

#include "Kora/FF/FF_Document_TOC.h"

#include <utility>

FF_StSetStreamContext::FF_StSetStreamContext(FF_Document& iDocument, const FF_Document::TOCKey& iKey)
    : mDocument(iDocument)
    , mBefore(iKey.GetContexts())
    , mStartBefore(iDocument.mCurrentStreamStart)
{
    mDocument.mCurrentContext.swap(mBefore);
    Cmn_UInt32 start = 0;
    const FF_Document::TOC::Entry entry = mDocument.mTOC->Find(mDocument.GetOpenStreamKey());
    if (entry == FF_Document::TOC::cNone || !mDocument.mTOC->GetFirstOffset(entry, 0, start)) start = 0;
    mDocument.mCurrentStreamStart = start;
}

FF_StSetStreamContext::~FF_StSetStreamContext()
{
    mDocument.mCurrentContext.swap(mBefore);
    mDocument.mCurrentStreamStart = mStartBefore;
}
