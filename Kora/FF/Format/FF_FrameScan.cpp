#include "Kora/FF/Format/FF_FrameScan_p.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_Crc32C.h"
#include "Kora/FF/Format/FF_Format_p.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <queue>
#include <set>
#include <tuple>

namespace {

using Fields = Sys_StdStreamHeaderFields;

// One pass. Holds between steps: everything before mDone is searched and summed.
class Pass
{
public:
    Pass(FF_StreamWindow& ioWindow, bool iSwap, Cmn_Int64 iFrom, Cmn_Int64 iTo, FF_EMovedFrames iMoved)
        : mWindow(ioWindow)
        , mTyped(ioWindow, iSwap)
        , mDone(iFrom)
        , mEnd(iTo)
        , mTakesMoved(iMoved == eMovedFrames_Take)
    {
    }

    // In the order of their places.
    std::vector<FF_Frame> Run()
    {
        while (mDone < mEnd) {
            std::span<const Cmn_UInt8> bytes = mWindow.At(mDone, Fields::cMagic.size());
            const Cmn_Int64 left = mEnd - mDone;
            if (static_cast<Cmn_Int64>(bytes.size()) > left)
                bytes = bytes.first(static_cast<std::size_t>(left));
            const std::size_t found = FF_FindMagic(bytes);
            Advance(mDone + static_cast<Cmn_Int64>(found));
            if (found == bytes.size()) continue;
            // A part of a magic at the window's end says nothing: the magic may begin within it.
            if (found > 0 && bytes.size() - found < Fields::cMagic.size()) continue;
            Look();
            Advance(std::min(mDone + static_cast<Cmn_Int64>(Fields::cMagic.size()), mEnd));
        }
        return std::move(mFrames);
    }

private:
    // A place where the running sum is wanted: where the body of a frame begins, or ends.
    struct Mark
    {
        Cmn_Int64 mPlace;
        bool mIsEnd;
        std::size_t mFrame;
        bool operator>(const Mark& iOther) const
        {
            return std::tie(mPlace, mIsEnd, mFrame) > std::tie(iOther.mPlace, iOther.mIsEnd, iOther.mFrame);
        }
    };

    void Sum(Cmn_Int64 iTo)
    {
        while (mDone < iTo) {
            const std::span<const Cmn_UInt8> bytes = mWindow.At(mDone);
            if (bytes.empty()) throw Sys_StreamReadException(mDone); // the file became shorter
            const Cmn_Int64 count = std::min(static_cast<Cmn_Int64>(bytes.size()), iTo - mDone);
            mSum = Sys_Crc32C(mSum, bytes.data(), static_cast<std::size_t>(count));
            mDone += count;
        }
    }

    void Advance(Cmn_Int64 iTo)
    {
        while (!mMarks.empty() && mMarks.top().mPlace <= iTo) {
            const Mark mark = mMarks.top();
            mMarks.pop();
            Sum(mark.mPlace);
            FF_Frame& frame = mFrames[mark.mFrame];
            if (mark.mIsEnd) {
                frame.mSum = mSum ^ Sys_Crc32CCombine(frame.mSum, 0, frame.mBodySize);
                frame.mIsWhole = frame.mSum == frame.mHeader.mBodySum;
            } else
                frame.mSum = mSum;
        }
        Sum(iTo);
    }

    // At a magic.
    void Look()
    {
        // Header and stream type in memory, so that a header that is none costs no reading.
        mWindow.At(mDone, Fields::cMaxSize + FF_Format::cStreamTypeSize);
        mTyped.SetPosition(mDone);
        FF_Frame frame;
        try {
            if (!Take(Fields::Read(mTyped), frame)) return;
        } catch (const Sys_StreamReadException&) {
            return; // the file ends within what would be a header
        }
        const Cmn_Int64 body = mTyped.GetPosition();
        const Cmn_Int64 size = frame.mHeader.mEnd - frame.mHeader.mBody;
        if (frame.mHeader.mName == FF_Format::cStreamName && size >= FF_Format::cStreamTypeSize)
            frame.mStreamType = mTyped.ReadInt16();
        if (!frame.mIsOpenEnded) {
            mMarks.push({body, false, mFrames.size()});
            mMarks.push({body + size, true, mFrames.size()});
        }
        mFrames.push_back(std::move(frame));
    }

    bool Take(Fields&& iFields, FF_Frame& oFrame) const
    {
        if (!iFields.IsGenuineElsewhere() || !iFields.HasSums()) return false;
        if (!mTakesMoved && !iFields.IsGenuine()) return false;
        const Cmn_Int64 origin = iFields.GetOrigin();
        const Cmn_Int64 headerSize = mTyped.GetPosition() - mDone;
        const Cmn_Int64 left = mEnd - mTyped.GetPosition();
        if (left < 0) return false;
        const Cmn_Int64 size = iFields.IsComplete() ? Cmn_Int64{iFields.mBodySize} : left;
        if (origin + headerSize + size > FF_Format::cMaxFileSize && iFields.IsComplete()) return false;
        oFrame.mIsOpenEnded = !iFields.IsComplete() || size > left;
        oFrame.mBodySize = iFields.mBodySize;
        oFrame.mPlace = mDone;
        Sys_StdStreamHeaderInfo& header = oFrame.mHeader;
        header.mVersion = iFields.mVersion;
        header.mListIndex = iFields.mListIndex;
        header.mIsList = iFields.IsList();
        header.mHasSums = true;
        header.mIsComplete = iFields.IsComplete();
        header.mBodySum = iFields.GetBodySumElsewhere();
        header.mStart = origin;
        header.mBody = origin + headerSize;
        header.mEnd = header.mBody + std::min(size, left);
        header.mName = std::move(iFields.mName);
        return true;
    }

