// FF_Format: what is fixed on disk, in the order of docs/file-format.md.
//
// Standard headers, the frames around everything, have their constants in Sys_StdStreamHeader_p.h.
#pragma once

#include "Bastel/Sys/Sys_StdStreamHeader_p.h"
#include "Kora/FF/Format/FF_EncryptionType.h"

#include <string_view>

namespace FF_Format {

// --- File header
constexpr Cmn_UInt8 cVersion = 3;
constexpr std::string_view cSignature = "0010111100101011";
constexpr Cmn_Int64 cSignaturePosition = 1;
constexpr Cmn_Int64 cSwapFlagPosition = 17;
constexpr Cmn_Int64 cMaskTypePosition = 18;
// Of mask types 1 to 5; without a mask the header stream begins here.
constexpr Cmn_Int64 cRawKeyPosition = 19;
static_assert(cSwapFlagPosition == cSignaturePosition + Cmn_Int64{cSignature.size()});
static_assert(cMaskTypePosition == cSwapFlagPosition + 1 && cRawKeyPosition == cMaskTypePosition + 1);

// Positions have 32 bits.
constexpr Cmn_Int64 cMaxFileSize = 0xFFFFFFFF;

constexpr bool IsMasked(Cmn_UInt8 iMaskType)
{
    return iMaskType != eFF_EncryptionType_None && iMaskType <= eFF_EncryptionType_Block93;
}
constexpr Cmn_Int64 GetHeaderStream(Cmn_UInt8 iMaskType)
{
    return iMaskType == eFF_EncryptionType_None ? cRawKeyPosition : cRawKeyPosition + 1;
}

// --- Streams: standard headers of one name
constexpr char cStreamName[] = "Z";
constexpr Cmn_Int64 cFrameSize = Cmn_Int64{Sys_StdStreamHeaderFields::cFixedFront} + 1 +
                                 Cmn_Int64{Sys_StdStreamHeaderFields::cAfterName} +
                                 Sys_StdStreamHeaderFields::cBlockSize;
constexpr Cmn_Int16 cHeaderStreamVersion = 1;
constexpr Cmn_Int64 cTOCOffsetSize = 4;
constexpr Cmn_Int64 cHeaderStreamSize = cFrameSize + cTOCOffsetSize;
static_assert(cFrameSize == 26 && cHeaderStreamSize == 30);
constexpr Cmn_Int64 cStreamTypeSize = 2;
constexpr Cmn_Int64 cItemCountSize = 4; // behind the stream type of a list
constexpr Cmn_Int16 cNoStreamType = 0;
constexpr Cmn_Int16 cTOCStreamType = 2;
constexpr Cmn_Int16 cTOCVersion = 2;

// --- Table of contents: the three parts of a value
constexpr std::size_t cPartHeader = 3; // type (8), size (signed 16)
constexpr std::size_t cMaxPartSize = 32767;
constexpr Cmn_UInt8 cPlainLocation = 0;
constexpr Cmn_UInt8 cLocalLocation = 1;
constexpr Cmn_UInt8 cStringDescription = 1;
constexpr int cMaxLocations = 64; // of a chain
constexpr std::size_t cPieceSize = 4;
constexpr std::size_t cMaxPieces = 8191;
static_assert(2 + cMaxPieces * cPieceSize <= cMaxPartSize &&
              2 + (cMaxPieces + 1) * cPieceSize > cMaxPartSize);
constexpr std::size_t cMaxDescription = cMaxPartSize - 4;

// --- Table of contents: the index behind the keys of a long one
constexpr Cmn_Int64 cLargestWithoutIndex = 65536;
constexpr std::size_t cIndexPage = 4096; // doubled until there are at most cMaxIndexPages
constexpr std::size_t cMaxIndexPages = 65536;
constexpr std::size_t cSmallestIndexPage = 64; // of those that are read
constexpr std::size_t cLargestIndexPage = 65536;
constexpr std::size_t cIndexEntrySize = 20;
constexpr std::size_t cIndexTailSize = 20;
constexpr Cmn_UInt32 cIndexMagic = 0x3149544B; // "KTI1", as a number in the file's byte order
static_assert(cMaxFileSize <= Cmn_Int64{cMaxIndexPages} * Cmn_Int64{cLargestIndexPage});

// --- Masking
constexpr Cmn_Int64 cFirstMasked = cRawKeyPosition + 1;
constexpr std::size_t cMaskBlock = 4096; // of mask type 5

} // namespace FF_Format
