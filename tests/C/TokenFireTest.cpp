// Tokens under fire: threads that make, hear, connect, send and let go, with nothing between them but the calls.
#include "CFixture.h"

#include <atomic>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

namespace {

using CTokenFire = CFixture;

constexpr std::uint32_t cType = 7;

// Names, receivers and listeners come and go while others send to them; what is heard is what was sent.
TEST_F(CTokenFire, WhoComesAndGoesHearsOnlyWhatWasSent)
{
    const auto root = Made<kora_name>(kora_name_new, "Fire");
    std::atomic<bool> isDone{false};
    std::atomic<int> heard{0}, broken{0};
    struct Heard
    {
        std::atomic<int>* mHeard;
        std::atomic<int>* mBroken;
    } user{&heard, &broken};
    const kora_token_handler handler = [](void* iUser, const kora_token* iToken) {
        const Heard& to = *static_cast<Heard*>(iUser);
        std::uint32_t words[4];
        const bool isWhole = iToken->size == sizeof words && iToken->type == cType;
        if (isWhole) std::memcpy(words, iToken->bytes, sizeof words);
        ++(isWhole && words[1] == words[0] + 1 && words[3] == words[0] + 3 ? *to.mHeard : *to.mBroken);
    };
    const auto send = [&](unsigned iSeed) {
        std::mt19937 random(iSeed);
        while (!isDone) {
            const auto name = Made<kora_name>(kora_name_new_below, root.get(), random() % 2 == 0 ? "A" : "B");
            for (int i = 0; i < 20; ++i) {
                const auto first = static_cast<std::uint32_t>(random());
                const std::uint32_t words[4] = {first, first + 1, first + 2, first + 3};
                const kora_status status = kora_send(name.get(), cType, 1, words, sizeof words);
                EXPECT_TRUE(status == KORA_OK || status == KORA_FULL) << status;
            }
        }
    };
    const auto listen = [&](unsigned iSeed) {
        std::mt19937 random(iSeed);
        for (int round = 0; round < 150; ++round) {
            auto receiver = Made<kora_receiver>(kora_receiver_new, std::uint32_t{KORA_RECEIVER_WAITS});
            auto name = Made<kora_name>(kora_name_new_below, root.get(), "A");
            const auto other = Made<kora_name>(kora_name_new_below, root.get(), "B");
            auto listener = Made<kora_listener>(kora_listener_new, receiver.get(), name.get(), cType, 0u,
                                                static_cast<std::int32_t>(random() % 2), handler, &user);
            if (random() % 2 == 0) {
                EXPECT_EQ(kora_name_connect(name.get(), other.get()), KORA_OK);
            }
            // Another thread handles too; one of the two is told that the other is at it.
            EXPECT_EQ(kora_retain(receiver.get()), KORA_OK);
            std::thread second([held = receiver.get()] {
                const kora_status status = kora_receiver_process(held, 1, nullptr);
                EXPECT_TRUE(status == KORA_OK || status == KORA_BUSY) << status;
                EXPECT_EQ(kora_release(held), KORA_OK);
            });
            static_cast<void>(kora_receiver_wait(receiver.get(), 1));
            static_cast<void>(kora_receiver_process(receiver.get(), 1, nullptr));
            if (random() % 2 == 0) name.reset();
            if (random() % 2 == 0) receiver.reset(); // the listener keeps it
            if (random() % 2 == 0) second.join();
            listener.reset();
            if (second.joinable()) second.join();
        }
    };
    std::vector<std::thread> senders, listeners;
    for (unsigned seed = 0; seed < 3; ++seed) {
        senders.emplace_back([&, seed] { send(seed); });
        listeners.emplace_back([&, seed] { listen(seed); });
    }
    for (std::thread& thread : listeners)
        thread.join();
    isDone = true;
    for (std::thread& thread : senders)
        thread.join();
    EXPECT_GT(heard.load(), 0);
    EXPECT_EQ(broken.load(), 0);
}

TEST_F(CTokenFire, AWakeOrATokenBeforeTheWaitEndsIt)
{
    const auto receiver = Made<kora_receiver>(kora_receiver_new, std::uint32_t{KORA_RECEIVER_WAITS});
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(kora_receiver_wake(receiver.get()), KORA_OK);
    EXPECT_EQ(kora_receiver_wait(receiver.get(), -1), KORA_OK);
    EXPECT_EQ(kora_receiver_wait(receiver.get(), 0), KORA_NOT_FOUND)
        << "one wait, however often it was woken";
    const auto name = Made<kora_name>(kora_name_new, "Fire");
    const kora_token_handler ignore = [](void*, const kora_token*) {};
    const auto listener = Made<kora_listener>(kora_listener_new, receiver.get(), name.get(), cType, 0u,
                                              std::int32_t{KORA_LISTEN_ALL}, ignore, nullptr);
    ASSERT_EQ(kora_send(name.get(), cType, 0, "a token", 8), KORA_OK);
    EXPECT_EQ(kora_receiver_wait(receiver.get(), -1), KORA_OK);
}

} // namespace
