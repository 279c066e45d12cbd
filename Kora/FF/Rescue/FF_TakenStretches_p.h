// FF_TakenStretches: what a repair takes of the old file, and where it puts it.
//
// A stretch is one whole stream with all it holds. Stretches ascend where they were written and in the new file.
// Positions are of the old file as it was written, but for newFrom and the result of NewPlace.
#pragma once

#include "Kora/FF/Rescue/FF_StreamWalk_p.h"

#include <algorithm>

class FF_TakenStretches
{
public:
    static constexpr Cmn_Int64 cNoPlace = -1;

    struct Stretch
    {
        Cmn_Int64 from;
        Cmn_Int64 to;
        Cmn_Int64 newFrom;
        Cmn_Int32 node; // outermost in the new file
    };

    void Add(const Stretch& iStretch) { mStretches.push_back(iStretch); }
    const std::vector<Stretch>& Get() const { return mStretches; }
    // The one that holds iOffset; null where it was left out.
    const Stretch* Find(Cmn_Int64 iOffset) const
    {
        const auto after = std::upper_bound(mStretches.begin(), mStretches.end(), iOffset,
                                            [](Cmn_Int64 o, const Stretch& s) { return o < s.from; });
        if (after == mStretches.begin() || iOffset >= (after - 1)->to) return nullptr;
        return &*(after - 1);
    }
    Cmn_Int64 NewPlace(Cmn_Int64 iOffset) const
    {
        const Stretch* const stretch = Find(iOffset);
        return stretch == nullptr ? cNoPlace : iOffset - stretch->from + stretch->newFrom;
    }

private:
    std::vector<Stretch> mStretches;
};
