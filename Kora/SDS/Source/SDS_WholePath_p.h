// SDS_WholePath: a path that is looked up at once, where the caller has it, not name by name.
//
// Most paths are written plainly: single slashes between the names, none at the ends. A plain path is looked up by one
// sum of all its bytes, and what is found is compared with it from the end, up to 31 bytes at once: in so few
// instructions that several look-ups are under way side by side, each of them waiting for memory of its own. Nothing
// is copied, since a copy could be read again only when all that comes before it is done.
//
// Words: eight bytes, the first one the lowest; none is read from behind the path's end.
#pragma once

#include "Kora/SDS/Source/SDS_Name_p.h"

#include <cstddef>
#include <cstring>
#include <string_view>

class SDS_WholePath
{
public:
    // Of at least one byte, which stay the caller's.
    explicit SDS_WholePath(std::string_view iPath)
        : mPath(iPath.data())
        , mLength(iPath.size())
    {
    }

    // The hash of the node to which the path leads from the base, if it is plain.
    Cmn_UInt32 HashBelow(const SDS_Name& iBase) const
    {
        return SDS_PathHash::Of(iBase.mHashBelow, mPath, mLength);
    }
    // Whether it leads there, in so many bytes.
    bool Leads(const SDS_Name& iBase, const SDS_Name& iName) const;
    // Whether it is known to be plain, with no name in it too long: of longer paths nothing is.
    bool IsPlain() const;

private:
    static constexpr std::size_t cMostWhole =
        SDS_Name::cEnding - 2;                    // with a slash before, and what lies before that
    static constexpr std::size_t cMostKnown = 63; // a bit for each byte, and for one behind

    static Cmn_UInt64 WordAt(const char* iFrom)
    {
        Cmn_UInt64 word = 0;
        std::memcpy(&word, iFrom, sizeof word);
        return word;
    }
    // All bytes of one to seven.
    static Cmn_UInt64 ShortWord(const char* iFrom, std::size_t iBytes);
    // The last one to eight bytes before iEnd.
    Cmn_UInt64 BytesBefore(std::size_t iEnd, std::size_t iBytes) const
    {
        const Cmn_UInt64 word =
            iEnd >= 8 ? WordAt(mPath + iEnd - 8) : ShortWord(mPath, iEnd) << (64 - 8 * iEnd);
        return word >> (64 - 8 * iBytes);
    }
    // Whether the bytes before iEnd, 1 to 32 of them, are the last ones of the node's path.
    bool EndsAs(const SDS_Name& iName, std::size_t iEnd, std::size_t iBytes) const;
    // Taken by value, so that the path stays in registers.
    static bool LeadsUpTo(SDS_WholePath iPath, const SDS_Name& iBase, const SDS_Name& iName);
    Cmn_UInt64 FindSlashes() const;

    const char* mPath;
    std::size_t mLength;
};

inline Cmn_UInt64 SDS_WholePath::ShortWord(const char* iFrom, std::size_t iBytes)
{
    const auto byteAt = [&](std::size_t i) {
        return Cmn_UInt64{static_cast<unsigned char>(iFrom[i])} << 8 * i;
    };
    if (iBytes < 4) return byteAt(0) | byteAt(iBytes / 2) | byteAt(iBytes - 1);
    Cmn_UInt32 first = 0, last = 0;
    std::memcpy(&first, iFrom, sizeof first);
    std::memcpy(&last, iFrom + iBytes - 4, sizeof last);
    return first | Cmn_UInt64{last} << 8 * (iBytes - 4);
}

// By words that overlap in the middle.
inline bool SDS_WholePath::EndsAs(const SDS_Name& iName, std::size_t iEnd, std::size_t iBytes) const
{
    const char* const nameEnd = iName.GetEnd();
    if (iBytes <= 8) return BytesBefore(iEnd, iBytes) == WordAt(nameEnd - 8) >> (64 - 8 * iBytes);
    const char* const end = mPath + iEnd;
    const auto differ = [&](std::size_t iFromEnd) {
        return WordAt(end - iFromEnd) ^ WordAt(nameEnd - iFromEnd);
    };
    const Cmn_UInt64 outer = differ(iBytes) | differ(8);
    return (iBytes <= 16 ? outer : outer | differ(iBytes - 8) | differ(16)) == 0;
}

inline bool SDS_WholePath::Leads(const SDS_Name& iBase, const SDS_Name& iName) const
{
    if (mLength > cMostWhole || iBase.mParent != nullptr) return LeadsUpTo(*this, iBase, iName);
    // From the root: there is nothing before the first slash.
    const char* const before = iName.GetEnd() - mLength - 2;
    return EndsAs(iName, mLength, mLength) && before[0] == '\0' && before[1] == '/';
}
