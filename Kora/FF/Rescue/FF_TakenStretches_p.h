// FF_TakenStretches: what a repair takes of the old file, and where it puts it.
//
// A stretch is one whole stream with all it holds. Stretches ascend where they were written and in the new
// file. Positions are of the old file as it was written, but for newFrom and the result of NewPlace.
#pragma once

#include "Kora/FF/Rescue/FF_StreamWalk_p.h"

#include <algorithm>

class FF_TakenStretches
{
public:
    static constexpr Cmn_Int64 cNoPlace = -1;

    struct Stretch
    {
        Cmn_Int64 mFrom;
        Cmn_Int64 mTo;
        Cmn_Int64 mNewFrom;
        Cmn_Int32 mNode; // outermost in the new file
    };

    void Add(const Stretch& iStretch) { mStretches.push_back(iStretch); }
    const std::vector<Stretch>& Get() const { return mStretches; }
    // The one that holds iOffset; null where it was left out.
    const Stretch* Find(Cmn_Int64 iOffset) const
    {
        const auto after = std::upper_bound(mStretches.begin(), mStretches.end(), iOffset,
                                            [](Cmn_Int64 o, const Stretch& s) { return o < s.mFrom; });
        if (after == mStretches.begin() || iOffset >= (after - 1)->mTo) return nullptr;
        return &*(after - 1);
    }
    Cmn_Int64 NewPlace(Cmn_Int64 iOffset) const
    {
        const Stretch* const stretch = Find(iOffset);
        return stretch == nullptr ? cNoPlace : iOffset - stretch->mFrom + stretch->mNewFrom;
    }

private:
    std::vector<Stretch> mStretches;
};
