#include "Bastel/Sys/Sys_TypedStream.h"

#include "Support/AssertRecorder.h"
#include "Support/StreamBytes.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <limits>

namespace {

using Out = Sys_TypedOutStream;
using In = Sys_TypedInStream;

constexpr double cNaN = std::numeric_limits<double>::signaling_NaN();

void WriteAll(Out& o)
{
    o.WriteBool(false);
    o.WriteBool(true);
    o.WriteUInt8(0xFE);
    o.WriteInt16(-2);
    o.WriteUInt16(0x1234);
    o.WriteInt32(-2147483647 - 1);
    o.WriteUInt32(0x12345678);
    o.WriteInt64(-0x0123456789ABCDEF);
    o.WriteFloat64(1.0);
    o.WriteFloat64(-0.0);
    o.WriteFloat64(cNaN);
    o.WriteString("é\n");
    o.WriteString("");
}

void ReadAll(In& i)
{
    EXPECT_FALSE(i.ReadBool());
    EXPECT_TRUE(i.ReadBool());
    EXPECT_EQ(i.ReadUInt8(), 0xFE);
    EXPECT_EQ(i.ReadInt16(), -2);
    EXPECT_EQ(i.ReadUInt16(), 0x1234);
    EXPECT_EQ(i.ReadInt32(), -2147483647 - 1);
    EXPECT_EQ(i.ReadUInt32(), 0x12345678u);
    EXPECT_EQ(i.ReadInt64(), -0x0123456789ABCDEF);
    for (const double value : {1.0, -0.0, cNaN}) // bits that == cannot tell apart
        EXPECT_EQ(std::bit_cast<Cmn_Int64>(i.ReadFloat64()), std::bit_cast<Cmn_Int64>(value));
    EXPECT_EQ(i.ReadString(), "é\n");
    EXPECT_EQ(i.ReadString(), "");
}

constexpr struct
{
    const char* mWhat;
    const char* mLittle;
} cLayout[] = {
    {"false", "00"},
    {"true", "01"},
    {"byte", "FE"},
    {"negative", "FEFF"},
    {"16 bits", "3412"},
    {"smallest", "00000080"},
    {"32 bits", "78563412"},
    {"64 bits", "11325476 98BADCFE"},
    {"one", "00000000 0000F03F"},
    {"minus zero", "00000000 00000080"},
    {"signalling NaN", "00000000 0000F47F"},
    {"text", "03000000 C3A90A"},
    {"empty text", "00000000"},
};

Bytes Written(bool iSwap)
{
    Sys_MemOutStream stream;
    Out typed(stream, iSwap);
    WriteAll(typed);
    return stream.TakeBytes();
}

// Takes six bytes and then no more, as a full disk does.
class FullStream : public Sys_MemOutStream
{
public:
    std::size_t Write(const void* iBytes, std::size_t iCount) override
    {
        return Sys_MemOutStream::Write(iBytes, std::min(iCount, 6 - GetBytes().size()));
    }
};

} // namespace

TEST(TypedStream, EachTypeHasItsLayoutInBothByteOrders)
{
    for (const bool swap : {false, true}) {
        const Bytes bytes = Written(swap);
        auto from = bytes.begin();
        for (const auto& [what, little] : cLayout) {
            Bytes expected = FromHex(little);
            // Of one value the big-endian form is the little-endian one turned round; of a text, its count.
            const auto end = std::string_view(what).ends_with("text") ? expected.begin() + 4 : expected.end();
            if (swap) std::reverse(expected.begin(), end);
            const auto to = from + static_cast<std::ptrdiff_t>(expected.size());
            EXPECT_EQ(Bytes(from, to), expected) << what;
            from = to;
        }
        Sys_MemInStream stream(bytes);
        In typed(stream, swap);
        ReadAll(typed);
        EXPECT_TRUE(typed.GetBytesLeft() == 0 && from == bytes.end());
    }
}

TEST(TypedStream, CutAtAnyLengthItRaisesTheReadingException)
{
    const Bytes whole = Written(false);
    std::size_t end = 0;
    for (const auto& [what, little] : cLayout) {
        const std::size_t start = end;
        end += FromHex(little).size();
        for (std::size_t length = start; length < end; ++length) {
            Sys_MemInStream stream(std::span<const Cmn_UInt8>(whole).first(length));
            In typed(stream);
            const Cmn_Exception thrown = Thrown([&] { ReadAll(typed); });
            EXPECT_EQ(thrown.GetMessageID(), Cmn_eMessage_ReadError) << what;
            EXPECT_EQ(thrown.GetOffset(), static_cast<Cmn_Int64>(start)) << what;
        }
    }
}

