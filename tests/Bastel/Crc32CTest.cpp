#include "Bastel/Sys/Sys_Crc32C.h"

#include "Bastel/Sys/Sys_Crc32C_p.h"
#include "Support/SlowCrc32C.h"
#include "Support/StreamBytes.h"

#include <gtest/gtest.h>

#include <random>

namespace {

Bytes Random(std::size_t iCount)
{
    std::mt19937 random(static_cast<unsigned>(iCount));
    Bytes bytes(iCount);
    for (Cmn_UInt8& byte : bytes)
        byte = static_cast<Cmn_UInt8>(random());
    return bytes;
}

TEST(Crc32C, KnownSums)
{
    const std::pair<std::string, Cmn_UInt32> cCases[] = {{"", 0},
                                                         {"123456789", 0xE3069283},
                                                         {std::string(32, 0), 0x8A9136AA},
                                                         {std::string(32, -1), 0x62A8AB43}};
    for (const auto& [text, sum] : cCases) {
        const Bytes bytes(text.begin(), text.end());
        EXPECT_EQ(Sys_Crc32C(0, bytes.data(), bytes.size()), sum) << text;
        EXPECT_EQ(SlowCrc32C(0, bytes.data(), bytes.size()), sum) << text;
    }
}

TEST(Crc32C, EveryKernelAgreesOnAllLengthsAtAllAlignments)
{
    std::vector<Sys_Crc32CKernel> kernels = {&Sys_Crc32CPlain};
    if (Sys_ProcessorHasCrc32C()) kernels.push_back(&Sys_Crc32CSse42);
    const Bytes bytes = Random(300000);
    const auto expectAgreement = [&](Cmn_UInt32 iSum, std::size_t iStart, std::size_t iCount) {
        const Cmn_UInt32 sum = SlowCrc32C(iSum, bytes.data() + iStart, iCount);
        bool agree = Sys_Crc32C(iSum, bytes.data() + iStart, iCount) == sum;
        for (const Sys_Crc32CKernel kernel : kernels)
            agree = agree && ~kernel(~iSum, bytes.data() + iStart, iCount) == sum;
        ASSERT_TRUE(agree) << iCount << " bytes from " << iStart << " on after " << iSum;
    };
    for (std::size_t start = 0; start < 16; ++start)
        for (std::size_t count = 0; count <= 1100; ++count)
            expectAgreement(start == 0 ? 0 : 0x12345678, start, count);
    // Around the longest stretch that three parts cover, and twice it.
    for (std::size_t count = 6100; count <= 12400; count += count == 6200 ? 6100 : 1)
        expectAgreement(0, count % 16, count);
    std::mt19937 random(2);
    for (int i = 0; i < 40; ++i) {
        const std::size_t start = random() % bytes.size();
        expectAgreement(static_cast<Cmn_UInt32>(random()), start, random() % (bytes.size() - start));
    }
}

TEST(Crc32C, SumsCombineAtEveryCut)
{
    const Bytes bytes = Random(5000);
    const Cmn_UInt32 whole = Sys_Crc32C(0, bytes.data(), bytes.size());
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
        const Cmn_UInt32 front = Sys_Crc32C(0, bytes.data(), cut);
        const Cmn_UInt32 back = Sys_Crc32C(0, bytes.data() + cut, bytes.size() - cut);
        ASSERT_EQ(Sys_Crc32CCombine(front, back, bytes.size() - cut), whole) << cut;
        ASSERT_EQ(Sys_Crc32C(front, bytes.data() + cut, bytes.size() - cut), whole) << cut;
    }
}

// Lengths that no test can lay out in memory: a sum moved by n and then by m has moved by n + m.
TEST(Crc32C, ShiftsByHugeLengthsAddUpAndAgree)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 2000; ++i) {
        const auto sum = static_cast<Cmn_UInt32>(random());
        const Cmn_UInt64 total = random() >> i % 64;
        const Cmn_UInt64 part = total == 0 ? 0 : random() % total;
        const Cmn_UInt32 moved = Sys_Crc32CCombine(sum, 0, total);
        ASSERT_EQ(Sys_Crc32CCombine(Sys_Crc32CCombine(sum, 0, part), 0, total - part), moved)
            << part << " of " << total;
        ASSERT_EQ(Sys_Crc32CShiftPlain(sum, total), moved) << total;
        const bool hasCrc = Sys_ProcessorHasCrc32C();
        ASSERT_EQ(hasCrc ? Sys_Crc32CShiftSse42(sum, total) : moved, moved) << total;
    }
}

} // namespace
