#include "Kora/FF/Rescue/FF_StreamLister_p.h"

#include "Bastel/Sys/Sys_ByteOrder_p.h"
#include "Bastel/Sys/Sys_StreamThrow_p.h"
#include "Kora/FF/Format/FF_Format_p.h"
#include "Kora/FF/Rescue/FF_StreamWalk_p.h"

#include <algorithm>

using Fields = Sys_StdStreamHeaderFields;

FF_StreamLister::FF_StreamLister(Sys_TypedInStream& ioStream, Cmn_Int64 iFrom, Cmn_Int64 iTo)
    : mTyped(ioStream)
    , mFrom(iFrom)
    , mTo(iTo)
    , mAt(iFrom)
    , mWindow(
          [&ioStream](Cmn_Int64 iPosition, void* oBytes, std::size_t iCount) {
              Sys_InStream& stream = ioStream.GetStream();
              stream.SetPosition(iPosition);
              const std::size_t count = stream.Read(oBytes, iCount);
              if (count < iCount)
                  Sys_ThrowFrom<Sys_StreamReadException>(stream, iPosition + static_cast<Cmn_Int64>(count));
              return count;
          },
          ioStream.GetStream().GetLength())
{
}

void FF_StreamLister::CheckRow()
{
    Sys_InStream& stream = mTyped.GetStream();
    Sys_StdStreamHeaderInfo header;
    for (Cmn_Int64 at = mFrom; at < mTo; at = header.mEnd) {
        mTyped.SetPosition(at);
        if (!Sys_StdStreamHeaderReader::Peek(mTyped, header))
            Sys_ThrowFrom<Sys_StreamReadException>(stream, at);
        if (!header.mIsComplete || header.mEnd > mTo ||
            stream.SumOf(header.mBody, header.mEnd - header.mBody) != header.mBodySum)
            Sys_ThrowFrom<Sys_StreamReadException>(stream, header.mBody);
    }
}

void FF_StreamLister::Run(const Visit& iVisit)
{
    CheckRow();
    constexpr std::size_t cMost = Fields::cMaxSize + FF_Format::cStreamTypeSize;
    for (mAt = mFrom; mAt < mTo;) {
        const std::span<const Cmn_UInt8> bytes = mWindow.At(mAt, cMost);
        if (bytes.empty()) Sys_ThrowFrom<Sys_StreamReadException>(mTyped.GetStream(), mAt);
        const std::size_t found = FF_FindMagic(bytes);
        if (found == 0) {
            Look(bytes, iVisit);
            mAt += static_cast<Cmn_Int64>(Fields::cMagic.size());
        } else
            mAt += static_cast<Cmn_Int64>(found);
    }
}

// At a magic: a header that is genuine, and ends within what is around it, frames a stream.
void FF_StreamLister::Look(std::span<const Cmn_UInt8> iBytes, const Visit& iVisit)
{
    const std::size_t nameSize = iBytes.size() < Fields::cFixedFront ? 0 : iBytes[Fields::cMagic.size()];
    const std::size_t size = Fields::cFixedFront + nameSize + Fields::cAfterName + Fields::cBlockSize;
    if (iBytes.size() < size) return;
    const auto fields = Fields::FromBytes(iBytes.data(), mAt, mTyped.IsSwapped());
    if (!fields.IsGenuine() || !fields.HasSums() || !fields.IsComplete()) return;
    const Cmn_Int64 body = mAt + static_cast<Cmn_Int64>(size);
    const Cmn_Int64 end = body + Cmn_Int64{fields.mBodySize};
    while (!mOpen.empty() && mOpen.back().mEnd <= mAt)
        mOpen.pop_back();
    if (mOpen.size() == FF_StreamWalk::cMaxDepth || end > (mOpen.empty() ? mTo : mOpen.back().mEnd)) return;
    if (!mOpen.empty() && mAt < mOpen.back().mBody) return;

    FF_StreamInfo info;
    info.mName.assign(iBytes.data() + Fields::cFixedFront, iBytes.data() + Fields::cFixedFront + nameSize);
    const bool hasType =
        info.mName == FF_Format::cStreamName && fields.mBodySize >= FF_Format::cStreamTypeSize;
    if (hasType) info.mStreamType = Sys_LoadInteger<Cmn_Int16>(iBytes.data() + size, mTyped.IsSwapped());
    info.mVersion = fields.mVersion;
    info.mPosition = mAt;
    info.mSize = end - mAt;
    info.mListIndex = fields.mListIndex;
    info.mIsList = fields.IsList();
    info.mDepth = static_cast<int>(mOpen.size());
    mOpen.push_back({body, end});
    iVisit(info);
}
