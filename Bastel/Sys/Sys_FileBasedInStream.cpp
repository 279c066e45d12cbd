#include "Bastel/Sys/Sys_FileBasedInStream.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_BlockCache_p.h"
#include "Bastel/Sys/Sys_ByteOrder_p.h"
#include "Bastel/Sys/Sys_Crc32C.h"

#include <algorithm>
#include <cstring>

namespace {

// Bytes behind the position that stay: who looked at a header goes back to its start.
constexpr std::size_t cLookBack = 512;

} // namespace

Sys_FileBasedInStream::Sys_FileBasedInStream(Sys_File& iFile)
    : mFile(iFile)
{
    Sys_FileBasedInStream::BeginAtFilePosition();
}

Sys_FileBasedInStream::~Sys_FileBasedInStream() = default;

void Sys_FileBasedInStream::MassageBuffer(void*, std::size_t, Cmn_Int64) {}

void Sys_FileBasedInStream::BeginAtFilePosition()
{
    mBegin = mPosition = mFile.GetPosition();
    Forget();
}

void Sys_FileBasedInStream::Forget()
{
    Sys_InStream::Forget();
    mLength = std::max(mFile.GetLength(), mBegin);
    mPosition = std::min(mPosition, mLength);
    mData = mBuffer.get();
    mBufferStart = mPosition;
    mBuffered = 0;
    mNextRead = cFirstRead;
    mJumps = 0;
    mCache.reset();
}

void Sys_FileBasedInStream::SetReadAhead(std::size_t iBytes)
{
    mReadAhead = std::max(iBytes, cFirstRead);
    mNextRead = std::min(mNextRead, mReadAhead);
}

void Sys_FileBasedInStream::SetPosition(Cmn_Int64 iPosition)
{
    if (Cmn_ASSERT(iPosition >= mBegin && iPosition <= mLength)) mPosition = iPosition;
}

std::size_t Sys_FileBasedInStream::Read(void* oBytes, std::size_t iCount)
{
    // Both differences wrap around to more than there can be: of a position before the
    // buffer, and of a count of 0.
    const auto offset = static_cast<std::size_t>(mPosition - mBufferStart);
    if (offset <= mBuffered && iCount - 1 < mBuffered - offset) {
        Sys_CopyBytes(oBytes, mData + offset, iCount);
        mPosition += static_cast<Cmn_Int64>(iCount);
        return iCount;
    }
    return ReadPastBuffer(static_cast<Cmn_UInt8*>(oBytes), iCount);
}

std::size_t Sys_FileBasedInStream::ReadPastBuffer(Cmn_UInt8* oBytes, std::size_t iCount)
{
    const auto left = static_cast<std::size_t>(mLength - mPosition);
    const std::size_t wanted = std::min(iCount, left);
    std::size_t done = TakeBuffered(oBytes, wanted);
    if (wanted - done >= mReadAhead) return done + ReadDirectly(oBytes + done, wanted - done);
    if (done < wanted) {
        Load(mPosition, wanted - done);
        done += TakeBuffered(oBytes + done, wanted - done);
    }
    return done;
}

std::size_t Sys_FileBasedInStream::TakeBuffered(Cmn_UInt8* oBytes, std::size_t iCount)
{
    const auto offset = static_cast<std::size_t>(mPosition - mBufferStart);
    if (offset >= mBuffered || iCount == 0) return 0;
    const std::size_t count = std::min(iCount, mBuffered - offset);
    std::memcpy(oBytes, mData + offset, count);
    mPosition += static_cast<Cmn_Int64>(count);
    return count;
}

std::size_t Sys_FileBasedInStream::ReadDirectly(Cmn_UInt8* oBytes, std::size_t iCount)
{
    const std::size_t count = mFile.ReadAt(mPosition, oBytes, iCount);
    MassageBuffer(oBytes, count, mPosition);
    mPosition += static_cast<Cmn_Int64>(count);
    mBufferStart = mPosition; // where reading goes on in sequence
    mBuffered = 0;
    return count;
}

