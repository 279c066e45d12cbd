#include "Bastel/Sys/Sys_FileBasedOutStream.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_ByteOrder_p.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <typeinfo>
#include <utility>

Sys_FileBasedOutStream::Sys_FileBasedOutStream(Sys_File& iFile)
    : mFile(iFile)
    , mBuffer(std::make_unique_for_overwrite<Cmn_UInt8[]>(cFirstCapacity))
{
    Sys_FileBasedOutStream::BeginAtFilePosition();
}

Sys_FileBasedOutStream::~Sys_FileBasedOutStream() = default;

void Sys_FileBasedOutStream::MassageBuffer(void*, std::size_t, Cmn_Int64) {}

void Sys_FileBasedOutStream::BeginAtFilePosition()
{
    mBegin = mBufferStart = mSummed = mFile.GetPosition();
    mFill = 0;
    mFileEnd = std::max(mFile.GetLength(), mBegin);
    // Who goes on without the length takes the file for empty, and writes over what it holds.
    Sys_ThrowIfOSErr(mFile.GetLastError(), mFile.GetFileLoc().GetPath());
    FindRoom();
}

void Sys_FileBasedOutStream::SetLimit(Cmn_Int64 iLimit)
{
    mLimit = iLimit;
    FindRoom();
}

void Sys_FileBasedOutStream::RememberFailure()
{
    if (!mFailed) mFailedError = mFile.GetLastError();
    mFailed = true;
    FindRoom();
}

void Sys_FileBasedOutStream::FindRoom()
{
    const Cmn_Int64 toLimit = mFailed ? 0 : std::max<Cmn_Int64>(mLimit - Position(), 0);
    const std::size_t inBuffer = mCapacity - mFill;
    mRoom = toLimit < static_cast<Cmn_Int64>(inBuffer) ? static_cast<std::size_t>(toLimit) : inBuffer;
}

std::size_t Sys_FileBasedOutStream::Write(const void* iBytes, std::size_t iCount)
{
    if (iCount - 1 < mRoom) { // a count of 0 wraps around to more than there can be
        Sys_CopyBytes(mBuffer.get() + mFill, iBytes, iCount);
        mFill += iCount;
        mRoom -= iCount;
        return iCount;
    }
    return WritePastBuffer(iBytes, iCount);
}

std::size_t Sys_FileBasedOutStream::WritePastBuffer(const void* iBytes, std::size_t iCount)
{
    const Cmn_Int64 toLimit = mLimit - Position();
    if (iCount == 0 || mFailed || toLimit < 0 || iCount > static_cast<Cmn_UInt64>(toLimit)) return 0;
    bool fits = MakeRoom(iCount);
    if (!fits) {
        if (!DrainBlocks()) return 0;
        fits = MakeRoom(iCount);
    }
    if (!fits) {
        if (!Drain()) return 0;
        fits = iCount < cBufferSize && MakeRoom(iCount);
    }
    if (fits) {
        std::memcpy(mBuffer.get() + mFill, iBytes, iCount);
        mFill += iCount;
    } else {
        if (WriteMasked(mBufferStart, iBytes, iCount) != iCount) return 0;
        GetOpenHeaders().Add(iBytes, iCount);
        mBufferStart += static_cast<Cmn_Int64>(iCount);
        mSummed = mBufferStart;
        mFileEnd = std::max(mFileEnd, mBufferStart);
    }
    FindRoom();
    return iCount;
}

// The buffer grows with what it is to hold; without memory for more it stays as it is.
bool Sys_FileBasedOutStream::MakeRoom(std::size_t iCount)
{
    const std::size_t wanted = mFill + iCount;
    if (wanted <= mCapacity) return true;
    if (iCount > cBufferSize || wanted > cBufferSize) return false;
    const std::size_t doubled = std::max(wanted, 2 * mCapacity);
    const std::size_t capacity = doubled < cBlockSize ? doubled : cBufferSize;
    std::unique_ptr<Cmn_UInt8[]> larger(new (std::nothrow) Cmn_UInt8[capacity]);
    if (larger == nullptr) return false;
    std::memcpy(larger.get(), mBuffer.get(), mFill);
    mBuffer = std::move(larger);
    mCapacity = capacity;
    return true;
}

