// Tool_PlotLabels: which changes of one kind get a label of their own in a plot, and where all labels stand.
//
// Units:      tenths of a pixel from the page's left edge.
// Invariants: (1) no two labels overlap, and none leaves the page  (2) a label that names a state stands
//             where that state holds, and no other change lies between its mark and the next label  (3)
//             every change stands under a label: its own, one of a later change less than a pixel away, or
//             one that counts a crowd.
//
//   |4/4      |3/4            |7/8
//   |4/4      ||||||12 meters        |4/4      a crowd whose labels would run into each other
//   |4/4      ||… 3/4                          a crowd too narrow for the count
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <string>
#include <vector>

// A change, or several that lie less than a pixel apart: the last of them, which holds from there on.
struct Tool_PlotMark
{
    Cmn_Int64 mFrom;                 // of the first
    Cmn_Int64 mX;                    // of the last
    std::size_t mLast;               // its index among all changes
    Cmn_Int64 mChanges;              // how many they are
    std::vector<std::string> mTexts; // that name its state, the fullest first
};

struct Tool_PlotLabel
{
    std::string mText;
    Cmn_Int64 mX;
    Cmn_Int64 mEnd;
    std::size_t mFirstMark; // that it is about
    std::size_t mMarks;
    Cmn_Int64 mChanges; // 0 for a label of one state, else how many a crowd has
};

inline constexpr Cmn_Int64 Tool_cLabelSize = 12; // pixels

// The marks ascend. The first has a label that names it, whatever follows, if the page is wide enough: it is
// the opening. Every other one has its own where that ends before the next mark, and those that have none are
// counted in one of iNoun: "12 meters".
std::vector<Tool_PlotLabel> Tool_PlaceLabels(const std::vector<Tool_PlotMark>& iMarks,
                                             const std::string& iNoun, Cmn_Int64 iRightEdge);
