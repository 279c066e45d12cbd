#include "C/CFixture.h"
#include "Support/AllocationCounter.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

constexpr std::uint32_t cLevel = 0x4D545220, cOther = 7;

using Numbers = std::vector<std::int32_t>;

void Take(void* ioHeard, const kora_token* iToken)
{
    std::int32_t number = 0;
    EXPECT_EQ(iToken->size, sizeof number);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(iToken->bytes) % 8, 0u);
    std::memcpy(&number, iToken->bytes, sizeof number);
    static_cast<Numbers*>(ioHeard)->push_back(number);
}

class CToken : public CFixture
{
protected:
    static Handle<kora_name> Name(const char* iPath) { return Made<kora_name>(kora_name_new, iPath); }
    static Handle<kora_receiver> Receiver(std::uint32_t iFlags = 0)
    {
        return Made<kora_receiver>(kora_receiver_new, iFlags);
    }
    static Handle<kora_listener> Listen(const Handle<kora_receiver>& iReceiver,
                                        const Handle<kora_name>& iName, Numbers& oHeard,
                                        std::int32_t iWhich = KORA_LISTEN_ALL, std::uint32_t iType = cLevel,
                                        std::uint32_t iSubType = 0)
    {
        return Made<kora_listener>(kora_listener_new, iReceiver.get(), iName.get(), iType, iSubType, iWhich,
                                   &Take, static_cast<void*>(&oHeard));
    }
    static kora_status Send(const Handle<kora_name>& iName, std::int32_t iNumber,
                            std::uint32_t iType = cLevel, std::uint32_t iSubType = 0)
    {
        return kora_send(iName.get(), iType, iSubType, &iNumber, sizeof iNumber);
    }
    static std::size_t Process(const Handle<kora_receiver>& iReceiver)
    {
        std::size_t handled = 0;
        EXPECT_EQ(kora_receiver_process(iReceiver.get(), 0, &handled), KORA_OK);
        return handled;
    }
};

TEST_F(CToken, EachListenerHearsWhatIsForItAndTheNewestAlone)
{
    const auto master = Name("Mixer/Master"), log = Name("Log");
    const auto receiver = Receiver();
    Numbers all, newest, sub, connected;
    const auto onAll = Listen(receiver, master, all),
               onNewest = Listen(receiver, master, newest, KORA_LISTEN_NEWEST),
               onSub = Listen(receiver, master, sub, KORA_LISTEN_ALL, 0, 5),
               onLog = Listen(receiver, log, connected);
    for (std::int32_t i = 0; i < 5; ++i)
        ASSERT_EQ(Send(master, i), KORA_OK);
    ASSERT_EQ(Send(master, 50, cOther, 5), KORA_OK);
    EXPECT_EQ(Process(receiver), 5u + 1 + 1);
    EXPECT_EQ(all, (Numbers{0, 1, 2, 3, 4}));
    EXPECT_EQ(newest, Numbers{4});
    EXPECT_EQ(sub, Numbers{50});
    ASSERT_EQ(kora_name_connect(log.get(), master.get()), KORA_OK);
    ASSERT_EQ(Send(master, 6), KORA_OK);
    EXPECT_EQ(Process(receiver), 3u);
    ASSERT_EQ(kora_name_disconnect(log.get(), master.get()), KORA_OK);
    ASSERT_EQ(Send(master, 7), KORA_OK);
    EXPECT_EQ(Process(receiver), 2u);
    EXPECT_EQ(connected, Numbers{6});
    EXPECT_EQ(Process(receiver), 0u);
}

