#include "Kora/FF/Document/FF_OpenStreams_p.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Sys/Sys_FileBasedOutStream.h"

void FF_Document::OpenStreams::Push(Cmn_Int16 iStreamType, Cmn_UInt32 iStreamStart)
{
    mCurrentContext.emplace_back(iStreamType, mStart);
    mStart = iStreamStart;
}

void FF_Document::OpenStreams::Pop()
{
    if (!Cmn_ASSERT(!mCurrentContext.empty())) return;
    mStart = mCurrentContext.back().GetParentPosition();
    mCurrentContext.pop_back();
}

void FF_Document::OpenStreams::Clear()
{
    mCurrentContext.clear();
    mStart = 0;
}

void FF_Document::OpenStreams::Swap(std::vector<Context>& ioContexts, Cmn_UInt32 iStart)
{
    mCurrentContext.swap(ioContexts);
    mStart = iStart;
}

FF_Document::TOC::Entry FF_Document::OpenStreams::FindEntry()
{
    const FF_StNoItem noItem(mCurrentContext);
    return mDocument.mTOC->Find(mCurrentContext);
}

void FF_Document::OpenStreams::ForgetFrom(const Sys_OutStream& iStream, Cmn_Int64 iStart)
{
    const Sys_FileBasedOutStream* const own = mDocument.mOutStream.get();
    if (&iStream == own && iStart >= own->GetEnd()) mDocument.ForgetFrom(iStart);
}
