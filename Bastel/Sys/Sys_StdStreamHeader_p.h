// Sys_StdStreamHeaderNumbers, Sys_StdStreamHeaderFields: a standard stream header as it stands in the bytes, for
// what reads and writes headers; the first without its name, which most who read headers leave where it is.
#pragma once

#include "Bastel/Sys/Sys_ByteOrder_p.h"
#include "Bastel/Sys/Sys_TypedStream.h"

#include <array>
#include <string>
#include <string_view>

struct Sys_StdStreamHeaderNumbers
{
    // Fixed on disk.
    static constexpr std::array<char, 4> cMagic = {'K', 'S', 'H', '3'};
    static constexpr std::size_t cMaxName = 255;
    static constexpr Cmn_UInt16 cFlagComplete = 1;
    static constexpr Cmn_UInt16 cFlagList = 2;
    static constexpr Cmn_UInt16 cFlagSums = 4;
    static constexpr Cmn_UInt32 cUnknownSize = 0xFFFFFFFF;
    static constexpr std::size_t cFixedFront = cMagic.size() + 1; // magic and length of the name
    static constexpr std::size_t cAfterName = 2 + 4;              // version and list index
    static constexpr Cmn_Int64 cBlockSize = 14;                   // from the flags to the body
    static constexpr std::size_t cSumSize = 4;                    // of the header's own, its last field
    static constexpr std::size_t cMaxSize = cFixedFront + cMaxName + cAfterName + cBlockSize;

    // Headers of a short name, and some bytes behind it.
    static constexpr std::size_t cMaxShortName = 7;
    static constexpr std::size_t cShortSize = cFixedFront + cMaxShortName + cAfterName + cBlockSize;

    using Bytes = std::array<Cmn_UInt8, cMaxSize>;

    Cmn_Int64 mStart = 0; // where the header begins in its stream
    Cmn_Int16 mVersion = 0;
    Cmn_UInt32 mListIndex = 0;
    Cmn_UInt16 mFlags = 0;
    Cmn_UInt32 mBodySize = cUnknownSize;
    Cmn_UInt32 mBodySum = 0; // as it is stored but for the place
    Cmn_UInt32 mHeaderSum = 0;
    // What headerSum should be for the bytes that were read where they were read; 0 without sums.
    Cmn_UInt32 mComputedSum = 0;

    // The header's own sum as it is stored. A sum followed by itself adds the same to a sum around both,
    // whatever it is the sum of, so that a nested header could be exchanged for another sound one unseen by
    // all bodies around it. Turned and added to, it adds what the header says. To both sums, this one and
    // that of the body, the place where the header begins is added: a frame that got into the place of
    // another is none there, and both tell alike where it was written.
    static Cmn_UInt32 SumOf(const Cmn_UInt8* iHeader, std::size_t iSizeBeforeSum, Cmn_Int64 iStart);
    // The same from the plain sum of what stands before it.
    static Cmn_UInt32 TurnedSum(Cmn_UInt32 iPlainSum, Cmn_Int64 iStart);

    // The header whose bytes were read at iStart, without its name; the magic and the
    // length of the name are right.
    static Sys_StdStreamHeaderNumbers FromBytes(const Cmn_UInt8* iBytes, Cmn_Int64 iStart, bool iSwap)
    {
        const Cmn_UInt8* const version = iBytes + cFixedFront + iBytes[cMagic.size()];
        const Cmn_UInt8* const block = version + cAfterName;
        Sys_StdStreamHeaderNumbers numbers;
        numbers.mStart = iStart;
        numbers.mVersion = Sys_LoadInteger<Cmn_Int16>(version, iSwap);
        numbers.mListIndex = Sys_LoadInteger<Cmn_UInt32>(version + 2, iSwap);
        numbers.mFlags = Sys_LoadInteger<Cmn_UInt16>(block, iSwap);
        numbers.mBodySize = Sys_LoadInteger<Cmn_UInt32>(block + 2, iSwap);
        numbers.mBodySum = Sys_LoadInteger<Cmn_UInt32>(block + 6, iSwap);
        numbers.mHeaderSum = Sys_LoadInteger<Cmn_UInt32>(block + 10, iSwap);
        if (!numbers.HasSums()) return numbers;
        numbers.mComputedSum = SumOf(iBytes, static_cast<std::size_t>(block + 10 - iBytes), iStart);
        if (numbers.IsComplete()) numbers.mBodySum -= static_cast<Cmn_UInt32>(iStart);
        return numbers;
    }

    bool IsComplete() const { return (mFlags & cFlagComplete) != 0; }
    bool IsList() const { return (mFlags & cFlagList) != 0; }
    bool HasSums() const { return (mFlags & cFlagSums) != 0; }
    // True for flags that are known and sums that fit them: the header is one that some
    // writer wrote, and wrote there.
    bool IsGenuine() const { return IsGenuineElsewhere() && mHeaderSum == mComputedSum; }
    // True for what would be genuine at GetOrigin. Any header sum is right somewhere: the body has to agree.
    bool IsGenuineElsewhere() const
    {
        constexpr Cmn_UInt16 cKnownFlags = cFlagComplete | cFlagList | cFlagSums;
        return (mFlags & ~cKnownFlags) == 0 && (HasSums() || (mHeaderSum == 0 && mBodySum == 0)) &&
               IsComplete() == (mBodySize != cUnknownSize);
    }
    // Where the header was written if its sum is right: at start, unless it was
    // moved. Positions have 32 bits.
    Cmn_Int64 GetOrigin() const
    {
        return Cmn_Int64{static_cast<Cmn_UInt32>(mStart) + (mHeaderSum - mComputedSum)};
    }
    // What the body's sum should be if the header was written at GetOrigin.
    Cmn_UInt32 GetBodySumElsewhere() const { return mBodySum - (mHeaderSum - mComputedSum); }
    // True for what a writer leaves behind when it has finished a body of at most iBytesLeft bytes.
    bool IsSound(Cmn_Int64 iBytesLeft) const
    {
        return IsGenuine() && IsComplete() && Cmn_Int64{mBodySize} <= iBytesLeft;
    }

    // What stands before the block: magic, name, version, list index. Returns its size.
    static std::size_t PutFront(std::string_view iName, Cmn_Int16 iVersion, Cmn_UInt32 iListIndex, bool iSwap,
                                Cmn_UInt8* oFront);
    // The block as it stands on the disk, behind a front of that sum; sets headerSum where the flags ask for
    // sums.
    void PutBlock(Cmn_UInt32 iFrontSum, bool iSwap, Cmn_UInt8* oBlock);
};

struct Sys_StdStreamHeaderFields : Sys_StdStreamHeaderNumbers
{
    std::string mName;

    // Magic and length of the name, which is returned; throws Sys_StreamReadException where there are none.
    static std::size_t ReadFront(Sys_TypedInStream& ioStream, Bytes& oBytes);
    // Magic and name; throws likewise.
    static std::string ReadName(Sys_TypedInStream& ioStream);
    // The whole header, whatever its fields hold; throws where the bytes end.
    static Sys_StdStreamHeaderFields Read(Sys_TypedInStream& ioStream);

    std::size_t GetSize() const { return cFixedFront + mName.size() + cAfterName + cBlockSize; }
    // The header as it stands on the disk, with the header sum computed where the flags ask
    // for sums. Returns GetSize.
    std::size_t ToBytes(bool iSwap, Bytes& oBytes);
};
