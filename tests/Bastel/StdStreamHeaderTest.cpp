// Headers in memory, without sums, and on a file, with them.
#include "Bastel/Sys/Sys_StdStreamHeader.h"

#include "Bastel/Sys/Sys_FileBasedInStream.h"
#include "Bastel/Sys/Sys_FileBasedOutStream.h"
#include "Bastel/Sys/Sys_StreamDump.h"
#include "Support/AssertRecorder.h"
#include "Support/MemoryFileSystem.h"
#include "Support/StreamBytes.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>

namespace {

using Writer = Sys_StdStreamHeaderWriter;
using Reader = Sys_StdStreamHeaderReader;

constexpr Cmn_Int64 cBegin = 3; // leading bytes of the file that are no part of the stream

// "Out" version 3 holds 1, a list of two items that hold 2 and 3, then 4; "Next" with 5; and two bytes more.
constexpr const char* cValues = "1 item 1: 2 item 2: 3 4";
constexpr Cmn_Int64 cList = 29, cItem = 58, cItemSize = 30, cNext = 119; // where they stand

void WriteSample(Sys_OutStream& ioStream, bool iSwap = false)
{
    Sys_TypedOutStream typed(ioStream, iSwap);
    {
        Writer out(typed, "Out", 3);
        typed.WriteUInt8(1);
        {
            const Writer list(typed, "List", -1);
            ioStream.GetOpenHeaders().SetIsList();
            for (Cmn_UInt8 item = 1; item <= 2; ++item) {
                ioStream.GetOpenHeaders().SetListIndex(item);
                const Writer writer(typed, "Item", 1);
                typed.WriteUInt8(static_cast<Cmn_UInt8>(item + 1));
            }
        }
        typed.WriteUInt8(4);
        out.PatchSize();
        out.PatchSize(); // once is enough
    }
    {
        const Writer next(typed, "Next", 1);
        typed.WriteUInt8(5);
    }
    typed.WriteBytes("..", 2);
}

// The values of "Out" in a row. What the readers throw, it throws.
std::string ReadOut(Sys_TypedInStream& ioIn)
{
    const Reader out(ioIn, "Out");
    out.CheckVersion(3, 3);
    std::string values = std::to_string(ioIn.ReadUInt8());
    const Reader list(ioIn, "List");
    list.CheckVersion(-1, 2);
    EXPECT_TRUE(list.GetInfo().mIsList);
    while (list.IsMoreLeft()) {
        const Reader item(ioIn, "Item");
        values += " item " + std::to_string(item.GetInfo().mListIndex) + ": ";
        values += std::to_string(ioIn.ReadUInt8());
    }
    return values + ' ' + std::to_string(ioIn.ReadUInt8());
}

Bytes InMemory(bool iSwap = false)
{
    Sys_MemOutStream stream;
    WriteSample(stream, iSwap);
    return stream.TakeBytes();
}
std::string ReadOut(const Bytes& iBytes, bool iSwap = false, Cmn_Int64 iBegin = 0)
{
    Sys_MemInStream stream(iBytes);
    Sys_TypedInStream typed(stream, iSwap);
    typed.SetPosition(iBegin);
    return ReadOut(typed);
}

struct CountingStream : Sys_FileBasedInStream
{
    using Sys_FileBasedInStream::Sys_FileBasedInStream;
    Cmn_UInt32 SumOf(Cmn_Int64 iFrom, Cmn_Int64 iCount) override
    {
        ++mPasses;
        return Sys_FileBasedInStream::SumOf(iFrom, iCount);
    }
    int mPasses = 0;
};

struct SampleFile
{
    SampleFile()
    {
        mFile.Open(Sys_FileSystem::eAccess_New);
        mFile.Write("abc", cBegin);
        Sys_FileBasedOutStream stream(mFile);
        WriteSample(stream);
        stream.Flush();
        mReader.Open(Sys_FileSystem::eAccess_Read);
        mReader.SetPosition(cBegin);
    }
    MemoryFileSystem mSystem;
    Sys_FileSystem::StSystem mInForce{mSystem};
    Sys_File mFile{Sys_FileLoc("f")};
    Sys_File mReader{Sys_FileLoc("f")};
};

class StreamSums : public testing::Test, protected SampleFile
{
protected:
    void Turn(Cmn_Int64 iAt, int iBits)
    {
        Cmn_UInt8& byte = mBytes[static_cast<std::size_t>(iAt)];
        byte = static_cast<Cmn_UInt8>(byte ^ iBits);
        mFile.WriteAt(iAt, &byte, 1);
    }
    bool IsRefused(const char* iName, Cmn_Int64 iAt)
    {
        mTyped.SetPosition(iAt);
        return Thrown([&] { Reader(mTyped, iName).SkipTheRest(); }).GetMessageID() == Cmn_eMessage_ReadError;
    }
    std::string ReadFile()
    {
        mTyped.SetPosition(cBegin);
        return ReadOut(mTyped);
    }

