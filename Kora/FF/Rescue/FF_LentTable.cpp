#include "Kora/FF/Rescue/FF_LentTable_p.h"

#include "Bastel/Cmn/Cmn_Exception.h"

using TOC = FF_Document::TOC;

std::vector<Cmn_UInt32> FF_LentTable::OffsetsOf(const FF_Document::TOCValue& iValue)
{
    const FF_Document::LocalLocation* const local = FF_FindLocal(iValue);
    return local == nullptr ? std::vector<Cmn_UInt32>() : local->GetOffsets();
}

bool FF_LentTable::Read(FF_StreamWindow& ioWindow, bool iSwap, const FF_Frame& iFrame)
{
    // The file as if nothing had been moved there.
    const Cmn_Int64 shift = iFrame.GetShift();
    FF_StreamWindow unmoved(
        [&](Cmn_Int64 iPosition, void* oBytes, std::size_t iCount) {
            ioWindow.SetPosition(iPosition + shift);
            return ioWindow.Read(oBytes, iCount);
        },
        ioWindow.GetLength() - shift);
    try {
        Sys_TypedInStream typed(unmoved, iSwap);
        typed.SetPosition(iFrame.mHeader.mStart);
        mTable.StreamIn(typed, iFrame.mHeader.mStart);
    } catch (const Cmn_Exception& failure) {
        if (failure.GetMessageID() == Cmn_eMessage_OSError) throw;
        return false;
    }
    mPosition = iFrame.mHeader.mStart;
    return true;
}

void FF_LentTable::Match(const FF_StreamWalk& iWalk)
{
    for (TOC::Entry entry = 0; entry < mTable.GetNumKeys(); ++entry) {
        const FF_Document::TOCKey key = mTable.GetKey(entry);
        if (key.GetContexts().empty()) continue;
        const Cmn_Int16 type = key.GetContexts().back().GetStreamType();
        for (Cmn_Int32 i = 0; i < mTable.GetNumValues(entry); ++i) {
            const bool isItem = i > 0 && mTable.IsList(entry);
            for (const Cmn_UInt32 offset : OffsetsOf(mTable.GetValue(entry, i))) {
                const Cmn_Int32 found = iWalk.Find(offset);
                if (found == FF_StreamWalk::cNone || !iWalk.GetNode(found).mIsWhole) continue;
                const FF_Frame& node = iWalk.GetNode(found);
                const bool fitsItem =
                    node.mHeader.mListIndex == 0 || node.mHeader.mListIndex == static_cast<Cmn_UInt32>(i);
                if (isItem ? fitsItem : node.mStreamType == type) mKnown.insert(offset);
            }
        }
    }
}
