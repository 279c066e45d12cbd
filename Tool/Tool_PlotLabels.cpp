#include "Tool/Tool_PlotLabels.h"

#include "Bastel/Cmn/Cmn_CountText.h"
#include "Tool/Tool_PlotText.h"

#include <algorithm>

namespace {

constexpr Cmn_Int64 cLead = 50; // from a mark to its label
constexpr Cmn_Int64 cGap = 40;  // between two labels
constexpr char cNarrowCrowd[] = "…";

Cmn_Int64 WidthOf(const std::string& iText) { return Tool_TextWidth(iText, Tool_cLabelSize); }

class Placer
{
public:
    Placer(const std::vector<Tool_PlotMark>& iMarks, const std::string& iNoun, Cmn_Int64 iRightEdge)
        : mMarks(iMarks)
        , mNoun(iNoun)
        , mRightEdge(iRightEdge)
    {
    }

    std::vector<Tool_PlotLabel> Run()
    {
        for (std::size_t mark = 0; mark < mMarks.size();) {
            const std::string* text = OwnText(mark, StartAt(mark));
            if (text == nullptr && mark == 0) text = OpeningText();
            if (text != nullptr)
                Place(*text, StartAt(mark), mark, mark + 1, 0);
            else
                PlaceCrowd(mark, CrowdEnd(mark));
            mark = mLabels.back().mFirstMark + mLabels.back().mMarks;
        }
        return std::move(mLabels);
    }

private:
    // Where a label of the mark begins, behind the labels before it.
    Cmn_Int64 StartAt(std::size_t iMark) const { return std::max(mMarks[iMark].mX + cLead, mFreeFrom); }
    Cmn_Int64 EndOf(std::size_t iMark) const
    {
        return iMark + 1 < mMarks.size() ? mMarks[iMark + 1].mFrom : mRightEdge;
    }
    const std::string* OpeningText() const
    {
        const std::string& shortest = mMarks.front().mTexts.back();
        return StartAt(0) + WidthOf(shortest) <= mRightEdge ? &shortest : nullptr;
    }
    // The fullest text that names the mark's state and ends before the next mark; null where none does.
    const std::string* OwnText(std::size_t iMark, Cmn_Int64 iStart) const
    {
        const auto& texts = mMarks[iMark].mTexts;
        const auto text = std::find_if(texts.begin(), texts.end(), [&](const std::string& t) {
            return iStart + WidthOf(t) <= EndOf(iMark);
        });
        return text == texts.end() ? nullptr : &*text;
    }
    // Whether the mark behind a crowd still has room for its own label, behind the crowd's.
    bool HasRoomBehind(std::size_t iMark, Cmn_Int64 iCrowdEnd) const
    {
        return OwnText(iMark, std::max(mMarks[iMark].mX + cLead, iCrowdEnd + cGap)) != nullptr;
    }
    // A crowd ends at the first mark whose own label has room, since that one's state lasts.
    std::size_t CrowdEnd(std::size_t iFirst) const
    {
        const Cmn_Int64 end = StartAt(iFirst) + WidthOf(cNarrowCrowd);
        std::size_t mark = iFirst + 1;
        while (mark < mMarks.size() && !HasRoomBehind(mark, end))
            ++mark;
        return mark;
    }

    void PlaceCrowd(std::size_t iFirst, std::size_t iEnd)
    {
        Cmn_Int64 changes = 0;
        for (std::size_t mark = iFirst; mark < iEnd; ++mark)
            changes += mMarks[mark].mChanges;
        const std::string count = Cmn_CountText(changes, mNoun);
        const Cmn_Int64 width = WidthOf(count);
        Cmn_Int64 start = StartAt(iFirst);
        const bool isLast = iEnd == mMarks.size();
        // At the page's edge the count may begin before its crowd: it names no state.
        if (isLast) start = std::max(std::min(start, mRightEdge - width), mFreeFrom);
        const bool fits = isLast ? start + width <= mRightEdge : HasRoomBehind(iEnd, start + width);
        if (fits && changes > 1)
            Place(count, start, iFirst, iEnd, changes);
        else
            Place(cNarrowCrowd, StartAt(iFirst), iFirst, iEnd, changes);
    }

    void Place(const std::string& iText, Cmn_Int64 iStart, std::size_t iFirst, std::size_t iEnd,
               Cmn_Int64 iChanges)
    {
        const Cmn_Int64 end = iStart + WidthOf(iText);
        mLabels.push_back({iText, iStart, end, iFirst, iEnd - iFirst, iChanges});
        mFreeFrom = end + cGap;
    }

    const std::vector<Tool_PlotMark>& mMarks;
    const std::string& mNoun;
    Cmn_Int64 mRightEdge;
    Cmn_Int64 mFreeFrom = 0;
    std::vector<Tool_PlotLabel> mLabels;
};

} // namespace

std::vector<Tool_PlotLabel> Tool_PlaceLabels(const std::vector<Tool_PlotMark>& iMarks,
                                             const std::string& iNoun, Cmn_Int64 iRightEdge)
{
    return Placer(iMarks, iNoun, iRightEdge).Run();
}
