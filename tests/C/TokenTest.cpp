#include "C/CFixture.h"
#include "Support/AllocationCounter.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr std::uint32_t cLevel = 0x4D545220, cOther = 7;

struct Level
{
    std::int32_t mProducer;
    std::int32_t mNumber;
};

// What one listener heard.
struct Heard
{
    static void Take(void* ioHeard, const kora_token* iToken)
    {
        Level level{};
        EXPECT_EQ(iToken->size, sizeof level);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(iToken->bytes) % 8, 0u);
        std::memcpy(&level, iToken->bytes, sizeof level);
        static_cast<Heard*>(ioHeard)->mLevels.push_back(level);
    }
    std::vector<std::int32_t> Numbers() const
    {
        std::vector<std::int32_t> numbers;
        for (const Level& level : mLevels)
            numbers.push_back(level.mNumber);
        return numbers;
    }
    std::vector<Level> mLevels;
};

class CToken : public CFixture
{
protected:
    static Handle<kora_name> Name(const char* iPath) { return Made<kora_name>(kora_name_new, iPath); }
    static Handle<kora_receiver> Receiver(std::uint32_t iFlags = 0)
    {
        return Made<kora_receiver>(kora_receiver_new, iFlags);
    }
    static Handle<kora_listener> Listen(const Handle<kora_receiver>& iReceiver,
                                        const Handle<kora_name>& iName, Heard& oHeard,
                                        std::int32_t iWhich = KORA_LISTEN_ALL, std::uint32_t iType = cLevel,
                                        std::uint32_t iSubType = 0)
    {
        return Made<kora_listener>(kora_listener_new, iReceiver.get(), iName.get(), iType, iSubType, iWhich,
                                   &Heard::Take, static_cast<void*>(&oHeard));
    }
    static kora_status Send(const Handle<kora_name>& iName, Level iLevel, std::uint32_t iType = cLevel,
                            std::uint32_t iSubType = 0)
    {
        return kora_send(iName.get(), iType, iSubType, &iLevel, sizeof iLevel);
    }
    static std::size_t Process(const Handle<kora_receiver>& iReceiver)
    {
        std::size_t handled = 0;
        EXPECT_EQ(kora_receiver_process(iReceiver.get(), 0, &handled), KORA_OK);
        return handled;
    }
};

using Numbers = std::vector<std::int32_t>;

TEST_F(CToken, EachListenerHearsWhatIsForItAndTheNewestAlone)
{
    const auto master = Name("Mixer/Master"), log = Name("Log");
    const auto receiver = Receiver();
    Heard all, newest, sub, connected;
    const auto onAll = Listen(receiver, master, all),
               onNewest = Listen(receiver, master, newest, KORA_LISTEN_NEWEST),
               onSub = Listen(receiver, master, sub, KORA_LISTEN_ALL, 0, 5),
               onLog = Listen(receiver, log, connected);
    for (std::int32_t i = 0; i < 5; ++i)
        ASSERT_EQ(Send(master, {0, i}), KORA_OK);
    ASSERT_EQ(Send(master, {0, 50}, cOther, 5), KORA_OK);
    EXPECT_EQ(Process(receiver), 5u + 1 + 1);
    EXPECT_EQ(all.Numbers(), (Numbers{0, 1, 2, 3, 4}));
    EXPECT_EQ(newest.Numbers(), Numbers{4});
    EXPECT_EQ(sub.Numbers(), Numbers{50});
    ASSERT_EQ(kora_name_connect(log.get(), master.get()), KORA_OK);
    ASSERT_EQ(Send(master, {0, 6}), KORA_OK);
    EXPECT_EQ(Process(receiver), 3u);
    ASSERT_EQ(kora_name_disconnect(log.get(), master.get()), KORA_OK);
    ASSERT_EQ(Send(master, {0, 7}), KORA_OK);
    EXPECT_EQ(Process(receiver), 2u);
    EXPECT_EQ(connected.Numbers(), Numbers{6});
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
    Heard heard;
    auto listener = Listen(receiver, again, heard);
    ASSERT_EQ(Send(send, {0, 1}), KORA_OK);
    listener.reset(); // what waits for it is never handed out
    EXPECT_EQ(Process(receiver), 0u);
    EXPECT_TRUE(heard.mLevels.empty());
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

TEST_F(CToken, ManyThreadsSendToOneThatWaits)
{
    constexpr std::int32_t cProducers = 6, cTokens = 3000;
    const auto name = Name("Mixer/Master");
    const auto receiver = Receiver(KORA_RECEIVER_WAITS);
    Heard all;
    const auto listener = Listen(receiver, name, all);
    std::atomic<bool> isDone{false};
    std::thread reader([&] {
        while (!isDone.load()) {
            static_cast<void>(kora_receiver_wait(receiver.get(), 1000));
            static_cast<void>(kora_receiver_process(receiver.get(), 1, nullptr));
        }
    });
    std::vector<std::thread> producers;
    std::atomic<std::int32_t> sent{0};
    for (std::int32_t producer = 0; producer < cProducers; ++producer)
        producers.emplace_back([&, producer] {
            for (std::int32_t i = 0; i < cTokens;) {
                const kora_status status = Send(name, {producer, i});
                ASSERT_TRUE(status == KORA_OK || status == KORA_FULL);
                if (status == KORA_OK) {
                    ++sent;
                    ++i;
                } else {
                    std::this_thread::yield();
                }
            }
        });
    for (std::thread& producer : producers)
        producer.join();
    isDone.store(true);
    EXPECT_EQ(kora_receiver_wake(receiver.get()), KORA_OK);
    reader.join();
    static_cast<void>(Process(receiver));
    EXPECT_EQ(all.mLevels.size(), static_cast<std::size_t>(sent.load()));
    std::vector<std::int32_t> next(cProducers);
    for (const Level& level : all.mLevels)
        ASSERT_EQ(level.mNumber, next[static_cast<std::size_t>(level.mProducer)]++);
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
