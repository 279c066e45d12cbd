// Cmn_Types: the fixed-width integers of the house.
#pragma once

#include <cstdint>

// What a host is told first that forgot the language's option. Microsoft's compiler has its own word for it.
#if __cplusplus < 202002L && (!defined(_MSVC_LANG) || _MSVC_LANG < 202002L)
#error "Kora's C++ headers need C++20: -std=c++20, or /std:c++20"
#endif

using Cmn_Int8 = std::int8_t;
using Cmn_UInt8 = std::uint8_t;
using Cmn_Int16 = std::int16_t;
using Cmn_UInt16 = std::uint16_t;
using Cmn_Int32 = std::int32_t;
using Cmn_UInt32 = std::uint32_t;
using Cmn_Int64 = std::int64_t;
using Cmn_UInt64 = std::uint64_t;
