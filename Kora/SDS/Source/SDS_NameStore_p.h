// SDS_NameStore: the nodes' memory, and the making and freeing of nodes.
//
// Nodes are cells of blocks that are never handed back; freed ones are used anew, the one that was
// freed first before the others. Connection records and audiences come from blocks too: in the steady
// state nothing is allocated.
#pragma once

#include "Kora/SDS/Source/SDS_NameTable_p.h"
#include "Kora/SDS/Source/SDS_Name_p.h"
#include "Kora/SDS/Source/SDS_PathWindow_p.h"
#include "OstrelPlatformSupport/PSPrefetch_p.h"

#include <cstddef>
#include <cstdint>

class SDS_NameStore
{
public:
    static constexpr unsigned cFirstBlocks = 8;   // laid side by side: 2048 nodes
    static constexpr unsigned cRecordBlock = 256; // connections
    static constexpr unsigned cAudienceBlock = 64;
    static constexpr Cmn_Int16 cMaxCount = 32767;

    // False when there is no memory.
    static bool Init();

    // The node of this name under the parent, live or dormant; null when there is none.
    static SDS_Name* Find(const SDS_Name& iParent, const SDS_NameText& iText, Cmn_UInt32 iHash);
    // The node of a path of one or more names below another. Its hash is that of the whole path.
    static SDS_Name* FindBelow(const SDS_Name& iBase, const SDS_NameText* iTexts, std::size_t iCount,
                               Cmn_UInt32 iHash);
    // The same, of a path that is written plainly.
    static SDS_Name* FindBelow(const SDS_Name& iBase, const SDS_PathWindow& iPath);
    // A live node, with no counts: the dormant one of this name, or else the one freed first, or else a new
    // cell. Null when there is no memory.
    static SDS_Name* Create(SDS_Name& ioParent, const SDS_NameText& iText, Cmn_UInt32 iHash);
    static SDS_Name* CreateRoot();
    // Makes nodes dormant that nobody holds, from this one upwards.
    static void FreeUnlessHeld(SDS_Name* ioName);

    static SDS_ConnectionRecord* CreateRecord();
    static void FreeRecord(SDS_ConnectionRecord* ioRecord);

private:
    static SDS_Name* MakeCell(SDS_Name& ioParent, const SDS_NameText& iText, Cmn_UInt32 iHash);

    inline static SDS_NameTable sTable;
};

inline SDS_Name* SDS_NameStore::Find(const SDS_Name& iParent, const SDS_NameText& iText, Cmn_UInt32 iHash)
{
    return sTable.Find(
        iHash, [&](const SDS_Name& iName) { return iName.mParent == &iParent && iName.mText == iText; });
}

inline SDS_Name* SDS_NameStore::FindBelow(const SDS_Name& iBase, const SDS_NameText* iTexts,
                                          std::size_t iCount, Cmn_UInt32 iHash)
{
    return sTable.Find(iHash, [&](const SDS_Name& iName) {
        const SDS_Name* name = &iName;
        for (std::size_t i = iCount; i > 0; --i) {
            // The root ends every way up: it is called "", and no name of a path is.
            if (!(name->mText == iTexts[i - 1])) return false;
            name = name->mParent;
        }
        return name == &iBase;
    });
}

inline SDS_Name* SDS_NameStore::FindBelow(const SDS_Name& iBase, const SDS_PathWindow& iPath)
{
    return sTable.Find(iPath.HashBelow(iBase), [&](const SDS_Name& iName) {
        // A path's nodes are mostly made one after the other: the parent's line comes with the node's.
        PSPrefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(&iName) - sizeof iName));
        return iPath.Leads(iBase, iName);
    });
}
