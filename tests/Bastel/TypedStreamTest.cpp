#include "Bastel/Sys/Sys_TypedStream.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <functional>
#include <limits>

namespace {

using Bytes = std::vector<Cmn_UInt8>;
using Out = Sys_TypedOutStream;
using In = Sys_TypedInStream;

struct Case
{
    const char* what;
    std::function<void(Out&)> write;
    std::function<bool(In&)> readsTheSame;
    Bytes little;
    Bytes big;
};

template <class T>
Case Value(const char* iWhat, void (Out::*iWrite)(T), T (In::*iRead)(), T iValue, Bytes iLittle)
{
    // Of one value the big-endian form is the little-endian one turned round.
    Bytes big = iLittle;
    std::reverse(big.begin(), big.end());
    return {iWhat, [=](Out& o) { (o.*iWrite)(iValue); },
            [=](In& i) {
                return std::bit_cast<std::array<char, sizeof(T)>>((i.*iRead)()) ==
                       std::bit_cast<std::array<char, sizeof(T)>>(iValue);
            },
            iLittle, big};
}

const std::vector<Case>& Cases()
{
    static const std::vector<Case> sCases = {
        Value("false", &Out::WriteBool, &In::ReadBool, false, {0                                             }
            ),
        Value("true", &Out::WriteBool, &In::ReadBool, true, {        1                                            }
            ),
        Value<Cmn_UInt8>("byte", &Out::WriteUInt8, &In::ReadUInt8, 0xFE, {                                                   0xFE                                                                                     }
            ),
        Value<Cmn_Int16>("negative 16 bits", &Out::WriteInt16, &In::ReadInt16, -2, {                                                                                                                             0xFE,                                        0xFF}
            ),
        Value<Cmn_UInt16>("16 bits", &Out::WriteUInt16, &In::ReadUInt16, 0x1234, {            0x34,          0x12}
            ),
        Value<Cmn_Int32>("smallest 32 bits", &Out::WriteInt32, &In::ReadInt32, -2147483647 - 1,
                         {                                                                                                                                        0,                                                                                                                                                                                                                             0, 0, 0x80}
            ),
        Value<Cmn_UInt32>("32 bits", &Out::WriteUInt32, &In::ReadUInt32, 0x12345678,
                          {                                                                                                                                    0x78,                                                                                                                                                                                                                         0x56, 0x34, 0x12}
            ),
        Value<Cmn_Int64>("64 bits", &Out::WriteInt64, &In::ReadInt64, -0x0123456789ABCDEF,
                         { 0x11, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE}
            ),
        Value("1.0", &Out::WriteFloat64, &In::ReadFloat64, 1.0, {                                                                                                                                           0,                                                                                    0, 0, 0, 0, 0, 0xF0, 0x3F}
            ),
        Value("-0.0", &Out::WriteFloat64, &In::ReadFloat64, -0.0, {                                                                                                                                                0,                                                                                                                                                                                                                                        0, 0, 0, 0, 0, 0, 0x80}
            ),
        Value("a signalling NaN keeps its bits", &Out::WriteFloat64, &In::ReadFloat64,
              std::numeric_limits<double>::signaling_NaN(), {          0,                                                                                                                                        0, 0, 0, 0, 0, 0xF4, 0x7F}
            ),
        {                                                                                                                                           "text",
                                                               [](Out& o) { o.WriteString("é\n"); },
                                                               [](In& i) { return i.ReadString() == "é\n"; },
                                                               {3, 0, 0, 0, 0xC3, 0xA9, 0x0A},
                                                               {0, 0, 0, 3, 0xC3, 0xA9, 0x0A}},
        {                                                                                                                           "empty text",
                                                               [](Out& o) { o.WriteString(""); },
                                                               [](In& i) { return i.ReadString().empty(); },
                                                               {0, 0, 0, 0},
                                                               {0, 0, 0, 0}},
    };
    return sCases;
}

Bytes Write(const std::function<void(Out&)>& iWrite, bool iSwap)
{
    Sys_MemOutStream stream;
    Out typed(stream, iSwap);
    iWrite(typed);
    return stream.TakeBytes();
}

void WriteAll(Out& ioStream)
{
    for (const Case& c : Cases())
        c.write(ioStream);
}

// Takes a few bytes and then no more, as a full disk does.
class FullStream : public Sys_OutStream
{
public:
    std::size_t Write(const void*, std::size_t iCount) override
    {
        const std::size_t taken = std::min(iCount, std::size_t{6} - mCount);
        mCount += taken;
        return taken;
    }
    Cmn_Int64 GetPosition() const override { return static_cast<Cmn_Int64>(mCount); }
    void SetPosition(Cmn_Int64) override {}

private:
    std::size_t mCount = 0;
};

} // namespace

