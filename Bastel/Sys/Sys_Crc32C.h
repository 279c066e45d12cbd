// CRC-32C: the 32-bit cyclic sum that documents carry to notice damage.
//
// Polynomial 0x1EDC6F41 (Castagnoli, IEEE Trans. Comm. 41(6), 1993), bits reflected, start
// and end complemented, as in
// RFC 3720: the sum of "123456789" is 0xE3069283. Every change of up to 32 neighbouring bits alters it, and
// every change of one to three bits in up to 2^31 bits.
//
// Real time: no allocation, no call to the system. The processor's own instruction is used where it has one.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <cstddef>

// The sum of A and B behind it, from the sum of A; the sum of nothing is 0.
[[nodiscard]] KORA_API Cmn_UInt32 Sys_Crc32C(Cmn_UInt32 iSumOfA, const void* iB, std::size_t iCountOfB);

// The sum of A and B behind it, from the sums of both and B's length. O(log n), nothing is read.
[[nodiscard]] KORA_API Cmn_UInt32 Sys_Crc32CCombine(Cmn_UInt32 iSumOfA, Cmn_UInt32 iSumOfB,
                                                    Cmn_UInt64 iCountOfB);
