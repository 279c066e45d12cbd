#include "Kora/Kora_RefreshClient.h"
#include "Support/AllocationCounter.h"
#include "Support/PipeName.h"
#include "Support/ProcessHandles.h"
#include "examples/refresh-service/RefreshService.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <list>
#include <optional>
#include <thread>
#include <vector>

namespace {

constexpr Cmn_UInt32 cSize = 500;
constexpr Cmn_UInt8 cUntouched = 0xA5;
constexpr int cFails = -1;

struct Case
{
    const char* mRow;
    RefreshEFault mFault;
    int mLength; // of the answer, or cFails
    Cmn_UInt32 mCapacity;
    Cmn_UInt32 mClaim;
    Cmn_UInt32 mAsked = cSize;
};

constexpr Case cCases[] = {
    {"a service without a fault", eRefreshFault_None, cSize, cSize, 0},
    {"an answer just larger than the capacity", eRefreshFault_None, cFails, cSize - 1, 0},
    {"no place is free", eRefreshFault_Busy, cFails, cSize, 0},
    {"silent from the start", eRefreshFault_SilentAtHandshake, cFails, cSize, 0},
    {"silent after the handshake", eRefreshFault_SilentAtRequest, cFails, cSize, 0},
    {"gone at the handshake", eRefreshFault_LeaveAtHandshake, cFails, cSize, 0},
    {"gone at the request", eRefreshFault_LeaveAtRequest, cFails, cSize, 0},
    {"gone between the two", eRefreshFault_LeaveBetween, cFails, cSize, 0},
    {"another identifier", eRefreshFault_WrongIdentifier, cFails, cSize, 0},
    {"an identifier of 17 bytes", eRefreshFault_LongIdentifier, cFails, cSize, 0},
    {"handshake with a status", eRefreshFault_HandshakeStatus, cFails, cSize, 0},
    {"answer with a status", eRefreshFault_RequestStatus, cFails, cSize, 0},
    {"half an answer", eRefreshFault_Cut, cFails, cSize, 0},
    {"head and payload apart", eRefreshFault_TwoMessages, cFails, cSize, 0},
    {"L + 10 bytes", eRefreshFault_TenMore, cFails, cSize, 0},
    {"L + 11 bytes", eRefreshFault_ElevenMore, cSize, cSize, 0},
    {"10 bytes are no answer of none", eRefreshFault_TenMore, cFails, cSize, 0, 0},
    {"11 bytes are an answer of none", eRefreshFault_ElevenMore, 0, cSize, 0, 0},
    {"a status and no length", eRefreshFault_StatusOnly, cFails, cSize, 0},
    {"12 bytes hold an answer of none", eRefreshFault_Claim, 0, 0, 0},
    {"12 bytes hold an answer of one", eRefreshFault_Claim, 1, cSize, 1},
    {"12 bytes hold no answer of two", eRefreshFault_Claim, cFails, cSize, 2},
    {"L + 11 is the largest of 32 bits", eRefreshFault_Claim, cFails, 0xFFFFFFFF, 0xFFFFFFF4},
    {"L + 11 is 2^32, 0 in 32 bits", eRefreshFault_Claim, cFails, 0xFFFFFFFF, 0xFFFFFFF5},
    {"L is the largest of 32 bits", eRefreshFault_Claim, cFails, 0xFFFFFFFF, 0xFFFFFFFF},
};

// Answers come within the limit, except from a service that gives none.
bool IsSlow(RefreshEFault iFault)
{
    return iFault == eRefreshFault_SilentAtHandshake || iFault == eRefreshFault_SilentAtRequest;
}

// A client that shook no hands is kept in ioClients, so that what it left open counts.
void Play(const Case& iCase, std::list<Kora_RefreshClient>& ioClients)
{
    const std::string name = TestPipeName();
    RefreshPlay play;
    play.mFault = iCase.mFault;
    play.mClaim = iCase.mClaim;
    const RefreshService service(name, play);
    const Cmn_UInt64 words[4] = {1, iCase.mAsked, 3, 0};
    std::vector<Cmn_UInt8> expected(cSize + 1, cUntouched);
    std::vector<Cmn_UInt8> destination = expected;
    if (iCase.mLength > 1) {
        const RefreshBytes sample = RefreshSample(cSize, 3);
        std::copy(sample.begin(), sample.end(), expected.begin());
    } else if (iCase.mLength == 1) {
        expected[0] = 0;
    }
    Cmn_UInt32 length = 99;
    const AllocationCounter allocations;
    const Kora_RefreshLimits limits{name.c_str(), IsSlow(iCase.mFault) ? 20 : 10000, 2};
    EXPECT_EQ(Kora_RefreshClient::Request32(words, destination.data(), iCase.mCapacity, length, limits),
              iCase.mLength >= 0);
    EXPECT_EQ(allocations.Kept(), 0) << "every buffer is released";
    EXPECT_LT(allocations.Largest(), 4096U) << "no claim is believed";
    EXPECT_EQ(length, iCase.mLength >= 0 ? static_cast<Cmn_UInt32>(iCase.mLength) : 0U);
    EXPECT_EQ(destination, expected);
    Kora_RefreshClient& client = ioClients.emplace_back(limits);
    if (client.Connect()) client.Close();
    EXPECT_FALSE(client.IsConnected());
}

} // namespace

TEST(RefreshClient, FaultsOfTheService)
{
    std::list<Kora_RefreshClient> clients;
    for (const Case& row : cCases) {
        SCOPED_TRACE(row.mRow);
        EXPECT_EQ(HandlesLeakedBy([&] { Play(row, clients); }), 0);
    }
}

