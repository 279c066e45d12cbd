#include "Bastel/Sys/Sys_StdStreamHeader.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<Cmn_UInt8>;
using Writer = Sys_StdStreamHeaderWriter;
using Reader = Sys_StdStreamHeaderReader;

// "Outer" version 3 holds 1, then "In" version -1 with 2, 3 inside, then 4; after it all comes 5.
Bytes WriteNested(bool iSwap)
{
    Sys_MemOutStream stream;
    Sys_TypedOutStream typed(stream, iSwap);
    {
        const Writer outer(typed, "Outer", 3);
        typed.WriteInt32(1);
        {
            Writer inner(typed, "In", -1);
            EXPECT_EQ(inner.GetStart(), 34);
            typed.WriteInt32(2);
            typed.WriteInt32(3);
            inner.PatchSize();
            inner.PatchSize(); // once is enough
        }
        typed.WriteInt32(4);
    }
    typed.WriteInt32(5);
    return stream.TakeBytes();
}

// Reads it all, throwing what the readers throw, and returns the values in a row.
std::vector<Cmn_Int32> ReadNested(const Bytes& iBytes, bool iSwap)
{
    Sys_MemInStream stream(iBytes);
    Sys_TypedInStream typed(stream, iSwap);
    Reader outer(typed, "Outer");
    outer.CheckVersion(3, 3);
    std::vector<Cmn_Int32> values = {typed.ReadInt32()};
    Reader inner(typed, "In");
    inner.CheckVersion(-1, 2);
    while (inner.IsMoreLeft())
        values.push_back(typed.ReadInt32());
    while (outer.IsMoreLeft())
        values.push_back(typed.ReadInt32());
    values.push_back(typed.ReadInt32());
    return values;
}

} // namespace

TEST(StdStreamHeader, NestsAndIsReadBackInBothByteOrders)
{
    for (const bool swap : {false, true})
        EXPECT_EQ(ReadNested(WriteNested(swap), swap), (std::vector<Cmn_Int32>{1, 2, 3, 4, 5}));
}

TEST(StdStreamHeader, AReaderLeavesTheRestOfTheBodyAlone)
{
    const Bytes bytes = WriteNested(false);
    Sys_MemInStream stream(bytes);
    Sys_TypedInStream typed(stream);
    EXPECT_EQ(Reader::PeekName(typed), "Outer");
    EXPECT_EQ(typed.GetPosition(), 0);
    Reader outer(typed, "Outer");
    EXPECT_EQ(outer.GetVersion(), 3);
    EXPECT_NO_THROW(outer.CheckVersion(3, 3));
    EXPECT_THROW(outer.CheckVersion(4, 9), Cmn_DocumentTooOldException);
    EXPECT_THROW(outer.CheckVersion(-1, 2), Cmn_DocumentTooNewException);
    EXPECT_EQ(Reader::PeekName(typed), "") << "an integer is no header";
    typed.ReadInt32();
    EXPECT_EQ(Reader::PeekName(typed), "In");
    Reader(typed, "In").SkipTheRest();
    EXPECT_EQ(outer.GetBytesLeft(), 4);
    outer.SkipTheRest();
    EXPECT_FALSE(outer.IsMoreLeft());
    EXPECT_EQ(typed.ReadInt32(), 5);
    EXPECT_EQ(Reader::PeekName(typed), "") << "nothing follows";
}

TEST(StdStreamHeader, CutAtAnyLengthItRaisesTheReadingException)
{
    Bytes cut = WriteNested(false);
    while (!cut.empty()) {
        cut.pop_back();
        EXPECT_THROW(ReadNested(cut, false), Sys_StreamReadException) << cut.size();
    }
}

TEST(StdStreamHeader, ATurnedBitIsNoticedWhereverItMatters)
{
    const Bytes whole = WriteNested(false);
    constexpr std::size_t cVersion = 10, cListIndex = 12, cFlags = 16, cSize = 18, cBody = 30;
    const auto expected = [](std::size_t iAt, int iBit) {
        if (iAt >= cVersion && iAt < cListIndex) return "another version";
        const bool isListFlag = iAt == cFlags && iBit == 1;
        return (iAt >= cListIndex && iAt < cFlags) || isListFlag ? "read" : "refused";
    };
    const auto result = [](const Bytes& iBytes) {
        try {
            ReadNested(iBytes, false);
            return "read";
        } catch (const Sys_StreamReadException&) {
            return "refused";
        } catch (const Cmn_Exception&) {
            return "another version";
        }
    };
    for (std::size_t at = 0; at < cBody; ++at)
        for (int bit = 0; bit < 8; ++bit) {
            // 43 bytes that are said to be fewer: the body is read over its end, which only a sum would show.
            if (at == cSize && (43 >> bit & 1) != 0) continue;
            Bytes bytes = whole;
            bytes[at] = static_cast<Cmn_UInt8>(bytes[at] ^ 1 << bit);
            EXPECT_STREQ(result(bytes), expected(at, bit)) << at << " bit " << bit;
        }
}

TEST(StdStreamHeader, AnExceptionThatTheBodySurvivedDoesNotEndIt)
{
    Sys_MemOutStream stream;
    Sys_TypedOutStream typed(stream);
    {
        const Writer whole(typed, "Whole", 1);
        EXPECT_THROW(Sys_ThrowIfOSErr(-9006), Cmn_Exception); // the library throws, the program catches
    }
    Sys_MemInStream bytes(stream.GetBytes());
    Sys_TypedInStream in(bytes);
    EXPECT_FALSE(Reader(in, "Whole").IsMoreLeft());
}

TEST(StdStreamHeader, ABodyThatAnExceptionEndedIsTakenByNoReader)
{
    for (const bool isTheLibrarys : {false, true}) {
        Sys_MemOutStream stream;
        Sys_TypedOutStream typed(stream);
        try {
            const Writer outer(typed, "Outer", 1);
            Writer(typed, "Inner", 1).PatchSize();
            if (isTheLibrarys) Sys_ThrowIfOSErr(-9006);
            throw std::runtime_error("half way");
        } catch (const std::runtime_error&) {
            // While an exception is handled, other bodies can be written whole.
            const Writer other(typed, "Other", 1);
        }
        Sys_MemInStream bytes(stream.GetBytes());
        Sys_TypedInStream in(bytes);
        EXPECT_EQ(Reader::PeekName(in), "Outer");
        EXPECT_THROW(Reader(in, "Outer"), Sys_StreamReadException) << isTheLibrarys;
        in.SetPosition(30);
        Reader(in, "Inner").SkipTheRest();
        EXPECT_FALSE(Reader(in, "Other").IsMoreLeft()) << isTheLibrarys;
    }
}

TEST(StdStreamHeader, NamesEndAt255Bytes)
{
    const AssertRecorder recorder;
    Sys_MemOutStream stream;
    Sys_TypedOutStream typed(stream);
    Writer(typed, std::string(256, 'b'), 1).PatchSize();
    EXPECT_EQ(recorder.Take(),
              std::vector<std::string>{"iName.size() <= Fields::cMaxName@$^$@Sys/Sys_StdStreamHeader"});
    Sys_MemInStream bytes(stream.GetBytes());
    Sys_TypedInStream in(bytes);
    EXPECT_FALSE(Reader(in, std::string(255, 'b')).IsMoreLeft());
    EXPECT_EQ(in.GetBytesLeft(), 0);
}
