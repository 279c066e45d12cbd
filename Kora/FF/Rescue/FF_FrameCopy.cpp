#include "Kora/FF/Rescue/FF_FrameCopy_p.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_StdStreamHeader_p.h"

#include <algorithm>
#include <memory>

namespace {

using Fields = Sys_StdStreamHeaderFields;

class Copy
{
public:
    Copy(FF_StreamWindow& ioWindow, const FF_StreamWalk& iWalk, const FF_Frame& iFrame,
         Sys_TypedOutStream& ioOut)
        : mWindow(ioWindow)
        , mWalk(iWalk)
        , mIn(ioWindow, ioOut.IsSwapped())
        , mOut(ioOut)
        , mAt(iFrame.mPlace)
        , mEnd(iFrame.GetPlaceOfEnd())
        , mShift(iFrame.GetShift())
    {
    }
    // Headers close from the inside out, when writing fails too.
    ~Copy()
    {
        while (!mOpen.empty())
            mOpen.pop_back();
    }
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;

    void Run()
    {
        while (mAt < mEnd || !mOpen.empty()) {
            if (mAt == InnermostEnd()) {
                mOpen.back().mWriter->PatchSize();
                mOpen.pop_back();
                continue;
            }
            const std::span<const Cmn_UInt8> bytes = Bytes();
            const std::size_t found = FF_FindMagic(bytes);
            if (found > 0)
                CopyBytes(bytes.first(found));
            else if (!CopyHeader())
                CopyBytes(Bytes().first(1));
        }
    }

private:
    struct Open
    {
        std::unique_ptr<Sys_StdStreamHeaderWriter> mWriter;
        Cmn_Int64 mEnd;
    };

    Cmn_Int64 InnermostEnd() const { return mOpen.empty() ? mEnd : mOpen.back().mEnd; }

    // From here to the end of the innermost frame, as far as they are in memory.
    std::span<const Cmn_UInt8> Bytes()
    {
        const std::span<const Cmn_UInt8> bytes = mWindow.At(mAt, Fields::cMaxSize);
        if (bytes.empty()) throw Sys_StreamReadException(mAt); // the file became shorter
        const Cmn_Int64 left = InnermostEnd() - mAt;
        return bytes.first(static_cast<std::size_t>(std::min(static_cast<Cmn_Int64>(bytes.size()), left)));
    }

    void CopyBytes(std::span<const Cmn_UInt8> iBytes)
    {
        mOut.WriteBytes(iBytes.data(), iBytes.size());
        mAt += static_cast<Cmn_Int64>(iBytes.size());
    }

    bool CopyHeader()
    {
        mIn.SetPosition(mAt);
        Fields fields;
        try {
            fields = Fields::Read(mIn);
        } catch (const Sys_StreamReadException&) {
            return false; // no header, or not all of it
        }
        const Cmn_Int64 body = mIn.GetPosition();
        const Cmn_Int64 origin = fields.GetOrigin();
        if (!fields.IsGenuineElsewhere() || !fields.HasSums() || mAt - origin != mShift) return false;
        const Cmn_Int32 node = mWalk.Find(origin);
        // The walk does not go deeper.
        if (node == FF_StreamWalk::cNone && mOpen.size() < FF_StreamWalk::cMaxDepth) return false;
        const bool isCrossed = node != FF_StreamWalk::cNone && mWalk.GetNode(node).mIsCrossed;
        if (isCrossed || !fields.IsComplete() || body + Cmn_Int64{fields.mBodySize} > InnermostEnd())
            return CopyAlone(fields, body);
        Sys_OpenHeaders& open = mOut.GetStream().GetOpenHeaders();
        open.SetListIndex(fields.mListIndex);
        auto writer = std::make_unique<Sys_StdStreamHeaderWriter>(mOut, fields.mName, fields.mVersion);
        if (fields.IsList()) open.SetIsList();
        mOpen.push_back({std::move(writer), body + Cmn_Int64{fields.mBodySize}});
        mAt = body;
        return true;
    }

    // A header that frames nothing that could be summed: bytes of what is around it, but for its place.
    bool CopyAlone(Fields& ioFields, Cmn_Int64 iBody)
    {
        if (iBody > InnermostEnd()) return false;
        if (ioFields.IsComplete()) ioFields.mBodySum = ioFields.GetBodySumElsewhere();
        ioFields.mStart = mOut.GetPosition();
        Fields::Bytes bytes;
        mOut.WriteBytes(bytes.data(), ioFields.ToBytes(mOut.IsSwapped(), bytes));
        mAt = iBody;
        return true;
    }

    FF_StreamWindow& mWindow;
    const FF_StreamWalk& mWalk;
    Sys_TypedInStream mIn;
    Sys_TypedOutStream& mOut;
    Cmn_Int64 mAt; // everything before it is copied
    Cmn_Int64 mEnd;
    Cmn_Int64 mShift;
    std::vector<Open> mOpen; // each within the one before
};

} // namespace

void FF_CopyFrame(FF_StreamWindow& ioWindow, const FF_StreamWalk& iWalk, const FF_Frame& iFrame,
                  Sys_TypedOutStream& ioOut)
{
    Copy(ioWindow, iWalk, iFrame, ioOut).Run();
}