TEST(TypedStream, TextIsUtf8OnDiskWhateverTheCallersEncoding)
{
    const struct
    {
        const char* mWhat;
        ETextEncoding mEncoding;
        bool mRepair;
        const char* mGiven;
        const char* mStored;
        const char* mGot;
    } cCases[] = {
        {"UTF-8 as it stands", eTextEncoding_Utf8, false, "é\xFF", "é\xFF", "é\xFF"},
        {"UTF-8 repaired", eTextEncoding_Utf8, true, "é\xFFx\xC3", "é\uFFFDx\uFFFD", "é\uFFFDx\uFFFD"},
        {"nothing to repair", eTextEncoding_Utf8, true, "é𝄞", "é𝄞", "é𝄞"},
        {"both ends of Latin-1", eTextEncoding_Latin1, false, "\x01\x7F\x80\xFF", "\x01\x7F\u0080ÿ",
         "\x01\x7F\x80\xFF"},
        {"Latin-1 that looks like UTF-8", eTextEncoding_Latin1, true, "\xC3\xA9", "Ã©", "\xC3\xA9"},
    };
    for (const auto& c : cCases) {
        Sys_MemOutStream stream;
        Out(stream, false, c.mEncoding, c.mRepair).WriteString(c.mGiven);
        Sys_MemInStream bytes(stream.GetBytes());
        EXPECT_EQ(In(bytes).ReadString(), c.mStored) << c.mWhat;
        bytes.SetPosition(0);
        EXPECT_EQ(In(bytes, false, c.mEncoding).ReadString(), c.mGot) << c.mWhat;
    }
    Sys_MemOutStream stream;
    Out(stream).WriteString("ÿĀ𝄞\xFF");
    Sys_MemInStream bytes(stream.GetBytes());
    EXPECT_EQ(In(bytes, false, eTextEncoding_Latin1).ReadString(), "\xFF???") << "what Latin-1 cannot say";
}

TEST(TypedStream, DamagedValuesAreRefusedWhereTheyStand)
{
    const Bytes bytes = {9, 2, 0xFF, 0xFF, 0xFF, 0xFF, 'a'};
    Sys_MemInStream stream(bytes);
    In typed(stream);
    EXPECT_EQ(typed.ReadUInt8(), 9);
    EXPECT_EQ(Thrown([&] { typed.ReadBool(); }).GetOffset(), 1) << "2 is no bool";
    EXPECT_EQ(Thrown([&] { typed.ReadString(); }).GetOffset(), 2) << "four gigabytes, says the count";
    EXPECT_EQ(Sys_StreamReadException(17).Describe(),
              "an error occurred while reading the document (byte 17)");
}

TEST(TypedStream, AStreamThatTakesNoMoreRaisesTheWritingException)
{
    FullStream stream;
    Out typed(stream);
    typed.WriteInt32(1);
    const Cmn_Exception thrown = Thrown([&] { typed.WriteInt32(2); });
    EXPECT_EQ(thrown.GetMessageID(), Cmn_eMessage_WriteError);
    EXPECT_EQ(thrown.GetOffset(), 4);
}

TEST(MemStream, WritesOverWhatStandsThereAndPastTheEnd)
{
    const AssertRecorder recorder;
    Sys_MemOutStream out;
    out.Write("abcdef", 6);
    out.SetPosition(4);
    out.Write("XYZ", 3);
    out.SetPosition(7);
    out.SetPosition(0);
    out.Write("-", 1);
    Sys_MemInStream in(out.GetBytes());
    in.SetPosition(7);
    EXPECT_TRUE(recorder.Take().empty());
    for (const Cmn_Int64 outside : {Cmn_Int64{-1}, Cmn_Int64{8}}) {
        out.SetPosition(outside);
        in.SetPosition(outside);
        EXPECT_EQ(recorder.Take().size(), 2u);
        EXPECT_EQ(out.GetPosition(), 1);
        EXPECT_EQ(in.GetPosition(), 7);
    }
    const Bytes bytes = out.TakeBytes();
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "-bcdXYZ");
    out.Write("new", 3);
    EXPECT_EQ(out.GetBytes().size(), 3u);
}