    FF_StreamWindow& mWindow;
    Sys_TypedInStream mTyped;
    Cmn_Int64 mDone;
    Cmn_Int64 mEnd;
    bool mTakesMoved;
    Cmn_UInt32 mSum = 0; // of [where the pass began, mDone)
    std::priority_queue<Mark, std::vector<Mark>, std::greater<>> mMarks;
    std::vector<FF_Frame> mFrames;
};

// A whole frame's bytes are all its own, where it stands and where it was written: what
// is in it was moved as far.
class WholeAround
{
public:
    // Frames come in ascending order of iStart.
    bool MayHold(const FF_Frame& iFrame, Cmn_Int64 iStart) const
    {
        return iStart >= mEnd || iFrame.GetShift() == mShift;
    }
    void Pass(const FF_Frame& iFrame, Cmn_Int64 iStart, Cmn_Int64 iEnd)
    {
        if (iStart < mEnd || !iFrame.mIsWhole) return;
        mEnd = iEnd;
        mShift = iFrame.GetShift();
    }

private:
    Cmn_Int64 mEnd = 0; // of the outermost whole one passed last
    Cmn_Int64 mShift = 0;
};

void DropStrangers(std::vector<FF_Frame>& ioFrames)
{
    WholeAround around;
    std::erase_if(ioFrames, [&](const FF_Frame& frame) {
        if (!around.MayHold(frame, frame.mPlace)) return true;
        around.Pass(frame, frame.mPlace, frame.GetPlaceOfEnd());
        return false;
    });
}

// Leaves out what is not whole and was moved as no whole one was.
void DropUnlikely(std::vector<FF_Frame>& ioFrames)
{
    std::set<Cmn_Int64> shifts{0};
    for (const FF_Frame& frame : ioFrames)
        if (frame.mIsWhole) shifts.insert(frame.GetShift());
    std::erase_if(ioFrames, [&](const FF_Frame& f) { return !f.mIsWhole && !shifts.contains(f.GetShift()); });
}

// Of those from one place the best comes first.
bool IsBetter(const FF_Frame& a, const FF_Frame& b)
{
    const auto rank = [](const FF_Frame& f) {
        return std::tuple(f.mHeader.mStart, !f.mIsWhole, f.GetShift() != 0, f.mPlace);
    };
    return rank(a) < rank(b);
}

// Of those from one place, the one that belongs into what is around that place, or else the best.
FF_FoundFrames ChooseOne(std::vector<FF_Frame>&& iFrames)
{
    std::sort(iFrames.begin(), iFrames.end(), IsBetter);
    FF_FoundFrames found;
    WholeAround around;
    for (auto from = iFrames.begin(); from != iFrames.end();) {
        const Cmn_Int64 origin = from->mHeader.mStart;
        const auto to =
            std::find_if(from, iFrames.end(), [&](const FF_Frame& f) { return f.mHeader.mStart != origin; });
        const auto chosen =
            std::find_if(from, to, [&](const FF_Frame& f) { return around.MayHold(f, origin); });
        for (auto frame = from; chosen != to && frame != to; ++frame)
            if (frame != chosen) found.mDoubles.push_back(std::move(*frame));
        if (chosen != to) {
            around.Pass(*chosen, origin, chosen->mHeader.mEnd);
            found.mFrames.push_back(std::move(*chosen));
        }
        from = to;
    }
    return found;
}

} // namespace

std::size_t FF_FindMagic(std::span<const Cmn_UInt8> iBytes)
{
    const auto& magic = Fields::cMagic;
    std::size_t at = 0;
    while (at < iBytes.size()) {
        const void* found = std::memchr(iBytes.data() + at, magic[0], iBytes.size() - at);
        if (found == nullptr) return iBytes.size();
        at = static_cast<std::size_t>(static_cast<const Cmn_UInt8*>(found) - iBytes.data());
        if (std::memcmp(iBytes.data() + at, magic.data(), std::min(magic.size(), iBytes.size() - at)) == 0)
            return at;
        ++at;
    }
    return at;
}

FF_FoundFrames FF_FindFrames(FF_StreamWindow& ioWindow, bool iSwap, Cmn_Int64 iFrom, Cmn_Int64 iTo,
                             FF_EMovedFrames iMoved)
{
    std::vector<FF_Frame> frames = Pass(ioWindow, iSwap, iFrom, std::max(iFrom, iTo), iMoved).Run();
    if (iMoved == eMovedFrames_Ignore) return {std::move(frames), {}};
    DropStrangers(frames);
    DropUnlikely(frames);
    return ChooseOne(std::move(frames));
}
