#include "Kora/FF/Format/FF_StreamWindow_p.h"

#include "Bastel/Cmn/Cmn_Assert.h"

#include <algorithm>
#include <cstring>

FF_StreamWindow::FF_StreamWindow(Source iSource, Cmn_Int64 iLength)
    : mSource(std::move(iSource))
    , mLength(iLength)
{
}

FF_StreamWindow::~FF_StreamWindow() = default;

void FF_StreamWindow::SetPosition(Cmn_Int64 iPosition)
{
    if (!Cmn_ASSERT(iPosition >= 0 && iPosition <= mLength)) return;
    mPosition = iPosition;
}

void FF_StreamWindow::Forget()
{
    Sys_InStream::Forget();
    mBytes.clear();
    mNextRead = cFirstRead;
}

std::span<const Cmn_UInt8> FF_StreamWindow::At(Cmn_Int64 iPosition, std::size_t iCount)
{
    const auto end = [this] { return mStart + static_cast<Cmn_Int64>(mBytes.size()); };
    const Cmn_Int64 left = std::max<Cmn_Int64>(mLength - iPosition, 0);
    const Cmn_Int64 wanted = std::min(static_cast<Cmn_Int64>(iCount), left);
    if (iPosition < mStart || iPosition + wanted > end()) {
        const bool isInSequence = !mBytes.empty() && iPosition >= mStart && iPosition <= end();
        mNextRead = isInSequence ? std::min(mNextRead * 2, cSize) : cFirstRead;
        const std::size_t count = std::max(iCount, mNextRead);
        mBytes.resize(static_cast<std::size_t>(std::min(static_cast<Cmn_Int64>(count), left)));
        mBytes.resize(mSource(iPosition, mBytes.data(), mBytes.size()));
        mStart = iPosition;
    }
    if (iPosition >= end()) return {};
    return std::span<const Cmn_UInt8>(mBytes).subspan(static_cast<std::size_t>(iPosition - mStart));
}

std::size_t FF_StreamWindow::Read(void* oBytes, std::size_t iCount)
{
    std::size_t done = 0;
    while (done < iCount) {
        const std::span<const Cmn_UInt8> bytes = At(mPosition);
        const std::size_t count = std::min(bytes.size(), iCount - done);
        if (count == 0) break;
        std::memcpy(static_cast<Cmn_UInt8*>(oBytes) + done, bytes.data(), count);
        done += count;
        mPosition += static_cast<Cmn_Int64>(count);
    }
    return done;
}
