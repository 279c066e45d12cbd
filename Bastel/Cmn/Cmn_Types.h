// Cmn_Types: the fixed-width integers of the house.
#pragma once

#include <cstdint>

using Cmn_Int8 = std::int8_t;
using Cmn_UInt8 = std::uint8_t;
using Cmn_Int16 = std::int16_t;
using Cmn_UInt16 = std::uint16_t;
using Cmn_Int32 = std::int32_t;
using Cmn_UInt32 = std::uint32_t;
using Cmn_Int64 = std::int64_t;
using Cmn_UInt64 = std::uint64_t;
