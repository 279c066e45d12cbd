#include "Kora/FF/FF_LentTable_p.h"

#include "Bastel/Cmn/Cmn_Exception.h"

#include <algorithm>
#include <limits>

using Key = FF_Document::TOCKey;
using TOC = FF_Document::TOC;
using Walk = FF_StreamWalk;

std::vector<Cmn_UInt32> FF_LentTable::OffsetsOf(const FF_Document::TOCValue& iValue)
{
    const FF_Document::LocalLocation* const local = FF_FindLocal(iValue);
    return local == nullptr ? std::vector<Cmn_UInt32>() : local->GetOffsets();
}

bool FF_LentTable::Read(FF_DocumentFile& ioFile, Cmn_Int64 iPosition)
{
    try {
        Sys_TypedInStream typed(ioFile.GetWindow(), ioFile.IsSwapped());
        typed.SetPosition(iPosition);
        // A table that was moved forward may name places behind itself.
        mTable.StreamIn(typed, ioFile.GetLength());
    } catch (const Cmn_Exception& failure) {
        if (failure.GetMessageID() == Cmn_eMessage_OSError) throw;
        return false;
    }
    mPosition = iPosition;
    return true;
}

void FF_LentTable::Match(const Walk& iWalk, Cmn_Int64 iShift)
{
    mWalk = &iWalk;
    mShift = iShift;
    std::vector<Told> told;
    const auto forEach = [this](const auto& iDo) {
        for (TOC::Entry entry = 0; entry < mTable.GetNumKeys(); ++entry) {
            const Key key = mTable.GetKey(entry);
            for (Cmn_Int32 i = 0; i < mTable.GetNumValues(entry); ++i)
                for (const Cmn_UInt32 offset : OffsetsOf(mTable.GetValue(entry, i)))
                    iDo(offset, key, i > 0 && mTable.IsList(entry) ? i - 1 : cNotAnItem);
        }
    };
    forEach([&](Cmn_UInt32 iOffset, const Key& iKey, Cmn_Int32 iItem) {
        told.push_back({iOffset, Fits(iOffset, 0, iKey, iItem), Fits(iOffset + mShift, mShift, iKey, iItem)});
    });
    mChangeAt = PointOfChange(told);
    forEach([&](Cmn_UInt32 iOffset, const Key& iKey, Cmn_Int32 iItem) {
        const Cmn_Int64 place = Find(iOffset, iKey, iItem);
        mHasMissed = mHasMissed || place != Cmn_Int64{iOffset};
        if (place != cNoPlace) mPlaces.insert(place);
    });
}

// Where most of what stands before is where it was and most of what follows has moved.
Cmn_Int64 FF_LentTable::PointOfChange(std::vector<Told>& ioTold)
{
    std::sort(ioTold.begin(), ioTold.end(), [](const Told& a, const Told& b) { return a.offset < b.offset; });
    Cmn_Int64 point = std::numeric_limits<Cmn_Int64>::max();
    Cmn_Int64 found = std::count_if(ioTold.begin(), ioTold.end(), [](const Told& t) { return t.isHere; });
    Cmn_Int64 most = found;
    for (auto told = ioTold.rbegin(); told != ioTold.rend(); ++told) {
        found += Cmn_Int64{told->isMoved} - Cmn_Int64{told->isHere};
        if (found <= most) continue;
        most = found;
        point = told->offset;
    }
    return point;
}

Cmn_Int64 FF_LentTable::Find(Cmn_UInt32 iOffset, const Key& iKey, Cmn_Int32 iItem) const
{
    const Cmn_Int64 likely = Cmn_Int64{iOffset} < mChangeAt ? 0 : mShift;
    for (const Cmn_Int64 shift : {likely, mShift - likely})
        if (Fits(iOffset + shift, shift, iKey, iItem)) return iOffset + shift;
    return cNoPlace;
}

bool FF_LentTable::Fits(Cmn_Int64 iPlace, Cmn_Int64 iShift, const Key& iKey, Cmn_Int32 iItem) const
{
    if (iItem != cNotAnItem) return FitsItem(iPlace, iShift, iKey, iItem);
    const Cmn_Int32 node = mWalk->Find(iPlace);
    return node != Walk::cNone && mWalk->GetNode(node).isWhole &&
           mWalk->FitsWithout(node, mWalk->GetOutermostWhole(node), iKey);
}

bool FF_LentTable::FitsItem(Cmn_Int64 iPlace, Cmn_Int64 iShift, const Key& iKey, Cmn_Int32 iItem) const
{
    const Cmn_Int32 node = mWalk->Find(iPlace);
    if (node == Walk::cNone) {
        // Plain data is an item as long as the list is there that the table tells of.
        const Cmn_Int32 list = mWalk->FindListOf(iPlace, iKey);
        if (list == Walk::cNone || !mWalk->GetNode(list).isWhole) return false;
        const Cmn_Int64 told = mWalk->GetNode(list).header.start - iShift;
        const TOC::Entry entry = mTable.Find(iKey);
        return told >= 0 && entry != TOC::cNone && mTable.HasOffset(entry, 0, static_cast<Cmn_UInt32>(told));
    }
    if (!mWalk->GetNode(node).isWhole) return false;
    if (mWalk->FitsItem(iPlace, iKey, iItem)) return true;
    // The list's own header may be gone, and the item seem to be in what is around the list.
    Cmn_UInt32 index = 0;
    const Cmn_Int32 parent = mWalk->GetDocumentParent(node, index);
    return static_cast<Cmn_Int32>(index) == iItem + 1 && parent != Walk::cNone &&
           !mWalk->GetNode(parent).isWhole && !mWalk->GetNode(parent).header.isList;
}
