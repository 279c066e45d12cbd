#include "Kora/SMF/SMF_Track.h"

#include <utility>

SMF_Track::SMF_Track()
    : mBytes("\0\xFF\x2F\0", 4)
{
}

SMF_Track::SMF_Track(std::shared_ptr<const void> iOwner, std::string_view iBytes, Cmn_Int64 iEventCount,
                     Cmn_Int64 iEndTick)
    : mOwner(std::move(iOwner))
    , mBytes(iBytes)
    , mEventCount(iEventCount)
    , mEndTick(iEndTick)
{
}

namespace {

// Seven bits a byte, the last one without its top bit.
Cmn_UInt32 ReadVariableLength(const char*& ioAt)
{
    Cmn_UInt32 byte = static_cast<Cmn_UInt8>(*ioAt++);
    Cmn_UInt32 value = byte & 0x7F;
    while (byte >= 0x80) {
        byte = static_cast<Cmn_UInt8>(*ioAt++);
        value = value << 7 | (byte & 0x7F);
    }
    return value;
}

} // namespace

SMF_Track::Iterator SMF_Track::Iterator::BehindAny(Iterator iFrom)
{
    iFrom.ReadAny();
    return iFrom;
}

void SMF_Track::Iterator::ReadAny()
{
    if (mNext == mEnd) {
        mIsPastEnd = true;
        return;
    }
    const char* const start = mNext;
    mEvent.mTick += ReadVariableLength(mNext);
    mEvent.mDeltaSize = static_cast<Cmn_UInt8>(mNext - start);
    const auto status = static_cast<Cmn_UInt8>(*mNext);
    mEvent.mIsRunning = status < 0x80;
    if (!mEvent.mIsRunning) {
        mEvent.mStatus = status;
        ++mNext;
    }
    std::size_t length = 0;
    if (mEvent.IsChannel()) {
        length = (mEvent.mStatus & 0xE0) == 0xC0 ? 1 : 2; // program change and channel pressure have one
        mEvent.mMetaType = 0;
    } else {
        mEvent.mMetaType = status == SMF_Event::cMeta ? static_cast<Cmn_UInt8>(*mNext++) : Cmn_UInt8{0};
        length = ReadVariableLength(mNext);
    }
    mEvent.mData = {mNext, length};
    mNext += length;
    mEvent.mBytes = {start, static_cast<std::size_t>(mNext - start)};
}