TEST(TypedStream, EachTypeHasItsLayoutInBothByteOrders)
{
    for (const Case& c : Cases())
        for (const bool swap : {false, true}) {
            const Bytes bytes = Write(c.write, swap);
            EXPECT_EQ(bytes, swap ? c.big : c.little) << c.what;
            Sys_MemInStream stream(bytes);
            In typed(stream, swap);
            EXPECT_TRUE(c.readsTheSame(typed)) << c.what;
            EXPECT_EQ(typed.GetBytesLeft(), 0) << c.what;
        }
}

TEST(TypedStream, CutAtAnyLengthItRaisesTheReadingException)
{
    for (const bool swap : {false, true}) {
        const Bytes whole = Write(&WriteAll, swap);
        for (std::size_t length = 0; length < whole.size(); ++length) {
            const std::span<const Cmn_UInt8> all = whole;
            Sys_MemInStream stream(all.first(length));
            In typed(stream, swap);
            Cmn_Int64 valueAt = 0;
            try {
                for (const Case& c : Cases()) {
                    valueAt = typed.GetPosition();
                    EXPECT_TRUE(c.readsTheSame(typed)) << c.what;
                }
                ADD_FAILURE() << "read past " << length;
            } catch (const Sys_StreamReadException& error) {
                EXPECT_GE(error.GetOffset(), valueAt) << length;
                EXPECT_LE(error.GetOffset(), static_cast<Cmn_Int64>(length));
            }
        }
    }
}

TEST(TypedStream, DamagedValuesAreRefusedWhereTheyStand)
{
    const Bytes bytes = {9, 2, 0xFF, 0xFF, 0xFF, 0xFF, 'a'};
    Sys_MemInStream stream(bytes);
    In typed(stream);
    EXPECT_EQ(typed.ReadUInt8(), 9);
    try {
        typed.ReadBool();
        ADD_FAILURE() << "2 is no bool";
    } catch (const Sys_StreamReadException& error) {
        EXPECT_EQ(error.Describe(), "an error occurred while reading the document (byte 1)");
    }
    try {
        typed.ReadString(); // four gigabytes, says the count
        ADD_FAILURE() << "the text is longer than the stream";
    } catch (const Sys_StreamReadException& error) {
        EXPECT_EQ(error.GetOffset(), 2);
    }
}

TEST(TypedStream, AStreamThatTakesNoMoreRaisesTheWritingException)
{
    FullStream stream;
    Out typed(stream);
    typed.WriteInt32(1);
    try {
        typed.WriteInt32(2);
        ADD_FAILURE() << "only six bytes were taken";
    } catch (const Sys_StreamWriteException& error) {
        EXPECT_EQ(error.GetOffset(), 4);
    }
}

TEST(MemStream, WritesOverWhatStandsThereAndPastTheEnd)
{
    const AssertRecorder recorder;
    Sys_MemOutStream out;
    out.Write("abcdef", 6);
    out.SetPosition(4);
    out.Write("XYZ", 3);
    EXPECT_EQ(out.GetPosition(), 7);
    out.SetPosition(0);
    out.Write("-", 1);
    EXPECT_TRUE(recorder.Take().empty());
    for (const Cmn_Int64 outside : {Cmn_Int64{-1}, Cmn_Int64{8}}) {
        out.SetPosition(outside);
        EXPECT_EQ(recorder.Take().size(), 1u);
        EXPECT_EQ(out.GetPosition(), 1);
    }
    const Bytes bytes = out.TakeBytes();
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "-bcdXYZ");
    EXPECT_EQ(out.GetPosition(), 0);
    out.Write("new", 3);
    EXPECT_EQ(out.GetBytes().size(), 3u);

    Sys_MemInStream in(bytes);
    in.SetPosition(7);
    char byte = 0;
    EXPECT_EQ(in.Read(&byte, 1), 0u);
    for (const Cmn_Int64 outside : {Cmn_Int64{-1}, Cmn_Int64{8}}) {
        in.SetPosition(outside);
        EXPECT_EQ(recorder.Take().size(), 1u);
        EXPECT_EQ(in.GetPosition(), 7);
    }
}
