// SDS_NameStore: the nodes' memory, and the making and freeing of nodes.
//
// Nodes are cells of blocks that are never handed back; freed ones are used anew, the one that was
// freed first before the others. Connection records and audiences come from blocks too: in the steady
// state nothing is allocated.
#pragma once

#include "Kora/SDS/FicInterface/SDS_Error.h"
#include "Kora/SDS/Source/SDS_NameTable_p.h"
#include "Kora/SDS/Source/SDS_Name_p.h"
#include "Kora/SDS/Source/SDS_WholePath_p.h"
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

    // The node of this name under the parent, live or dormant; null when there is none. The hash is its path's.
    static SDS_Name* Find(const SDS_Name& iParent, std::string_view iName, Cmn_UInt32 iHash)
    {
        return sTable.Find(iHash, [&](const SDS_Name& iFound) {
            return iFound.mParent == &iParent && iFound.GetName() == iName;
        });
    }
    // The node to which a plain path leads from another.
    static SDS_Name* FindBelow(const SDS_Name& iBase, SDS_WholePath iPath)
    {
        return sTable.Find(iPath.HashBelow(iBase),
                           [=, &iBase](const SDS_Name& iFound) { return iPath.Leads(iBase, iFound); });
    }
    // The live node to which any path leads, name by name. What a path names that is plain was found before.
    static ESDSError FindEach(SDS_Name& iBase, std::string_view iPath, SDS_Name*& oName);
    // A live node, with no counts: the dormant one of this name, or else the one freed first, or else a new
    // cell. Null when there is no memory.
    static SDS_Name* Create(SDS_Name& ioParent, std::string_view iName, Cmn_UInt32 iHash);
    static SDS_Name* CreateRoot();
    // Makes nodes dormant that nobody holds, from this one upwards.
    static void FreeUnlessHeld(SDS_Name* ioName);

    static SDS_ConnectionRecord* CreateRecord();
    static void FreeRecord(SDS_ConnectionRecord* ioRecord);

private:
    static SDS_Name* MakeCell(SDS_Name& ioParent, std::string_view iName, Cmn_UInt32 iHash);

    inline static SDS_NameTable sTable;
};
