#include "Kora/SDS/Source/SDS_WholePath_p.h"

#include <algorithm>

// On the way up each node's path is compared with as much as there is of it, until nothing is left; from there on the
// names' lengths say where the path begins.
bool SDS_WholePath::LeadsUpTo(SDS_WholePath iPath, const SDS_Name& iBase, const SDS_Name& iName)
{
    const SDS_Name* name = &iName;
    bool isCompared = false;
    for (std::size_t end = iPath.mLength;; name = name->mParent) {
        if (!isCompared) {
            const std::size_t bytes = std::min(end, SDS_Name::cEnding);
            if (!iPath.EndsAs(*name, end, bytes)) return false;
            isCompared = end < SDS_Name::cEnding;
            if (isCompared && *(name->GetEnd() - end - 1) != '/') return false;
        }
        const std::size_t length = name->mLength;
        if (length + 1 >= end) return length == end && name->mParent == &iBase;
        end -= length + 1;
    }
}

// A bit for each byte, and one for the slash that could stand behind the path.
Cmn_UInt64 SDS_WholePath::FindSlashes() const
{
    constexpr Cmn_UInt64 ones = 0x0101010101010101u;
    constexpr Cmn_UInt64 low = ones * 0x7F;
    Cmn_UInt64 slashes = Cmn_UInt64{1} << mLength;
    for (std::size_t i = 0; i < mLength; i += 8) {
        const Cmn_UInt64 word = i + 8 <= mLength ? WordAt(mPath + i) : BytesBefore(mLength, mLength - i);
        const Cmn_UInt64 other = word ^ ones * '/';
        const Cmn_UInt64 equal = ~(((other & low) + low) | other | low); // the highest bits of such bytes
        // The product's highest byte has each of them, and nothing is carried into it.
        slashes |= ((equal >> 7) * 0x0102040810204080u >> 56) << i;
    }
    return slashes;
}

bool SDS_WholePath::IsPlain() const
{
    if (mLength > cMostKnown) return false;
    const Cmn_UInt64 slashes = FindSlashes();
    if ((slashes & (slashes << 1 | 1)) != 0) return false;
    // Bytes of names; then those where so many more follow: 2, 4, 8 … 32 of them.
    Cmn_UInt64 run = ~slashes & ((Cmn_UInt64{1} << mLength) - 1);
    for (unsigned bytes = 1; bytes <= SDS_Name::cMaxLength; bytes *= 2)
        run &= run >> bytes;
    return run == 0;
}