void Sys_FileBasedInStream::Load(Cmn_Int64 iFrom, std::size_t iWanted)
{
    const auto offset = static_cast<std::size_t>(iFrom - mBufferStart);
    const bool isInSequence = offset <= mBuffered;
    if (isInSequence && iWanted <= mBuffered - offset) return;
    if (!isInSequence) {
        mNextRead = cFirstRead;
        if (mJumps < cJumpsBeforeCaching) ++mJumps;
        if (LoadBlock(iFrom, iWanted)) return;
    }
    const std::size_t keptFrom = isInSequence ? offset - std::min(offset, cLookBack) : 0;
    const std::size_t kept = isInSequence ? mBuffered - keptFrom : 0;
    const Cmn_Int64 start = isInSequence ? mBufferStart + static_cast<Cmn_Int64>(keptFrom) : iFrom;

    const std::size_t wanted = static_cast<std::size_t>(iFrom - start) + iWanted;
    const auto left = static_cast<std::size_t>(mLength - start);
    const std::size_t size = std::min(std::max(wanted, kept + mNextRead), left);
    mNextRead = std::min(2 * mNextRead, GetMostAhead(start));

    Reserve(size, keptFrom, kept);
    mBufferStart = start;
    const Cmn_Int64 newFrom = start + static_cast<Cmn_Int64>(kept);
    mBuffered = kept;
    mBuffered += Fetch(newFrom, mBuffer.get() + kept, size - kept);
}

// Where caching has begun, a jump copies nothing: what it finds is mostly far from the processor.
bool Sys_FileBasedInStream::LoadBlock(Cmn_Int64 iFrom, std::size_t iWanted)
{
    const auto at = static_cast<std::size_t>(iFrom);
    const std::size_t offset = at % Sys_BlockCache::cBlockSize;
    if (mJumps < cJumpsBeforeCaching || iWanted > Sys_BlockCache::cBlockSize - offset) return false;
    const Cmn_Int64 start = iFrom - static_cast<Cmn_Int64>(offset);
    mBuffered = 0; // its block may make room for this one
    const Cmn_UInt8* const block = FetchBlock(at / Sys_BlockCache::cBlockSize);
    if (block == nullptr) return false;
    mData = block;
    mBufferStart = start;
    mBuffered = std::min(static_cast<std::size_t>(mLength - start), Sys_BlockCache::cBlockSize);
    mNextRead = std::min(2 * mNextRead, GetMostAhead(start));
    return true;
}

// Of a body that was just summed all is wanted, as far as it is longer than the read-ahead.
std::size_t Sys_FileBasedInStream::GetMostAhead(Cmn_Int64 iAt) const
{
    const Cmn_Int64 inBody = IsVerified(iAt, iAt) ? GetVerifiedEnd() - iAt : 0;
    return std::max(mReadAhead, static_cast<std::size_t>(
                                    std::min<Cmn_Int64>(inBody, static_cast<Cmn_Int64>(cSequentialRead))));
}

std::span<const Cmn_UInt8> Sys_FileBasedInStream::Look(std::size_t iCount)
{
    auto offset = static_cast<std::size_t>(mPosition - mBufferStart);
    if (offset > mBuffered || iCount > mBuffered - offset) {
        if (iCount > mReadAhead || static_cast<Cmn_Int64>(iCount) > mLength - mPosition) return {};
        Load(mPosition, iCount);
        offset = static_cast<std::size_t>(mPosition - mBufferStart);
        if (offset > mBuffered || iCount > mBuffered - offset) return {};
    }
    return {mData + offset, iCount};
}

std::size_t Sys_FileBasedInStream::Fetch(Cmn_Int64 iFrom, Cmn_UInt8* oBytes, std::size_t iCount)
{
    // Long reads pass the cache by: they would only drive out what jumps come back to.
    std::size_t done = 0;
    if (mJumps == cJumpsBeforeCaching && iCount <= Sys_BlockCache::cBlockSize) {
        while (done < iCount) {
            const std::size_t at = static_cast<std::size_t>(iFrom) + done;
            const Cmn_UInt8* const block = FetchBlock(at / Sys_BlockCache::cBlockSize);
            if (block == nullptr) break;
            const std::size_t offset = at % Sys_BlockCache::cBlockSize;
            const std::size_t count = std::min(iCount - done, Sys_BlockCache::cBlockSize - offset);
            std::memcpy(oBytes + done, block + offset, count);
            done += count;
        }
        if (done == iCount) return done;
    }
    const Cmn_Int64 from = iFrom + static_cast<Cmn_Int64>(done);
    const std::size_t count = mFile.ReadAt(from, oBytes + done, iCount - done);
    MassageBuffer(oBytes + done, count, from);
    return done + count;
}

