#include "Bastel/Sys/Sys_StreamDump.h"

#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Support/StreamBytes.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

Bytes WriteSample(bool iSwap)
{
    Sys_MemOutStream stream;
    Sys_TypedOutStream typed(stream, iSwap);
    typed.WriteUInt8(7);
    {
        const Sys_StdStreamHeaderWriter outer(typed, "Meter", 2);
        typed.WriteString("4/4 is the meter");
        {
            const Sys_StdStreamHeaderWriter inner(typed, "X", -1);
        }
        typed.WriteUInt8(0xFF);
    }
    return stream.TakeBytes();
}

// The lengths of texts follow the byte order, and nothing else of the sample's dump does.
constexpr const char* cSample = R"(00000000  07                                               .
00000001  "Meter" version 2, 47 bytes
  0000001f  10 00 00 00 34 2f 34 20 69 73 20 74 68 65 20 6d  ....4/4 is the m
  0000002f  65 74 65 72                                      eter
  00000033  "X" version -1, 0 bytes
  0000004d  ff                                               .
)";

} // namespace

TEST(StreamDump, ShowsHeadersAsATreeAndTheRestInHexadecimal)
{
    EXPECT_EQ(Sys_StreamDump::ToText(WriteSample(false)), cSample);
    std::string swapped = cSample;
    swapped.replace(swapped.find("10 00 00 00"), 11, "00 00 00 10");
    EXPECT_EQ(Sys_StreamDump::ToText(WriteSample(true), true), swapped);
    EXPECT_EQ(Sys_StreamDump::ToText({}), "");
}

TEST(StreamDump, ShowsADamagedHeaderWithWhatFollowsIt)
{
    Bytes bytes = WriteSample(false);
    bytes.pop_back();
    EXPECT_NE(Sys_StreamDump::ToText(bytes).find(
                  "\"Meter\" version 2, 47 bytes, not a complete header; 46 bytes follow\n  0000001f  10 00"),
              std::string::npos);
    Sys_MemOutStream stream;
    Sys_TypedOutStream typed(stream);
    const Sys_StdStreamHeaderWriter open(typed, "a\nb", 1);
    EXPECT_EQ(Sys_StreamDump::ToText(stream.GetBytes()),
              "00000000  \"a.b\" version 1, size not written, not a complete header; 0 bytes follow\n");
}

TEST(StreamDump, IsBoundedWhateverTheBytes)
{
    const Bytes zeros(100000);
    const std::string run = Sys_StreamDump::ToText(zeros);
    EXPECT_EQ(std::ranges::count(run, '\n'), 17);
    EXPECT_TRUE(run.ends_with("00000100  ... 99744 more bytes\n"));

    // Headers whose size was never written, each inside the one before, and finished ones in a row.
    Sys_MemOutStream open;
    Sys_MemOutStream wide;
    Sys_TypedOutStream typedOpen(open);
    Sys_TypedOutStream typedWide(wide);
    {
        const Sys_StdStreamHeaderWriter writer(typedOpen, "n", 1);
    }
    Bytes header = open.TakeBytes();
    Bytes deep;
    header[12] = 0; // not complete
    for (int i = 0; i < 20000; ++i) {
        deep.insert(deep.end(), header.begin(), header.end());
        const Sys_StdStreamHeaderWriter writer(typedWide, "n", 1);
    }
    EXPECT_LT(std::ranges::count(Sys_StreamDump::ToText(deep), '\n'), 64);
    EXPECT_EQ(std::ranges::count(Sys_StreamDump::ToText(wide.GetBytes()), '\n'),
              Sys_StreamDump::cMaxLines + 1);
}