void Sys_FileBasedOutStream::SetPosition(Cmn_Int64 iPosition)
{
    if (iPosition == Position()) return;
    if (!Cmn_ASSERT(this->GetOpenHeaders().IsEmpty())) return;
    if (!Cmn_ASSERT(iPosition >= mBegin && iPosition <= this->GetEnd())) return;
    // What cannot be written stays where it belongs, and so does the position: later writes
    // would end up in its place.
    if (!Drain()) return RememberFailure();
    mBufferStart = mSummed = iPosition;
    FindRoom();
}

bool Sys_FileBasedOutStream::Patch(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount)
{
    if (!IsWritten(iPosition, iCount)) return false;
    if (iCount == 0) return true;
    const Cmn_Int64 end = iPosition + static_cast<Cmn_Int64>(iCount);
    if (!GetOpenHeaders().IsInside(end - 1)) return Overwrite(iPosition, iBytes, iCount) == iCount;
    // What lies behind an open body is no part of it, though the file may go on there.
    if (end > Position()) return false;
    UpdateSums();
    const auto old = std::make_unique_for_overwrite<Cmn_UInt8[]>(iCount);
    if (!ReadBack(iPosition, old.get(), iCount)) return false;
    const std::size_t count = Overwrite(iPosition, iBytes, iCount);
    if (count != 0) GetOpenHeaders().Replace(iPosition, old.get(), iBytes, count);
    return count == iCount;
}

bool Sys_FileBasedOutStream::PatchHeader(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount)
{
    const Cmn_Int64 inBuffer = iPosition - mBufferStart; // as nearly always
    if (inBuffer >= 0 && iPosition + static_cast<Cmn_Int64>(iCount) <= Position()) {
        std::memcpy(mBuffer.get() + inBuffer, iBytes, iCount);
        return true;
    }
    return IsWritten(iPosition, iCount) && Overwrite(iPosition, iBytes, iCount) == iCount;
}

bool Sys_FileBasedOutStream::IsWritten(Cmn_Int64 iPosition, std::size_t iCount) const
{
    const Cmn_Int64 end = GetEnd();
    return iPosition >= mBegin && iPosition <= end && iCount <= static_cast<Cmn_UInt64>(end - iPosition);
}

Sys_FileBasedOutStream::Parts Sys_FileBasedOutStream::PartsOf(Cmn_Int64 iPosition, std::size_t iCount) const
{
    // The buffer may lie in the midst of what is in the file, and hides what is below it.
    const auto count = static_cast<Cmn_Int64>(iCount);
    const Cmn_Int64 before = std::clamp<Cmn_Int64>(mBufferStart - iPosition, 0, count);
    const Cmn_Int64 upToBufferEnd = std::clamp<Cmn_Int64>(Position() - iPosition, before, count);
    return {static_cast<std::size_t>(before), static_cast<std::size_t>(upToBufferEnd - before),
            static_cast<std::size_t>(std::max<Cmn_Int64>(iPosition - mBufferStart, 0))};
}

std::size_t Sys_FileBasedOutStream::Overwrite(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount)
{
    const auto* const bytes = static_cast<const Cmn_UInt8*>(iBytes);
    const Parts parts = PartsOf(iPosition, iCount);
    const std::size_t before = WriteMasked(iPosition, bytes, parts.mBefore);
    if (before != parts.mBefore) return before;
    if (parts.mInBuffer != 0)
        std::memcpy(mBuffer.get() + parts.mOffset, bytes + parts.mBefore, parts.mInBuffer);
    const std::size_t done = parts.mBefore + parts.mInBuffer;
    return done + WriteMasked(iPosition + static_cast<Cmn_Int64>(done), bytes + done, iCount - done);
}

