// SDS_NameStore: the nodes' memory, and the table that finds a child by its parent and name.
//
// Nodes are cells of blocks that are never handed back; freed ones are used anew, the one that was freed
// first before the others. The table is a power of two of chains, at least four for each cell, so it grows
// with the blocks only. Connection records come from blocks too: in the steady state nothing is allocated.
#pragma once

#include "Kora/SDS/Source/SDS_Name_p.h"

#include <bit>
#include <cstddef>

class SDS_NameStore
{
public:
    static constexpr unsigned cFirstBlock = 2048; // nodes
    static constexpr unsigned cLaterBlock = 256;
    static constexpr unsigned cRecordBlock = 256; // connections
    static constexpr Cmn_Int16 cMaxCount = 32767;

    // False when there is no memory.
    static bool Init();

    // Of a path below a node, name by name. It takes nothing from the nodes between, so that the look-ups of
    // a path's names need not wait for each other's memory.
    static Cmn_UInt32 HashBelow(Cmn_UInt32 iHash, const SDS_NameText& iText);
    // The node of this name under the parent, live or dormant; null when there is none.
    static SDS_Name* Find(const SDS_Name& iParent, const SDS_NameText& iText, Cmn_UInt32 iHash);
    // A live node, with no counts: the dormant one of this name, or else the one freed first, or else a new
    // cell. Null when there is no memory, or the parent's references are at their limit.
    static SDS_Name* Create(SDS_Name& ioParent, const SDS_NameText& iText, Cmn_UInt32 iHash);
    static SDS_Name* CreateRoot();
    // Makes nodes dormant that nobody holds, from this one upwards.
    static void FreeUnlessHeld(SDS_Name* ioName);

    static SDS_ConnectionRecord* CreateRecord();
    static void FreeRecord(SDS_ConnectionRecord* ioRecord);

    // The table, for the store itself.
    static SDS_Name*& ChainOf(Cmn_UInt32 iHash) { return sTable[iHash & sTableMask]; }
    inline static SDS_Name** sTable = nullptr;
    inline static std::size_t sTableMask = 0;
};

// Sums of products, whose high half depends on every bit, folded; the parent's hash is added late, so that
// the names of a path are hashed side by side.
inline Cmn_UInt32 SDS_NameStore::HashBelow(Cmn_UInt32 iHash, const SDS_NameText& iText)
{
    const Cmn_UInt64* const words = iText.mWords;
    const Cmn_UInt64 low = words[0] * 0x9E3779B97F4A7C15u + words[1] * 0xC2B2AE3D27D4EB4Fu;
    const Cmn_UInt64 high = words[2] * 0x165667B19E3779F9u + words[3] * 0xD6E8FEB86659FD93u;
    const Cmn_UInt64 text = low ^ std::rotl(high, 29);
    const Cmn_UInt64 sum = (text ^ (text >> 32)) + iHash;
    return static_cast<Cmn_UInt32>(sum * 0xFF51AFD7ED558CCDu >> 32);
}

inline SDS_Name* SDS_NameStore::Find(const SDS_Name& iParent, const SDS_NameText& iText, Cmn_UInt32 iHash)
{
    for (SDS_Name* name = ChainOf(iHash); name != nullptr; name = name->mNextInTable) {
        if (name->mHash == iHash && name->mParent == &iParent && name->mText == iText) return name;
    }
    return nullptr;
}
