#include "Kora/Kora_RefreshClient.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace {

constexpr Cmn_UInt8 cIdentifier[16] = {0x5A, 0x3C, 0x91, 0xE2, 0x07, 0x4D, 0x6B, 0x18,
                                       0xA4, 0xF0, 0x2E, 0x99, 0xC3, 0x71, 0x0D, 0x56};
constexpr Cmn_UInt32 cHandshakeSize = 28;
constexpr Cmn_UInt32 cRequest32Size = 32;

// A reply: status, length L of the payload, payload.
constexpr Cmn_UInt32 cStatusAt = 0;
constexpr Cmn_UInt32 cLengthAt = 4;
constexpr Cmn_UInt32 cPayloadAt = 8;
constexpr Cmn_UInt32 cFirstRead = 12;
// Deliberate: 12 bytes go with every payload, and one of them may be missing. Test: FaultsOfTheService
constexpr Cmn_UInt64 cLeastBesidePayload = 11;

constexpr Cmn_Int32 cMostBusyAttempts = 4;

Cmn_UInt32 UInt32At(const Kora_RefreshBuffer& iReply, Cmn_UInt32 iOffset)
{
    const Cmn_UInt8* const bytes = iReply.GetBytes() + iOffset;
    return bytes[0] | static_cast<Cmn_UInt32>(bytes[1]) << 8 | static_cast<Cmn_UInt32>(bytes[2]) << 16 |
           static_cast<Cmn_UInt32>(bytes[3]) << 24;
}

std::unique_ptr<Cmn_UInt8[]> ZeroBytes(Cmn_UInt32 iSize)
{
    return std::unique_ptr<Cmn_UInt8[]>(new (std::nothrow) Cmn_UInt8[iSize]());
}

// A message is a unit on the pipe, but its length is known only once it has come: the first read has room for
// the header, the second for exactly what the pipe says remains.
// Returns the message's length, which may be less than the 12 bytes that the buffer has
// at least; 0 for a failure.
Cmn_UInt32 ReadMessage(PSMessagePipe& ioPipe, const PSPipeEvent& iEvent, Cmn_Int32 iTimeoutMs,
                       Kora_RefreshBuffer& oReply)
{
    if (!oReply.Resize(cFirstRead)) return 0;
    Cmn_UInt32 length = 0;
    const PSMessagePipe::ERead first =
        ioPipe.Read(iEvent, oReply.GetBytes(), cFirstRead, iTimeoutMs, &length);
    if (first == PSMessagePipe::eRead_Whole) return length;
    if (first != PSMessagePipe::eRead_More) return 0;
    const Cmn_UInt32 rest = ioPipe.GetRest();
    if (rest == 0 || !oReply.Grow(rest)) return 0;
    const bool isWhole =
        ioPipe.Read(iEvent, oReply.GetBytes() + cFirstRead, rest, iTimeoutMs) == PSMessagePipe::eRead_Whole;
    return isWhole ? oReply.GetSize() : 0;
}

} // namespace

Kora_RefreshBuffer::Kora_RefreshBuffer(Kora_RefreshBuffer&& ioOther) noexcept
    : mBytes(std::move(ioOther.mBytes))
    , mSize(std::exchange(ioOther.mSize, 0))
{
}

Kora_RefreshBuffer& Kora_RefreshBuffer::operator=(Kora_RefreshBuffer&& ioOther) noexcept
{
    mBytes = std::move(ioOther.mBytes);
    mSize = std::exchange(ioOther.mSize, 0);
    return *this;
}

bool Kora_RefreshBuffer::Resize(Cmn_UInt32 iSize) noexcept
{
    mBytes.reset();
    mSize = 0;
    std::unique_ptr<Cmn_UInt8[]> bytes = ZeroBytes(iSize);
    if (bytes == nullptr) return false;
    mBytes = std::move(bytes);
    mSize = iSize;
    return true;
}

bool Kora_RefreshBuffer::Grow(Cmn_UInt32 iMore) noexcept
{
    if (iMore > std::numeric_limits<Cmn_UInt32>::max() - mSize) return false;
    std::unique_ptr<Cmn_UInt8[]> bytes = ZeroBytes(mSize + iMore);
    if (bytes == nullptr) return false;
    std::copy_n(mBytes.get(), mSize, bytes.get());
    mBytes = std::move(bytes);
    mSize += iMore;
    return true;
}

