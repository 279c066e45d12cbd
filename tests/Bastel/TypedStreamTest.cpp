#include "Bastel/Sys/Sys_TypedStream.h"

#include "Support/AssertRecorder.h"
#include "Support/StreamBytes.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <functional>
#include <limits>

namespace {

using Out = Sys_TypedOutStream;
using In = Sys_TypedInStream;

struct Case
{
    const char* what;
    std::function<void(Out&)> write;
    std::function<bool(In&)> readsTheSame;
    std::string little, big; // bytes
};

// Of one value the big-endian form is the little-endian one turned round.
template <class T>
Case Value(const char* iWhat, void (Out::*iWrite)(T), T (In::*iRead)(), T iValue, std::string iLittle)
{
    const auto same = [=](In& i) { return (i.*iRead)() == iValue; };
    return {
        iWhat, [=](Out& o) { (o.*iWrite)(iValue);              },
           same, iLittle, { iLittle.rbegin(), iLittle.rend()}
    };
}

Case Float(const char* iWhat, double iValue, std::string iLittle)
{
    Case c = Value(iWhat, &Out::WriteFloat64, &In::ReadFloat64, iValue, std::move(iLittle));
    const auto bits = std::bit_cast<Cmn_Int64>(iValue); // what == cannot tell apart
    c.readsTheSame = [=](In& i) { return std::bit_cast<Cmn_Int64>(i.ReadFloat64()) == bits; };
    return c;
}

Case Text(const char* iWhat, const char* iText, std::string iLittle, std::string iBig)
{
    const auto same = [=](In& i) { return i.ReadString() == iText; };
    return {iWhat, [=](Out& o) { o.WriteString(iText); }, same, std::move(iLittle), std::move(iBig)};
}

const std::vector<Case>& Cases()
{
    using namespace std::string_literals; // zeros inside
    constexpr double cNaN = std::numeric_limits<double>::signaling_NaN();
    static const std::vector<Case> sCases = {
        Value("false", &Out::WriteBool, &In::ReadBool, false, "\0"s),
        Value("true", &Out::WriteBool, &In::ReadBool, true, "\x01"s),
        Value<Cmn_UInt8>("byte", &Out::WriteUInt8, &In::ReadUInt8, 0xFE, "\xFE"s),
        Value<Cmn_Int16>("negative", &Out::WriteInt16, &In::ReadInt16, -2, "\xFE\xFF"s),
        Value<Cmn_UInt16>("16 bits", &Out::WriteUInt16, &In::ReadUInt16, 0x1234, "\x34\x12"s),
        Value<Cmn_Int32>("smallest", &Out::WriteInt32, &In::ReadInt32, -2147483647 - 1, "\0\0\0\x80"s),
        Value<Cmn_UInt32>("32 bits", &Out::WriteUInt32, &In::ReadUInt32, 0x12345678, "\x78\x56\x34\x12"s),
        Value<Cmn_Int64>("64 bits", &Out::WriteInt64, &In::ReadInt64, -0x0123456789ABCDEF,
                         "\x11\x32\x54\x76\x98\xBA\xDC\xFE"s),
        Float("one", 1.0, "\0\0\0\0\0\0\xF0\x3F"s),
        Float("minus zero", -0.0, "\0\0\0\0\0\0\0\x80"s),
        Float("a signalling NaN keeps its bits", cNaN, "\0\0\0\0\0\0\xF4\x7F"s),
        Text("text", "é\n", "\x03\0\0\0é\n"s, "\0\0\0\x03é\n"s),
        Text("empty text", "", "\0\0\0\0"s, "\0\0\0\0"s),
    };
    return sCases;
}

Bytes Write(const std::vector<Case>& iCases, bool iSwap)
{
    Sys_MemOutStream stream;
    Out typed(stream, iSwap);
    for (const Case& c : iCases)
        c.write(typed);
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
    for (const Case& c : Cases())
        for (const bool swap : {false, true}) {
            const Bytes bytes = Write({c}, swap);
            EXPECT_EQ(std::string(bytes.begin(), bytes.end()), swap ? c.big : c.little) << c.what;
            Sys_MemInStream stream(bytes);
            In typed(stream, swap);
            EXPECT_TRUE(c.readsTheSame(typed)) << c.what;
            EXPECT_EQ(typed.GetBytesLeft(), 0) << c.what;
        }
}

TEST(TypedStream, CutAtAnyLengthItRaisesTheReadingException)
{
    const Bytes whole = Write(Cases(), false);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        Sys_MemInStream stream(std::span<const Cmn_UInt8>(whole).first(length));
        In typed(stream);
        Cmn_Int64 valueAt = 0;
        const Cmn_Exception thrown = Thrown([&] {
            for (const Case& c : Cases()) {
                valueAt = typed.GetPosition();
                EXPECT_TRUE(c.readsTheSame(typed)) << c.what;
            }
        });
        EXPECT_EQ(thrown.GetOffset(), valueAt) << length;
        EXPECT_EQ(thrown.GetMessageID(), Cmn_eMessage_ReadError);
    }
}

TEST(TypedStream, TextIsUtf8OnDiskWhateverTheCallersEncoding)
{
    // clang-format off
    const struct
    {
        const char* what;
        ETextEncoding encoding;
        bool repair;
        const char *given, *stored, *got;
    } cCases[] = {
        {"UTF-8 as it stands",            eTextEncoding_Utf8,   false, "é\xFF",            "é\xFF",            "é\xFF"},
        {"UTF-8 repaired",                eTextEncoding_Utf8,   true,  "é\xFFx\xC3",       "é\uFFFDx\uFFFD",   "é\uFFFDx\uFFFD"},
        {"nothing to repair",             eTextEncoding_Utf8,   true,  "é𝄞",              "é𝄞",              "é𝄞"},
        {"both ends of Latin-1",          eTextEncoding_Latin1, false, "\x01\x7F\x80\xFF", "\x01\x7F\u0080ÿ", "\x01\x7F\x80\xFF"},
        {"Latin-1 that looks like UTF-8", eTextEncoding_Latin1, true,  "\xC3\xA9",         "Ã©",              "\xC3\xA9"},
    };
    // clang-format on
    for (const auto& c : cCases) {
        Sys_MemOutStream stream;
        Out(stream, false, c.encoding, c.repair).WriteString(c.given);
        Sys_MemInStream bytes(stream.GetBytes());
        EXPECT_EQ(In(bytes).ReadString(), c.stored) << c.what;
        bytes.SetPosition(0);
        EXPECT_EQ(In(bytes, false, c.encoding).ReadString(), c.got) << c.what;
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
