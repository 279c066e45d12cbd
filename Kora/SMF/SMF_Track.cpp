#include "Kora/SMF/SMF_Track.h"

SMF_Track::SMF_Track()
    : mBytes("\0\xFF\x2F\0", 4)
{
}