bool Kora_RefreshClient::Connect() noexcept
{
    if (IsConnected()) return true;
    if (OpenPipe() && mPipe.SetMessageMode()) {
        mConnected = 1;
        if (ShakeHands()) return true;
    }
    Close();
    return false;
}

void Kora_RefreshClient::Close() noexcept
{
    mPipe.Close();
    mConnected = 0;
}

bool Kora_RefreshClient::OpenPipe() noexcept
{
    for (mBusyAttempts = 0; mBusyAttempts < cMostBusyAttempts; ++mBusyAttempts) {
        const PSMessagePipe::EOpen opened = mPipe.Open(mLimits.mPipeName);
        if (opened != PSMessagePipe::eOpen_Busy) return opened == PSMessagePipe::eOpen_Opened;
        mPipe.WaitForPlace(mLimits.mPipeName, mLimits.mBusyMs);
    }
    return false;
}

bool Kora_RefreshClient::ShakeHands() noexcept
{
    Kora_RefreshBuffer request(cHandshakeSize);
    if (request.GetSize() != cHandshakeSize) return false;
    std::copy(std::begin(cIdentifier), std::end(cIdentifier), request.GetBytes());
    Kora_RefreshBuffer reply;
    // A reply that says 16 bytes has 27 or more, so the comparison stays inside.
    return Transact(request, reply) && UInt32At(reply, cStatusAt) == 0 &&
           UInt32At(reply, cLengthAt) == sizeof cIdentifier &&
           std::equal(std::begin(cIdentifier), std::end(cIdentifier), reply.GetBytes() + cPayloadAt);
}

bool Kora_RefreshClient::Transact(const Kora_RefreshBuffer& iRequest, Kora_RefreshBuffer& oReply) noexcept
{
    if (!mPipe.IsOpen()) return false;
    const PSPipeEvent event;
    if (!event.IsGood()) return false;
    if (!mPipe.Write(event, iRequest.GetBytes(), iRequest.GetSize(), mLimits.mTransferMs)) return false;
    const Cmn_UInt32 length = ReadMessage(mPipe, event, mLimits.mTransferMs, oReply);
    if (length == 0) return false; // the reply may have no bytes at all
    // In 64 bits: a length near 2^32 is a lie that must not come round to a small one. The message
    // counts, not the buffer: one that was cut within its first 12 bytes is not whole because
    // there are zeros behind it.
    return UInt32At(oReply, cLengthAt) + cLeastBesidePayload <= length;
}

bool Kora_RefreshClient::Request(const Kora_RefreshBuffer& iRequest, void* oDestination, Cmn_UInt32 iCapacity,
                                 Cmn_UInt32& oLength, const Kora_RefreshLimits& iLimits) noexcept
{
    oLength = 0;
    Kora_RefreshClient connection(iLimits);
    Kora_RefreshBuffer reply;
    const bool answered = connection.Connect() && connection.Transact(iRequest, reply);
    connection.Close();
    if (!answered || UInt32At(reply, cStatusAt) != 0) return false;
    const Cmn_UInt32 length = UInt32At(reply, cLengthAt);
    if (length > (oDestination != nullptr ? iCapacity : 0)) return false;
    if (length > 0) std::memcpy(oDestination, reply.GetBytes() + cPayloadAt, length);
    oLength = length;
    return true;
}

bool Kora_RefreshClient::Request32(const Cmn_UInt64 (&iWords)[4], void* oDestination, Cmn_UInt32 iCapacity,
                                   Cmn_UInt32& oLength, const Kora_RefreshLimits& iLimits) noexcept
{
    static_assert(sizeof iWords == cRequest32Size);
    oLength = 0;
    Kora_RefreshBuffer request(cRequest32Size);
    if (request.GetSize() != cRequest32Size) return false;
    std::memcpy(request.GetBytes(), iWords, cRequest32Size);
    return Request(request, oDestination, iCapacity, oLength, iLimits);
}
