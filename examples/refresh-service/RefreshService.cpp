#include "refresh-service/RefreshService.h"

#include "OstrelPlatformSupport/PSMessagePipe.h"

#include <algorithm>
#include <cstring>

const RefreshFault cRefreshFaults[eRefreshFault_Count] = {
    {eRefreshFault_None, "none", "serves as it should"},
    {eRefreshFault_Busy, "busy", "all places stay taken"},
    {eRefreshFault_SilentAtHandshake, "silent-handshake", "says nothing at all"},
    {eRefreshFault_SilentAtRequest, "silent-request", "shakes hands, then says nothing"},
    {eRefreshFault_LeaveAtHandshake, "leave-handshake", "leaves when the handshake comes"},
    {eRefreshFault_LeaveAtRequest, "leave-request", "leaves when the request comes"},
    {eRefreshFault_LeaveBetween, "leave-between", "shakes hands and leaves: the request is refused"},
    {eRefreshFault_WrongIdentifier, "wrong-identifier", "shakes hands with another identifier"},
    {eRefreshFault_LongIdentifier, "long-identifier", "shakes hands with a byte after the identifier"},
    {eRefreshFault_HandshakeStatus, "handshake-status", "shakes hands with status 1"},
    {eRefreshFault_RequestStatus, "request-status", "answers with status 1"},
    {eRefreshFault_Cut, "cut", "sends the first half of its answer"},
    {eRefreshFault_TwoMessages, "two-messages", "sends head and payload as two messages"},
    {eRefreshFault_TenMore, "ten-more", "an answer of L bytes comes in L + 10"},
    {eRefreshFault_ElevenMore, "eleven-more", "an answer of L bytes comes in L + 11, which is enough"},
    {eRefreshFault_StatusOnly, "status-only", "answers with four bytes of status 0 and no length"},
    {eRefreshFault_Claim, "claim", "an empty answer says that it has as many bytes as --claim"},
};

namespace {

constexpr std::uint8_t cIdentifier[] = {0x5A, 0x3C, 0x91, 0xE2, 0x07, 0x4D, 0x6B, 0x18,
                                        0xA4, 0xF0, 0x2E, 0x99, 0xC3, 0x71, 0x0D, 0x56};
constexpr std::size_t cHandshakeSize = 28;
constexpr std::size_t cRequestSize = 32;
constexpr std::size_t cLengthAt = 4;
constexpr std::size_t cPayloadAt = 8;
constexpr std::size_t cTail = 4; // zeros after a payload

void PutUInt32(RefreshBytes& ioBytes, std::size_t iOffset, std::uint32_t iValue)
{
    for (std::size_t i = 0; i < 4; ++i)
        ioBytes[iOffset + i] = static_cast<std::uint8_t>(iValue >> (8 * i));
}

RefreshBytes Reply(std::uint32_t iStatus, const RefreshBytes& iPayload)
{
    RefreshBytes reply(cPayloadAt + iPayload.size() + cTail);
    PutUInt32(reply, 0, iStatus);
    PutUInt32(reply, cLengthAt, static_cast<std::uint32_t>(iPayload.size()));
    std::copy(iPayload.begin(), iPayload.end(), reply.begin() + cPayloadAt);
    return reply;
}

std::uint64_t Word(const RefreshBytes& iRequest, std::size_t iIndex)
{
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < 8; ++i)
        word |= static_cast<std::uint64_t>(iRequest[8 * iIndex + i]) << (8 * i);
    return word;
}

RefreshBytes Answer(const RefreshBytes& iRequest)
{
    constexpr std::uint64_t mostSample = 1 << 20;
    if (iRequest.size() != cRequestSize) return Reply(1, {});
    if (Word(iRequest, 0) == 0) return Reply(0, iRequest);
    if (Word(iRequest, 0) != 1 || Word(iRequest, 1) > mostSample) return Reply(1, {});
    return Reply(0, RefreshSample(Word(iRequest, 1), Word(iRequest, 2)));
}

} // namespace

RefreshBytes RefreshSample(std::uint64_t iSize, std::uint64_t iSeed)
{
    RefreshBytes sample(static_cast<std::size_t>(iSize));
    for (std::size_t i = 0; i < sample.size(); ++i)
        sample[i] = static_cast<std::uint8_t>((i + iSeed) * 2654435761U >> 24);
    return sample;
}

