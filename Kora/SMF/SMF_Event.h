// SMF_Event: one event of a track, as it stands in the track's bytes.
//
// Units:     mTick is in file ticks from the track's beginning, the file's division
//            of them to a quarter note.
// Ownership: borrows the bytes of the track it was read from, which must outlive it unchanged.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>

struct SMF_Event
{
    static constexpr Cmn_UInt8 cSysEx = 0xF0;  // content without the leading 0xF0
    static constexpr Cmn_UInt8 cEscape = 0xF7; // a sysex goes on, or any bytes at all
    static constexpr Cmn_UInt8 cMeta = 0xFF;   // an event for readers of files; mMetaType says which

    // Types of meta events that the library knows by their content; fixed by the file format.
    static constexpr Cmn_UInt8 cEndOfTrack = 0x2F;
    static constexpr Cmn_UInt8 cTempo = 0x51; // microseconds a quarter, 3 bytes
    // Numerator, power of the denominator, click, 32nds a quarter.
    static constexpr Cmn_UInt8 cTimeSignature = 0x58;
    static constexpr Cmn_UInt8 cKeySignature = 0x59; // sharps (negative: flats), 1 for minor

    // The longest time that one delta time can say.
    static constexpr Cmn_Int64 cMaxDelta = 0x0FFFFFFF;

    Cmn_Int64 mTick = 0;
    std::string_view mBytes; // all of it, delta time first
    std::string_view
        mData; // a channel event's one or two data bytes; the content of the others, without its length
    Cmn_UInt8 mStatus = 0;    // 0x80 to 0xEF, cSysEx, cEscape or cMeta
    Cmn_UInt8 mMetaType = 0;  // of a meta event, else 0
    Cmn_UInt8 mDeltaSize = 0; // bytes of the delta time, 1 to 4
    bool mIsRunning = false;  // the status is that of the event before and not written again

    // Read at once, the first one lowest. All eight have to be there.
    static Cmn_UInt64 EightBytesAt(const char* iAt)
    {
        Cmn_UInt64 bytes = 0;
        if constexpr (std::endian::native == std::endian::little)
            std::memcpy(&bytes, iAt, sizeof bytes);
        else
            for (int i = 0; i < 8; ++i)
                bytes |= static_cast<Cmn_UInt64>(static_cast<Cmn_UInt8>(iAt[i])) << (8 * i);
        return bytes;
    }

    // The other way round. All eight have to be there.
    static void PutEightBytes(char* oAt, Cmn_UInt64 iBytes)
    {
        if constexpr (std::endian::native == std::endian::little)
            std::memcpy(oAt, &iBytes, sizeof iBytes);
        else
            for (int i = 0; i < 8; ++i)
                oAt[i] = static_cast<char>(iBytes >> (8 * i) & 0xFF);
    }

    bool IsChannel() const { return mStatus < cSysEx; }
    // A meta event of that type.
    bool IsMeta(Cmn_UInt8 iType) const { return mStatus == cMeta && mMetaType == iType; }
    bool IsEndOfTrack() const { return IsMeta(cEndOfTrack); }
    // A byte of mData; iIndex is below its size.
    Cmn_UInt8 DataByte(std::size_t iIndex) const { return static_cast<Cmn_UInt8>(mData[iIndex]); }
};