TEST_F(CToken, NamesAreOneTreeAndGoWithTheirLastHandle)
{
    const auto bus = Name("Mixer/Bus 1");
    const auto send = Made<kora_name>(kora_name_new_below, bus.get(), "Send");
    const auto again = Name("Mixer/Bus 1/Send");
    char path[64];
    std::size_t size = 0;
    ASSERT_EQ(kora_name_path(send.get(), path, sizeof path, &size), KORA_OK);
    EXPECT_EQ(std::string(path, size), "/Mixer/Bus 1/Send");
    const auto receiver = Receiver();
    Numbers heard;
    auto listener = Listen(receiver, again, heard);
    ASSERT_EQ(Send(send, 1), KORA_OK);
    listener.reset(); // what waits for it is never handed out
    EXPECT_EQ(Process(receiver), 0u);
    EXPECT_TRUE(heard.empty());
    EXPECT_EQ(kora_name_path(send.get(), path, 5, &size), KORA_TOO_SMALL);
    kora_name* none = nullptr;
    EXPECT_EQ(kora_name_new(std::string(32, 'x').c_str(), &none), KORA_BAD_ARGUMENT);
    EXPECT_EQ(kora_name_new(std::string(1024, '/').c_str(), &none), KORA_BAD_ARGUMENT);
    EXPECT_EQ(none, nullptr);
}

TEST_F(CToken, SendingAndAnAudioReceiverAllocateNothing)
{
    const auto name = Name("Mixer/Master");
    const auto receiver = Receiver(KORA_RECEIVER_AUDIO);
    std::int64_t sum = 0;
    const auto add = [](void* ioSum, const kora_token* iToken) {
        *static_cast<std::int64_t*>(ioSum) += iToken->size;
    };
    const auto listener = Made<kora_listener>(kora_listener_new, receiver.get(), name.get(), cLevel, 0u,
                                              std::int32_t{KORA_LISTEN_ALL}, +add, static_cast<void*>(&sum));
    const std::vector<char> bytes(KORA_TOKEN_BYTES);
    const AllocationCounter allocations;
    std::size_t handled = 0;
    for (std::size_t size = 0; size <= KORA_TOKEN_BYTES; size += 8) {
        ASSERT_EQ(kora_send(name.get(), cLevel, 0, bytes.data(), size), KORA_OK);
        ASSERT_EQ(kora_receiver_process(receiver.get(), 0, &handled), KORA_OK);
        ASSERT_EQ(handled, 1u);
    }
    // Until there is no room; the error needs none either.
    kora_status status = KORA_OK;
    for (int i = 0; i < 100000 && status == KORA_OK; ++i)
        status = kora_send(name.get(), cLevel, 0, bytes.data(), bytes.size());
    EXPECT_EQ(status, KORA_FULL);
    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_EQ(sum, 8 * 128 * 129 / 2);
}

TEST_F(CToken, WhatIsWrongIsRefused)
{
    const auto name = Name("Mixer/Master");
    const auto receiver = Receiver();
    char bytes[8] = {};
    EXPECT_EQ(kora_send(name.get(), 0, 0, bytes, 8), KORA_BAD_ARGUMENT);
    EXPECT_EQ(kora_send(name.get(), 1, 0, bytes, KORA_TOKEN_BYTES + 1), KORA_BAD_ARGUMENT);
    EXPECT_EQ(kora_send(name.get(), 1, 0, nullptr, 8), KORA_NULL_ARGUMENT);
    EXPECT_EQ(kora_send(name.get(), 1, 0, nullptr, 0), KORA_OK);
    EXPECT_EQ(kora_send(reinterpret_cast<kora_name*>(receiver.get()), 1, 0, bytes, 8), KORA_WRONG_HANDLE);
    EXPECT_EQ(kora_receiver_wait(receiver.get(), 0), KORA_BUSY);
    EXPECT_EQ(kora_receiver_process(receiver.get(), -1, nullptr), KORA_BAD_ARGUMENT);
    const auto waits = Receiver(KORA_RECEIVER_WAITS);
    EXPECT_EQ(kora_receiver_wait(waits.get(), 0), KORA_NOT_FOUND);
    kora_receiver* none = nullptr;
    EXPECT_EQ(kora_receiver_new(4, &none), KORA_BAD_ARGUMENT);
    kora_listener* listener = nullptr;
    EXPECT_EQ(
        kora_listener_new(receiver.get(), name.get(), 1, 0, KORA_LISTEN_ALL, nullptr, nullptr, &listener),
        KORA_NULL_ARGUMENT);
    EXPECT_EQ(listener, nullptr);
}

} // namespace