RefreshService::RefreshService(const std::string& iName, const RefreshPlay& iPlay)
    : mPlay(iPlay)
    , mListener(iName, iPlay.mFault == eRefreshFault_Busy ? 1 : iPlay.mPlaces)
{
    if (mPlay.mFault != eRefreshFault_Busy) {
        StartThreads();
        return;
    }
    // Clients of its own take the places.
    for (auto client = std::make_unique<PSMessagePipe>();
         client->Open(iName.c_str()) == PSMessagePipe::eOpen_Opened;
         client = std::make_unique<PSMessagePipe>())
        mOccupants.push_back(std::move(client));
}

RefreshService::~RefreshService()
{
    mListener.Stop();
    for (std::thread& thread : mThreads)
        thread.join();
}

void RefreshService::StopBeingBusy()
{
    if (mOccupants.empty()) return;
    mOccupants.clear();
    StartThreads();
}

void RefreshService::StartThreads()
{
    const int places = mPlay.mFault == eRefreshFault_Busy ? 1 : mPlay.mPlaces;
    for (int i = 0; i < places; ++i)
        mThreads.emplace_back([this] { ServeClients(); });
}

void RefreshService::ServeClients()
{
    while (std::unique_ptr<RefreshChannel> channel = mListener.Accept()) {
        Serve(*channel);
        channel.reset();
        ++mServed;
    }
}

void RefreshService::Serve(RefreshChannel& ioChannel) const
{
    RefreshBytes request;
    if (!ioChannel.Read(request) || !AnswerHandshake(ioChannel, request)) return;
    while (ioChannel.Read(request) && AnswerRequest(ioChannel, request)) {
    }
}

// False when the service leaves.
bool RefreshService::AnswerHandshake(RefreshChannel& ioChannel, const RefreshBytes& iRequest) const
{
    RefreshBytes expected(cHandshakeSize);
    std::copy(std::begin(cIdentifier), std::end(cIdentifier), expected.begin());
    RefreshBytes payload(std::begin(cIdentifier), std::end(cIdentifier));
    std::uint32_t status = iRequest == expected ? 0 : 1;
    switch (mPlay.mFault) {
    case eRefreshFault_SilentAtHandshake:
        return true;
    case eRefreshFault_LeaveAtHandshake:
        return false;
    case eRefreshFault_WrongIdentifier:
        payload.back() ^= 1;
        break;
    case eRefreshFault_LongIdentifier:
        payload.push_back(0);
        break;
    case eRefreshFault_HandshakeStatus:
        status = 1;
        break;
    default:
        break;
    }
    const bool written = ioChannel.Write(Reply(status, payload));
    if (mPlay.mFault != eRefreshFault_LeaveBetween) return written;
    ioChannel.Drain();
    return false;
}

bool RefreshService::AnswerRequest(RefreshChannel& ioChannel, const RefreshBytes& iRequest) const
{
    RefreshBytes reply = Answer(iRequest);
    switch (mPlay.mFault) {
    case eRefreshFault_SilentAtHandshake:
    case eRefreshFault_SilentAtRequest:
        return true;
    case eRefreshFault_LeaveAtRequest:
        return false;
    case eRefreshFault_RequestStatus:
        PutUInt32(reply, 0, 1);
        break;
    case eRefreshFault_Cut:
        reply.resize(reply.size() / 2);
        break;
    case eRefreshFault_TwoMessages:
        return ioChannel.Write({reply.begin(), reply.begin() + cPayloadAt}) &&
               ioChannel.Write({reply.begin() + cPayloadAt, reply.end()});
    case eRefreshFault_TenMore:
        reply.resize(reply.size() - 2);
        break;
    case eRefreshFault_ElevenMore:
        reply.resize(reply.size() - 1);
        break;
    case eRefreshFault_StatusOnly:
        reply = RefreshBytes(4);
        break;
    case eRefreshFault_Claim:
        reply = Reply(0, {});
        PutUInt32(reply, cLengthAt, mPlay.mClaim);
        break;
    default:
        break;
    }
    return ioChannel.Write(reply);
}