const Cmn_UInt8* Sys_FileBasedInStream::FetchBlock(std::size_t iBlock)
{
    if (mCache == nullptr) mCache = std::make_unique<Sys_BlockCache>();
    if (const Cmn_UInt8* const known = mCache->Find(iBlock)) return known;
    Cmn_UInt8* const bytes = mCache->Add(iBlock);
    const auto from = static_cast<Cmn_Int64>(iBlock * Sys_BlockCache::cBlockSize);
    const auto size = static_cast<std::size_t>(
        std::min(static_cast<Cmn_Int64>(Sys_BlockCache::cBlockSize), mLength - from));
    if (mFile.ReadAt(from, bytes, size) != size) {
        mCache->Forget(iBlock);
        return nullptr;
    }
    MassageBuffer(bytes, size, from);
    return bytes;
}

void Sys_FileBasedInStream::Reserve(std::size_t iSize, std::size_t iKeptFrom, std::size_t iKept)
{
    if (iSize <= mCapacity) {
        if (iKept != 0) std::memmove(mBuffer.get(), mData + iKeptFrom, iKept);
    } else {
        auto larger = std::make_unique_for_overwrite<Cmn_UInt8[]>(iSize);
        if (iKept != 0) std::memcpy(larger.get(), mData + iKeptFrom, iKept);
        mBuffer = std::move(larger);
        mCapacity = iSize;
    }
    mData = mBuffer.get();
}

Cmn_UInt32 Sys_FileBasedInStream::SumOf(Cmn_Int64 iFrom, Cmn_Int64 iCount)
{
    if (iFrom < mBegin || iCount < 0 || iFrom > mLength || iCount > mLength - iFrom) ThrowReadError(iFrom, 0);
    if (iCount == 0) return 0;
    const auto count = static_cast<std::size_t>(iCount);
    if (count > mReadAhead) return SumInPieces(iFrom, count);
    Load(iFrom, count);
    const auto offset = static_cast<std::size_t>(iFrom - mBufferStart);
    if (offset + count > mBuffered)
        ThrowReadError(mBufferStart + static_cast<Cmn_Int64>(mBuffered), mFile.GetLastError());
    return Sys_Crc32C(0, mData + offset, count);
}

void Sys_FileBasedInStream::ReadAt(Cmn_Int64 iFrom, void* oBytes, std::size_t iCount)
{
    const std::size_t count = mFile.ReadAt(iFrom, oBytes, iCount);
    if (count < iCount) ThrowReadError(iFrom + static_cast<Cmn_Int64>(count), mFile.GetLastError());
    MassageBuffer(oBytes, count, iFrom);
}

Cmn_UInt32 Sys_FileBasedInStream::SumInPieces(Cmn_Int64 iFrom, std::size_t iCount)
{
    const std::size_t pieceSize = std::min(iCount, cSequentialRead);
    const auto piece = std::make_unique_for_overwrite<Cmn_UInt8[]>(pieceSize);
    Cmn_UInt32 sum = 0;
    for (std::size_t done = 0; done < iCount;) {
        const Cmn_Int64 at = iFrom + static_cast<Cmn_Int64>(done);
        const std::size_t count = std::min(pieceSize, iCount - done);
        ReadAt(at, piece.get(), count);
        sum = Sys_Crc32C(sum, piece.get(), count);
        done += count;
    }
    return sum;
}

void Sys_FileBasedInStream::Explain(Cmn_Exception& ioException) const { mFile.Explain(ioException); }

void Sys_FileBasedInStream::ThrowReadError(Cmn_Int64 iPosition, Cmn_Int32 iError) const
{
    Sys_StreamReadException exception(iPosition);
    exception.SetFile(mFile.GetFileLoc().GetPath());
    exception.SetOSError(iError);
    throw exception;
}