TEST(RefreshClient, EveryAllocationThatIsRefusedIsAFailureAndLeavesNothing)
{
    const std::string name = TestPipeName();
    const RefreshService service(name, RefreshPlay());
    Cmn_UInt8 destination[cSize];
    Cmn_UInt32 length = 99;
    const auto ask = [&] {
        return Kora_RefreshClient::Request32({1, cSize, 3, 0}, destination, cSize, length, {name.c_str()});
    };
    const AllocationCounter allocations;
    EXPECT_TRUE(ask());
    const long long count = allocations.Count();
    for (long long nth = count; nth > 0; --nth) {
        const StRefusedAllocation refused(nth);
        EXPECT_FALSE(ask()) << nth;
        EXPECT_EQ(length, 0U);
    }
    EXPECT_EQ(allocations.Kept(), count) << "the refused ones are counted, and were never there";
}

TEST(RefreshClient, AMissingServiceFailsAtOnceAndABusyOneAfterFourAttempts)
{
    const std::string name = TestPipeName();
    Kora_RefreshClient client({name.c_str(), 10000, 2});
    EXPECT_FALSE(client.Connect());
    EXPECT_EQ(client.GetBusyAttempts(), 0);
    RefreshPlay busy;
    busy.mFault = eRefreshFault_Busy;
    RefreshService service(name, busy);
    EXPECT_FALSE(client.Connect());
    EXPECT_EQ(client.GetBusyAttempts(), 4);
    EXPECT_FALSE(client.IsConnected());

    Kora_RefreshClient patient({name.c_str(), 10000, 10000});
    std::thread release([&] { service.StopBeingBusy(); });
    EXPECT_TRUE(patient.Connect()) << "a place that becomes free is found";
    EXPECT_LT(patient.GetBusyAttempts(), 4);
    release.join();
}

TEST(RefreshClient, OneConnectionCarriesManyRequestsAndEchoesTheirWords)
{
    const std::string name = TestPipeName();
    std::optional<RefreshService> service(std::in_place, name, RefreshPlay());
    Kora_RefreshClient client({name.c_str()});
    Kora_RefreshBuffer request(32);
    Kora_RefreshBuffer reply;
    EXPECT_FALSE(client.Transact(request, reply)) << "not connected yet";
    ASSERT_TRUE(client.Connect());
    for (Cmn_UInt8 i = 0; i < 20; ++i) {
        std::memset(request.GetBytes() + 8, i, 24);
        ASSERT_TRUE(client.Connect()) << "once is enough";
        ASSERT_TRUE(client.Transact(request, reply));
        ASSERT_EQ(reply.GetSize(), 44U);
        EXPECT_EQ(std::memcmp(reply.GetBytes() + 8, request.GetBytes(), 32), 0);
    }
    Cmn_UInt32 length = 99;
    request.GetBytes()[0] = 7;
    EXPECT_FALSE(Kora_RefreshClient::Request(request, reply.GetBytes(), 44, length, {name.c_str()}));
    EXPECT_EQ(length, 0U) << "a command that is not known";
    service.reset();
    EXPECT_TRUE(client.IsConnected());
    EXPECT_FALSE(client.Transact(request, reply)) << "the write is refused";
    client.Close();
    EXPECT_FALSE(client.Connect());
}

TEST(RefreshClient, PayloadsOfEverySizeComeWholeToManyThreadsAtOnce)
{
    constexpr int threads = 12;
    const std::string name = TestPipeName();
    RefreshPlay play;
    play.mPlaces = 2 * threads; // a place takes a moment to be free again
    const RefreshService service(name, play);
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::atomic<int> good{0};
    const auto ask = [&](unsigned iThread) {
        std::mt19937 random(seed + iThread);
        const Kora_RefreshLimits limits{name.c_str()};
        std::vector<Cmn_UInt8> destination(70000);
        const auto upTo = [&](Cmn_UInt32 iMost) { return static_cast<Cmn_UInt32>(random() % (iMost + 1)); };
        for (const Cmn_UInt32 size : {0U, 1U, 4U, 5U, 70000U, upTo(70000), upTo(70000), upTo(200)}) {
            const Cmn_UInt64 words[4] = {1, size, upTo(1000), 0};
            Cmn_UInt32 length = 99;
            const bool answered =
                Kora_RefreshClient::Request32(words, destination.data(), size, length, limits);
            const RefreshBytes sample = RefreshSample(size, words[2]);
            if (answered && length == size && std::equal(sample.begin(), sample.end(), destination.begin()))
                ++good;
        }
    };
    std::vector<std::thread> askers;
    for (unsigned i = 0; i < threads; ++i)
        askers.emplace_back(ask, i);
    for (std::thread& asker : askers)
        asker.join();
    EXPECT_EQ(good, threads * 8);
}

TEST(RefreshBuffer, GrowsWithItsBytesAndRefusesMoreThan32Bits)
{
    Kora_RefreshBuffer buffer(3);
    std::memcpy(buffer.GetBytes(), "abc", 3);
    ASSERT_TRUE(buffer.Grow(2));
    EXPECT_EQ(std::memcmp(buffer.GetBytes(), "abc\0", 5), 0);
    EXPECT_FALSE(buffer.Grow(0xFFFFFFFB));
    EXPECT_EQ(buffer.GetSize(), 5U);
    Kora_RefreshBuffer moved(std::move(buffer));
    Kora_RefreshBuffer assigned;
    assigned = std::move(moved);
    for (const Kora_RefreshBuffer* const left : {&buffer, &moved})
        EXPECT_TRUE(left->GetSize() == 0 && left->GetBytes() == nullptr);
    EXPECT_EQ(assigned.GetSize(), 5U);
    ASSERT_TRUE(buffer.Grow(4)) << "good to use again";
    ASSERT_TRUE(buffer.Resize(3));
    EXPECT_EQ(std::memcmp(buffer.GetBytes(), "\0\0", 3), 0);
}