    static constexpr Cmn_Int64 cListAt = cBegin + cList;
    static constexpr Cmn_Int64 cNextAt = cBegin + cNext;
    Bytes mBytes = mSystem.GetBytes("f");
    CountingStream mIn{mReader};
    Sys_TypedInStream mTyped{mIn};
};

} // namespace

TEST(StdStreamHeader, NestsAndIsReadBackInBothByteOrders)
{
    for (const bool swap : {false, true})
        EXPECT_EQ(ReadOut(InMemory(swap), swap), cValues);
}

TEST(StdStreamHeader, AReaderLeavesTheRestOfTheBodyAlone)
{
    const Bytes bytes = InMemory();
    Sys_MemInStream stream(bytes);
    Sys_TypedInStream typed(stream);
    EXPECT_EQ(Reader::PeekName(typed), "Out");
    EXPECT_EQ(typed.GetPosition(), 0);
    Reader outer(typed, "Out");
    EXPECT_EQ(outer.GetVersion(), 3);
    EXPECT_THROW(outer.CheckVersion(4, 9), Cmn_DocumentTooOldException);
    EXPECT_THROW(outer.CheckVersion(-1, 2), Cmn_DocumentTooNewException);
    EXPECT_EQ(Reader::PeekName(typed), "") << "an integer is no header";
    typed.ReadUInt8();
    EXPECT_EQ(typed.GetPosition(), cList);
    EXPECT_EQ(Reader::PeekName(typed), "List");
    Reader(typed, "List").SkipTheRest();
    EXPECT_EQ(outer.GetBytesLeft(), 1);
    outer.SkipTheRest();
    EXPECT_FALSE(outer.IsMoreLeft());
    EXPECT_EQ(typed.GetPosition(), cNext);
    Reader(typed, "Next").SkipTheRest();
    EXPECT_EQ(Reader::PeekName(typed), "") << "nothing follows";
}

TEST(StdStreamHeader, DamageIsNoticedWhereverItMatters)
{
    Bytes whole = InMemory();
    whole.resize(cNext);
    const auto message = [](const Bytes& iBytes) { return Thrown([&] { ReadOut(iBytes); }).GetMessageID(); };
    for (auto end = whole.begin(); end != whole.end(); ++end)
        EXPECT_EQ(message(Bytes(whole.begin(), end)), Cmn_eMessage_ReadError) << end - whole.begin();
    constexpr std::size_t cVersion = 8;
    constexpr std::size_t cListIndex = 10;
    constexpr std::size_t cFlags = 14;
    constexpr std::size_t cSize = 16;
    constexpr std::size_t cBody = 28;
    for (std::size_t at = 0; at < cBody; ++at)
        for (int bit = 0; bit < 8; ++bit) {
            // 91 bytes that are said to be fewer: the body is read over its end, which only a sum would show.
            if (at == cSize && ((cNext - cBody) >> bit & 1) != 0) continue;
            Bytes bytes = whole;
            bytes[at] = static_cast<Cmn_UInt8>(bytes[at] ^ 1 << bit);
            const bool isVersion = at >= cVersion && at < cListIndex;
            const bool isFree = (at >= cListIndex && at < cFlags) || (at == cFlags && bit == 1);
            const Cmn_EMessage found = message(bytes);
            const bool isOther = found == Cmn_eMessage_DocumentTooOld || found == Cmn_eMessage_DocumentTooNew;
            EXPECT_EQ(isOther, isVersion) << at << " bit " << bit;
            EXPECT_EQ(found == Cmn_eMessage_ReadError, !isVersion && !isFree) << at << " bit " << bit;
        }
}

