// SDS_Token: a record that announces a change of shared data; the header that every
// kind of token begins with.
//
// A kind of token is a struct that begins with this header and adds its own data behind it:
//
//   struct MeterToken {
//       SDS_Token header;
//       float level;
//   };
//   MeterToken token{};
//   token.header.type = 0x4D545220;           // "MTR "
//   token.header.size = sizeof(token);
//   token.level = 0.5f;
//   name.HandleToken(token.header);           // SDS_IName stamps the node and dispatches
//
// Tokens are copied byte for byte, once for each listener, and never destroyed: their data must be trivially
// copyable and own nothing. The largest token is 1080 bytes.
//
// Units:   time in milliseconds, size in bytes with the header.
// Threads: a token belongs to whoever holds it: the caller until DispatchToken
// returns, a handler for its call.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <cstddef>

struct SDS_DeliveryElement;
struct SDS_Name;

struct SDS_Token
{
    // In `time`: the dispatcher writes the clock's reading there.
    static constexpr Cmn_Int32 cStampTime = 1;
    // The header's bytes that count: no token is smaller.
    static constexpr Cmn_Int16 cHeaderSize = 50;

    SDS_Name* name; // the node that the token concerns
    Cmn_Int32 type; // four-character codes
    Cmn_Int32 subtype;
    Cmn_UInt8 carried[16]; // the sender's and receivers' own; copied as they are
    Cmn_Int32 time;
    Cmn_UInt8 carriedToo[4];
    SDS_DeliveryElement* element; // in a delivered copy, what carries it: the dispatcher's
    Cmn_Int16 size;
};

// The layout is shared with code that was compiled long ago.
static_assert(sizeof(void*) != 8 || (offsetof(SDS_Token, type) == 8 && offsetof(SDS_Token, subtype) == 12 &&
                                     offsetof(SDS_Token, time) == 32 && offsetof(SDS_Token, element) == 40 &&
                                     offsetof(SDS_Token, size) == 48));
