// Columns that lie in one another, with strides of every kind.
#include "CFixture.h"

#include <cstring>
#include <random>
#include <vector>

namespace {

using CColumn = CFixture;

// An element's bytes, wherever they stand.
template <class T>
T At(const std::vector<unsigned char>& iMemory, std::ptrdiff_t iFirst, std::ptrdiff_t iStride,
     std::size_t iIndex)
{
    T value;
    std::memcpy(&value, iMemory.data() + iFirst + static_cast<std::ptrdiff_t>(iIndex) * iStride,
                sizeof value);
    return value;
}

// What a call of columns does is what the call of one does to each element as it was before, wherever the results go.
// iMany(in, stride, out, stride, count), iOne(element).
template <class In, class Out, class Make, class Many, class One>
void Check(const Make& iMake, const Many& iMany, const One& iOne)
{
    std::mt19937 random(1);
    constexpr std::ptrdiff_t cStrides[] = {8, -8, 9, 16, -16, 24, 40, -40};
    for (int round = 0; round < 4000; ++round) {
        const std::size_t count = round % 50 == 0 ? 2500 : 1 + random() % 8;
        const std::ptrdiff_t inStride = cStrides[random() % std::size(cStrides)];
        const std::ptrdiff_t outStride =
            random() % 2 == 0 ? inStride : cStrides[random() % std::size(cStrides)];
        if (std::abs(outStride) < static_cast<std::ptrdiff_t>(sizeof(Out))) continue;
        if (std::abs(inStride) < static_cast<std::ptrdiff_t>(sizeof(In))) continue;
        const auto room = static_cast<std::ptrdiff_t>(count) * 40 + 64;
        std::vector<unsigned char> memory(static_cast<std::size_t>(2 * room));
        const auto shift = static_cast<std::ptrdiff_t>(random() % 49) - 24;
        const std::ptrdiff_t in = room, out = room + (random() % 4 == 0 ? 0 : shift);
        for (std::size_t i = 0; i < count; ++i) {
            const In value = iMake(random);
            std::memcpy(memory.data() + in + static_cast<std::ptrdiff_t>(i) * inStride, &value, sizeof value);
        }
        std::vector<Out> wanted;
        for (std::size_t i = 0; i < count; ++i)
            wanted.push_back(iOne(At<In>(memory, in, inStride, i)));
        ASSERT_EQ(iMany(memory.data() + in, inStride, memory.data() + out, outStride, count), KORA_OK)
            << kora_last_error_text();
        for (std::size_t i = 0; i < count; ++i) {
            const Out got = At<Out>(memory, out, outStride, i);
            ASSERT_EQ(std::memcmp(&got, &wanted[i], sizeof got), 0)
                << round << ": " << i << " of " << count << ", strides " << inStride << " and " << outStride
                << ", out " << out - in << " bytes behind in";
        }
    }
}

TEST_F(CColumn, ResultsAreThoseOfTheElementsBeforeWhereverTheyGo)
{
    const auto handle = Open();
    kora_song* const song = handle.get();
    const auto tick = [](std::mt19937& ioRandom) -> std::int64_t {
        return cStart + ioRandom() % (90 * cQuarter);
    };
    const auto toSample = [&](std::int64_t iTick) {
        kora_time sample{};
        EXPECT_EQ(kora_convert(song, {iTick, KORA_TICKS, 0}, KORA_SAMPLES, &sample), KORA_OK);
        return sample.count;
    };
    const auto toBars = [&](std::int64_t iTick) {
        kora_bar_position bars{};
        EXPECT_EQ(kora_to_bars(song, {iTick, KORA_TICKS, 0}, &bars), KORA_OK);
        return bars;
    };
    const auto fromBars = [&](const kora_bar_position& iBars) {
        kora_time time{};
        EXPECT_EQ(kora_from_bars(song, iBars, KORA_TICKS, &time), KORA_OK);
        return time.count;
    };
    Check<std::int64_t, std::int64_t>(
        tick,
        [&](void* in, std::ptrdiff_t inStride, void* out, std::ptrdiff_t outStride, std::size_t count) {
            return kora_convert_all(song, KORA_TICKS, in, inStride, KORA_SAMPLES, out, outStride, count);
        },
        toSample);
    Check<std::int64_t, kora_bar_position>(
        tick,
        [&](void* in, std::ptrdiff_t inStride, void* out, std::ptrdiff_t outStride, std::size_t count) {
            return kora_to_bars_all(song, KORA_TICKS, in, inStride, out, outStride, count);
        },
        toBars);
    Check<kora_bar_position, std::int64_t>(
        [&](std::mt19937& ioRandom) { return toBars(tick(ioRandom)); },
        [&](void* in, std::ptrdiff_t inStride, void* out, std::ptrdiff_t outStride, std::size_t count) {
            return kora_from_bars_all(song, in, inStride, KORA_TICKS, out, outStride, count);
        },
        fromBars);
}

TEST_F(CColumn, StridesAtTheEndsOfTheirType)
{
    const auto song = Open();
    std::int64_t in = 5, out = 0;
    const auto convert = [&](std::ptrdiff_t iInStride, std::ptrdiff_t iOutStride) {
        return kora_convert_all(song.get(), KORA_SAMPLES, &in, iInStride, KORA_SAMPLES, &out, iOutStride, 1);
    };
    for (const std::ptrdiff_t stride :
         {PTRDIFF_MIN, PTRDIFF_MIN + 1, std::ptrdiff_t{-8}, std::ptrdiff_t{8}, PTRDIFF_MAX})
    {
        EXPECT_EQ(convert(stride, stride), KORA_OK) << stride;
        EXPECT_EQ(convert(0, stride), KORA_OK) << stride;
        EXPECT_EQ(out, 5);
    }
    for (const std::ptrdiff_t stride : {-7, -1, 0, 7})
        EXPECT_EQ(convert(8, stride), KORA_BAD_ARGUMENT) << stride;
}

} // namespace