// What the library throws and the program catches is an exception like any other.
TEST(StdStreamHeader, OnlyABodyThatAnExceptionEndedIsTakenByNoReader)
{
    for (const bool isTheLibrarys : {false, true}) {
        Sys_MemOutStream stream;
        Sys_TypedOutStream typed(stream);
        try {
            const Writer outer(typed, "Outer", 1);
            {
                const Writer inner(typed, "Inner", 1);
                EXPECT_EQ(Thrown([] { Sys_ThrowIfOSErr(-9006); }).GetOSError(), -9006); // it survives
            }
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
}

TEST_F(StreamSums, WhatLiesInAVerifiedBodyIsNotReadTwice)
{
    const auto numReads = [&] { return mSystem.GetNumRequests(MemoryFileSystem::eRead); };
    EXPECT_EQ(ReadFile(), cValues);
    EXPECT_EQ(mIn.mPasses, 1);
    Turn(cNextAt - 1, 1);
    const std::size_t before = numReads();
    EXPECT_EQ(ReadFile(), cValues) << "from memory, as it was verified";
    EXPECT_EQ(numReads(), before);

    // A jump elsewhere verifies that stream, and the list is outside of it.
    EXPECT_FALSE(IsRefused("Next", cNextAt) || IsRefused("List", cListAt));
    EXPECT_EQ(mIn.mPasses, 3);

    mIn.Forget();
    EXPECT_TRUE(!IsRefused("List", cListAt) && IsRefused("Out", cBegin));
    EXPECT_EQ(mIn.mPasses, 5);
    EXPECT_GT(numReads(), before);
}

TEST_F(StreamSums, AnotherSoundHeaderOfTheSameLengthIsDamageToAllAround)
{
    const auto exchange = [&](const char* iWhat, Cmn_Int64 iFrom, Cmn_Int64 iTo, Cmn_Int64 iSize,
                              bool iBoth) {
        const Bytes to(mBytes.begin() + cBegin + iTo, mBytes.begin() + cBegin + iTo + iSize);
        mFile.WriteAt(cBegin + iTo, &mBytes[static_cast<std::size_t>(cBegin + iFrom)], to.size());
        if (iBoth) mFile.WriteAt(cBegin + iFrom, to.data(), to.size());
        mIn.Forget();
        EXPECT_TRUE(IsRefused("Out", cBegin) && IsRefused("List", cListAt)) << iWhat;
        mFile.WriteAt(0, mBytes.data(), mBytes.size());
        mIn.Forget();
        EXPECT_EQ(ReadFile(), cValues) << iWhat;
    };
    constexpr Cmn_Int64 cSecond = cItem + cItemSize;
    constexpr Cmn_Int64 cHeaderSize = cItemSize - 1;
    exchange("the first item's header over the second's", cItem, cSecond, cHeaderSize, false);
    exchange("the second item's header over the first's", cSecond, cItem, cHeaderSize, false);
    exchange("both headers", cItem, cSecond, cHeaderSize, true);
    exchange("both items", cItem, cSecond, cItemSize, true);
}

// What a crash leaves behind: no reader takes it, but it is a header, and of that place.
TEST_F(StreamSums, AHeaderThatIsInTheFileBeforeItsEndSaysThatItIsNotComplete)
{
    for (const bool swap : {false, true}) {
        mFile.SetPosition(mFile.GetLength());
        Sys_FileBasedOutStream stream(mFile);
        Sys_TypedOutStream typed(stream, swap);
        const Cmn_Int64 start = stream.GetPosition();
        const Writer open(typed, "Z", -2);
        stream.Flush();
        Bytes bytes = mSystem.GetBytes("f");
        bytes.erase(bytes.begin(), bytes.begin() + start);
        const std::string version = swap ? "ff fe" : "fe ff";
        const std::string flags = swap ? "00 04" : "04 00";
        ASSERT_EQ(bytes.size(), 26u);
        EXPECT_EQ(
            Bytes(bytes.begin(), bytes.end() - 4),
            FromHex("4b 53 48 33 01 5a " + version + " 00 00 00 00 " + flags + " ff ff ff ff 00 00 00 00"));
        mIn.Forget();
        Sys_TypedInStream in(mIn, swap);
        in.SetPosition(start);
        Sys_StdStreamHeaderInfo info;
        EXPECT_TRUE(Reader::Peek(in, info) && !info.mIsComplete && info.mName == "Z");
        EXPECT_THROW(Reader(in, "Z"), Sys_StreamReadException);
        Sys_TypedInStream complete(mIn);
        complete.SetPosition(cListAt); // with more bytes behind it than a header has
        EXPECT_TRUE(Reader::Peek(complete, info) && info.mIsComplete && info.mName == "List");
        EXPECT_THROW(Reader(complete, "Lust"), Sys_StreamReadException);
    }
}

TEST_F(StreamSums, OnAFileAHeaderWithoutSumsIsDamage)
{
    const Bytes without = InMemory();
    mFile.WriteAt(cBegin, without.data(), without.size());
    EXPECT_TRUE(IsRefused("Out", cBegin));
    // In memory both are taken, and sums that are there are checked, the place with them.
    EXPECT_EQ(ReadOut(mBytes, false, cBegin), cValues);
    EXPECT_THROW(ReadOut(Bytes(mBytes.begin() + 1, mBytes.end()), false, cBegin - 1),
                 Sys_StreamReadException);
    ++mBytes[cNextAt - 1];
    EXPECT_THROW(ReadOut(mBytes, false, cBegin), Sys_StreamReadException);
}

TEST_F(StreamSums, DumpsSayWhetherTheyFit)
{
    const auto says = [&](const char* iText) {
        const std::string dump = Sys_StreamDump::ToText(mBytes);
        EXPECT_NE(dump.find(iText), std::string::npos) << dump;
    };
    says("\"List\" version -1, 60 bytes, list, sums fit\n");
    says("\"Item\" version 1, 1 bytes, item 2, sums fit\n");
    Turn(cNextAt - 1, 1);
    says("\"Out\" version 3, 91 bytes, its body's sum does not fit\n");
    Turn(11, 1);
    says("\"Out\" version 2, 91 bytes, its own sum does not fit, not a");
}
