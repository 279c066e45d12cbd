#include "Kora/SMF/SMF_Track.h"

#include <utility>

SMF_Track::SMF_Track()
    : mBytes("\0\xFF\x2F\0", 4)
{
}

SMF_Track::SMF_Track(std::shared_ptr<const std::string> iOwner, std::string_view iBytes,
                     Cmn_Int64 iEventCount, Cmn_Int64 iEndTick)
    : mOwner(std::move(iOwner))
    , mBytes(iBytes)
    , mEventCount(iEventCount)
    , mEndTick(iEndTick)
{
}
