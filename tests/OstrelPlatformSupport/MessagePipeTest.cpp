#include "OstrelPlatformSupport/PSMessagePipe.h"
#include "Support/PipeName.h"
#include "Support/ProcessHandles.h"
#include "examples/refresh-service/RefreshListener.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace {

constexpr std::int32_t cLong = 10000;
constexpr std::int32_t cShort = 20;

// A service and a client of it.
class MessagePipe : public testing::Test
{
protected:
    MessagePipe()
    {
        EXPECT_EQ(mPipe.Open(mName.c_str()), PSMessagePipe::eOpen_Opened);
        EXPECT_TRUE(mPipe.SetMessageMode());
        mPeer = mListener.Accept();
    }
    PSMessagePipe::ERead Read(std::size_t iSize, std::int32_t iTimeoutMs = cLong)
    {
        mRead.assign(iSize, 0xA5);
        return mPipe.Read(mEvent, mRead.data(), static_cast<std::uint32_t>(iSize), iTimeoutMs);
    }

    const std::string mName = TestPipeName();
    RefreshListener mListener{mName, 1};
    std::unique_ptr<RefreshChannel> mPeer;
    PSMessagePipe mPipe;
    PSPipeEvent mEvent;
    RefreshBytes mRead;
};

} // namespace

TEST_F(MessagePipe, KeepsMessagesApartAndReadsEachInAsManyPartsAsAsked)
{
    for (const std::size_t size : {1, 11, 12, 13, 24, 1000, 70000}) {
        SCOPED_TRACE(size);
        RefreshBytes message(size);
        for (std::size_t i = 0; i < size; ++i)
            message[i] = static_cast<std::uint8_t>(i * 7 + 1);
        std::thread peer([&] {
            RefreshBytes request;
            EXPECT_TRUE(mPeer->Read(request) && mPeer->Write(request) && mPeer->Write({9}));
        });
        EXPECT_TRUE(mPipe.Write(mEvent, message.data(), static_cast<std::uint32_t>(size), cLong));
        RefreshBytes got;
        std::size_t rest = size;
        for (std::size_t part = 12; rest > 0; part = (rest + 1) / 2) {
            EXPECT_EQ(Read(part), rest > part ? PSMessagePipe::eRead_More : PSMessagePipe::eRead_Whole);
            const std::size_t count = std::min(part, rest);
            got.insert(got.end(), mRead.begin(), mRead.begin() + static_cast<std::ptrdiff_t>(count));
            EXPECT_EQ(std::count(mRead.begin() + static_cast<std::ptrdiff_t>(count), mRead.end(), 0xA5),
                      static_cast<std::ptrdiff_t>(part - count));
            rest -= count;
            if (rest > 0) {
                EXPECT_EQ(mPipe.GetRest(), rest);
            }
        }
        EXPECT_EQ(got, message);
        EXPECT_EQ(Read(12), PSMessagePipe::eRead_Whole) << "the next message comes next";
        EXPECT_EQ(mRead[0], 9);
        peer.join();
    }
}

TEST_F(MessagePipe, TimeEndsAReadAndAWriteThatNobodyAnswers)
{
    EXPECT_EQ(Read(12, cShort), PSMessagePipe::eRead_Failed);
    EXPECT_EQ(Read(12, 0), PSMessagePipe::eRead_Failed);
    EXPECT_EQ(Read(0), PSMessagePipe::eRead_Failed);
    const RefreshBytes large(60000);
    int written = 0;
    while (written < 100 && mPipe.Write(mEvent, large.data(), 60000, cShort))
        ++written;
    EXPECT_LT(written, 100) << "a peer that never reads";
    ASSERT_TRUE(mPeer->Write({1, 2, 3}));
    EXPECT_EQ(Read(12), PSMessagePipe::eRead_Whole) << "the read that was given up took nothing";
    EXPECT_EQ(mRead[2], 3);
}

TEST_F(MessagePipe, ALostPeerFailsEveryCallAndRaisesNothing)
{
    mPeer.reset();
    const RefreshBytes bytes(28);
    EXPECT_FALSE(mPipe.Write(mEvent, bytes.data(), 28, cLong));
    EXPECT_EQ(Read(12), PSMessagePipe::eRead_Failed);
    EXPECT_EQ(mPipe.GetRest(), 0U);
    mPipe.Close();
    EXPECT_FALSE(mPipe.IsOpen());
    EXPECT_FALSE(mPipe.Write(mEvent, bytes.data(), 28, cLong));
    EXPECT_EQ(Read(12), PSMessagePipe::eRead_Failed);
}

TEST_F(MessagePipe, AServiceWithoutAPlaceIsBusyAndOneThatIsMissingIsNot)
{
    mPeer.reset();
    mPipe.Close();
    const auto fill = [&] {
        std::vector<std::unique_ptr<PSMessagePipe>> clients;
        PSMessagePipe::EOpen opened = PSMessagePipe::eOpen_Opened;
        while (opened == PSMessagePipe::eOpen_Opened && clients.size() < 10) {
            clients.push_back(std::make_unique<PSMessagePipe>());
            opened = clients.back()->Open(mName.c_str());
        }
        EXPECT_EQ(opened, PSMessagePipe::eOpen_Busy);
        clients.back()->WaitForPlace(mName.c_str(), cShort);
        EXPECT_EQ(clients.back()->Open(mName.c_str()), PSMessagePipe::eOpen_Busy);
        EXPECT_FALSE(clients.back()->IsOpen());

        std::thread service([&] { mPeer = mListener.Accept(); });
        clients.back()->WaitForPlace(mName.c_str(), cLong);
        EXPECT_EQ(clients.back()->Open(mName.c_str()), PSMessagePipe::eOpen_Opened);
        service.join();
        mPeer.reset();
        for (const std::string& none : {std::string("no-such-pipe"), std::string(), std::string("a/b"),
                                        std::string("a\\b"), std::string(300, 'x')})
            EXPECT_EQ(PSMessagePipe().Open(none.c_str()), PSMessagePipe::eOpen_Failed) << none;
    };
    EXPECT_EQ(HandlesLeakedBy(fill), 0);
}