bool Sys_FileBasedOutStream::ReadBack(Cmn_Int64 iPosition, Cmn_UInt8* oBytes, std::size_t iCount)
{
    const Parts parts = PartsOf(iPosition, iCount);
    if (mFile.ReadAt(iPosition, oBytes, parts.mBefore) != parts.mBefore) return false;
    MassageBuffer(oBytes, parts.mBefore, iPosition);
    if (parts.mInBuffer != 0)
        std::memcpy(oBytes + parts.mBefore, mBuffer.get() + parts.mOffset, parts.mInBuffer);
    return true;
}

void Sys_FileBasedOutStream::UpdateSums()
{
    const Cmn_Int64 position = Position();
    const auto count = static_cast<std::size_t>(position - mSummed);
    if (count != 0) GetOpenHeaders().Add(mBuffer.get() + (mFill - count), count);
    mSummed = position;
}

void Sys_FileBasedOutStream::TakeBack(Cmn_Int64 iStart)
{
    if (!Cmn_ASSERT(iStart >= mBegin && iStart <= this->GetPosition())) return;
    mFileEnd = std::min(mFileEnd, iStart);
    mFill = static_cast<std::size_t>(std::max<Cmn_Int64>(iStart - mBufferStart, 0));
    mBufferStart = std::min(mBufferStart, iStart);
    mSummed = std::min(mSummed, iStart);
    FindRoom();
}

void Sys_FileBasedOutStream::Truncate()
{
    Flush();
    mFile.SetLength(mBufferStart);
    mFileEnd = mBufferStart;
}

void Sys_FileBasedOutStream::Flush()
{
    const bool hadFailed = std::exchange(mFailed, false);
    const bool isDrained = Drain();
    FindRoom();
    if (isDrained && !hadFailed) return;
    Sys_StreamWriteException exception(mBufferStart);
    exception.SetFile(mFile.GetFileLoc().GetPath());
    exception.SetOSError(isDrained ? mFailedError : mFile.GetLastError());
    throw exception;
}

void Sys_FileBasedOutStream::Explain(Cmn_Exception& ioException) const
{
    ioException.SetFile(mFile.GetFileLoc().GetPath());
    ioException.SetOSError(mFailed ? mFailedError : mFile.GetLastError());
}

bool Sys_FileBasedOutStream::DrainBlocks()
{
    constexpr Cmn_Int64 block = cBlockSize;
    return DrainUpTo(std::max(Position() / block * block, mBufferStart));
}

bool Sys_FileBasedOutStream::Drain() { return DrainUpTo(Position()); }

bool Sys_FileBasedOutStream::DrainUpTo(Cmn_Int64 iPosition)
{
    const auto count = static_cast<std::size_t>(iPosition - mBufferStart);
    if (count == 0) return true;
    UpdateSums();
    if (WriteMasked(mBufferStart, mBuffer.get(), count) != count) return false;
    mFill -= count;
    std::memmove(mBuffer.get(), mBuffer.get() + count, mFill);
    mBufferStart = iPosition;
    mFileEnd = std::max(mFileEnd, mBufferStart);
    FindRoom();
    return true;
}

std::size_t Sys_FileBasedOutStream::WriteMasked(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount)
{
    // Only derived classes mask: what needs no copy is written as it stands.
    const bool isMasking = typeid(*this) != typeid(Sys_FileBasedOutStream);
    std::size_t done = 0;
    while (done < iCount) {
        const Cmn_UInt8* bytes = static_cast<const Cmn_UInt8*>(iBytes) + done;
        const Cmn_Int64 at = iPosition + static_cast<Cmn_Int64>(done);
        const std::size_t toBlockEnd = cBlockSize - static_cast<std::size_t>(at) % cBlockSize;
        const std::size_t wanted = std::min(iCount - done, toBlockEnd);
        if (isMasking) {
            if (wanted > mMasked.size()) mMasked.resize(wanted);
            std::memcpy(mMasked.data(), bytes, wanted);
            MassageBuffer(mMasked.data(), wanted, at);
            bytes = mMasked.data();
        }
        const std::size_t count = mFile.WriteAt(at, bytes, wanted);
        done += count;
        if (count != wanted) break;
    }
    return done;
}
