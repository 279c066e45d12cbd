// Sums of headers on files, against headers that a slow model lays out byte by byte.
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_FileBasedInStream.h"
#include "Bastel/Sys/Sys_FileBasedOutStream.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Bastel/Sys/Sys_StreamDump.h"
#include "Support/AssertRecorder.h"
#include "Support/MemoryFileSystem.h"
#include "Support/SlowCrc32C.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

using Bytes = std::vector<Cmn_UInt8>;
using Writer = Sys_StdStreamHeaderWriter;
using Reader = Sys_StdStreamHeaderReader;

constexpr const char* cPath = "/song";

void Append(Bytes& ioBytes, Cmn_UInt32 iValue, int iCount, bool iSwap)
{
    for (int i = 0; i < iCount; ++i)
        ioBytes.push_back(static_cast<Cmn_UInt8>(iValue >> 8 * (iSwap ? iCount - 1 - i : i)));
}

// A complete header and its body.
Bytes Framed(const std::string& iName, Cmn_Int16 iVersion, Cmn_UInt32 iListIndex, bool iIsList,
             const Bytes& iBody, bool iSwap)
{
    const std::string front = "KSH1" + std::string(1, static_cast<char>(iName.size())) + iName;
    Bytes bytes(front.begin(), front.end());
    Append(bytes, static_cast<Cmn_UInt16>(iVersion), 2, iSwap);
    Append(bytes, iListIndex, 4, iSwap);
    Append(bytes, iIsList ? 7 : 5, 2, iSwap);
    Append(bytes, static_cast<Cmn_UInt32>(iBody.size()), 4, iSwap);
    Append(bytes, SlowCrc32C(0, iBody.data(), iBody.size()), 4, iSwap);
    Append(bytes, SlowCrc32C(0, bytes.data(), bytes.size()), 4, iSwap);
    bytes.insert(bytes.end(), iBody.begin(), iBody.end());
    return bytes;
}

// Writes trees of headers by chance, through a file's stream and into the bytes that the file should hold.
class Script
{
public:
    Script(Sys_FileBasedOutStream& iStream, unsigned iSeed)
        : mStream(iStream)
        , mRandom(iSeed)
        , mSwap(Below(2) == 1)
        , mTyped(iStream, mSwap)
        , mLargeLeft(Below(20) == 0 ? 2 : 0)
    {
    }

    Bytes Run()
    {
        Body all(*this, mStream.GetPosition());
        try {
            Fill(all);
        } catch (Stop) {
            // The outermost header was abandoned.
        }
        return all.bytes;
    }

private:
    struct Stop
    {
    };
    struct Stretch
    {
        std::size_t at, count;
    };
    struct Body
    {
        Body(Script& iScript, Cmn_Int64 iStart)
            : script(iScript)
            , start(iStart)
        {
            script.mOpen.push_back(this);
        }
        ~Body() { script.mOpen.pop_back(); }
        Script& script;
        Cmn_Int64 start;
        Bytes bytes;
        std::vector<Stretch> runs; // of its own, between the headers inside
        Cmn_UInt32 listIndex = 0;
        bool isList = false;
    };

    std::size_t Below(std::size_t iEnd) { return mRandom() % iEnd; }
    Bytes Random(std::size_t iCount)
    {
        Bytes bytes(iCount);
        for (Cmn_UInt8& byte : bytes)
            byte = static_cast<Cmn_UInt8>(mRandom());
        return bytes;
    }

    void Fill(Body& ioBody)
    {
        for (std::size_t i = Below(8); i > 0; --i)
            switch (Below(8)) {
            case 0:
                mStream.Flush();
                break;
            case 1:
                SetList(ioBody);
                break;
            case 2:
            case 3:
                Patch();
                break;
            case 4:
            case 5:
                WriteRun(ioBody);
                break;
            default:
                WriteChild(ioBody);
                break;
            }
    }

    void SetList(Body& ioBody)
    {
        if (mOpen.size() == 1) return; // no header is open
        ioBody.isList = true;
        ioBody.listIndex = static_cast<Cmn_UInt32>(Below(3));
        mStream.GetOpenHeaders().SetIsList();
        mStream.GetOpenHeaders().SetListIndex(ioBody.listIndex);
    }

    void WriteRun(Body& ioBody)
    {
        const bool isLarge = mLargeLeft > 0 && Below(3) == 0;
        mLargeLeft -= isLarge ? 1 : 0;
        const Bytes bytes =
            Random(isLarge ? Sys_FileBasedOutStream::cBufferSize - 20 + Below(40) : Below(40));
        mTyped.WriteBytes(bytes.data(), bytes.size());
        auto& runs = ioBody.runs;
        if (runs.empty() || runs.back().at + runs.back().count != ioBody.bytes.size())
            runs.push_back({ioBody.bytes.size(), 0});
        runs.back().count += bytes.size();
        ioBody.bytes.insert(ioBody.bytes.end(), bytes.begin(), bytes.end());
    }

    // Replaces bytes of any open body.
    void Patch()
    {
        const Cmn_UInt8 behind = 0;
        EXPECT_FALSE(mOpen.size() > 1 && mStream.Patch(mStream.GetPosition(), &behind, 1)) << "no body yet";
        Body& body = *mOpen[Below(mOpen.size())];
        if (body.runs.empty() || body.runs.back().count == 0) return;
        const Stretch run = body.runs[Below(body.runs.size())];
        const std::size_t from = Below(run.count), at = run.at + from;
        const Bytes bytes = Random(1 + Below(std::min<std::size_t>(run.count - from, 50)));
        EXPECT_TRUE(mStream.Patch(body.start + static_cast<Cmn_Int64>(at), bytes.data(), bytes.size()));
        std::copy(bytes.begin(), bytes.end(), body.bytes.begin() + static_cast<std::ptrdiff_t>(at));
    }

    void WriteChild(Body& ioParent)
    {
        if (mOpen.size() > 5) return;
        const std::string name(Below(4) == 0 ? 255 : Below(5), 'n');
        const auto version = static_cast<Cmn_Int16>(mRandom());
        const Cmn_Int64 start = mStream.GetPosition();
        try {
            const Writer writer(mTyped, name, version);
            Body body(*this, mStream.GetPosition());
            Fill(body);
            if (Below(6) == 0) throw Stop();
            const Bytes framed = Framed(name, version, ioParent.listIndex, body.isList, body.bytes, mSwap);
            ioParent.bytes.insert(ioParent.bytes.end(), framed.begin(), framed.end());
        } catch (Stop) {
            EXPECT_EQ(mStream.GetPosition(), start);
            if (Below(3) == 0) throw;
        }
    }

    Sys_FileBasedOutStream& mStream;
    std::mt19937 mRandom;
    bool mSwap;
    Sys_TypedOutStream mTyped;
    int mLargeLeft;
    std::vector<Body*> mOpen;
};

// A file in memory with the sample, between three bytes and two that belong to no stream:
// "Out" with 1, a list of two items that hold 2 and 3, then 4; "Next" with 5.
class Sample
{
public:
    Sample()
    {
        const Sys_FileSystem::StSystem system(mSystem);
        Sys_File file{Sys_FileLoc(cPath)};
        file.Open(Sys_FileSystem::eAccess_New);
        file.Write("...", 3);
        Sys_FileBasedOutStream stream(file);
        Sys_TypedOutStream typed(stream);
        {
            const Writer out(typed, "Out", 1);
            typed.WriteUInt8(1);
            {
                const Writer list(typed, "List", 1);
                stream.GetOpenHeaders().SetIsList();
                for (Cmn_UInt8 item = 1; item <= 2; ++item) {
                    stream.GetOpenHeaders().SetListIndex(item);
                    const Writer writer(typed, "Item", 1);
                    typed.WriteUInt8(static_cast<Cmn_UInt8>(item + 1));
                }
            }
            typed.WriteUInt8(4);
        }
        mNext = stream.GetPosition();
        {
            const Writer next(typed, "Next", 1);
            typed.WriteUInt8(5);
        }
        typed.WriteBytes("..", 2);
        stream.Flush();
    }

    Cmn_Int64 GetNext() const { return mNext; }
    MemoryFileSystem& GetSystem() { return mSystem; }
    Bytes GetBytes() const { return mSystem.GetBytes(cPath); }
    void SetBytes(const Bytes& iBytes) { mSystem.SetBytes(cPath, iBytes); }

private:
    MemoryFileSystem mSystem;
    Cmn_Int64 mNext = 0;
};

class CountingStream : public Sys_FileBasedInStream
{
public:
    using Sys_FileBasedInStream::Sys_FileBasedInStream;
    Cmn_UInt32 SumOf(Cmn_Int64 iFrom, Cmn_Int64 iCount) override
    {
        ++mPasses;
        return Sys_FileBasedInStream::SumOf(iFrom, iCount);
    }
    int mPasses = 0;
};

struct OpenSample
{
    explicit OpenSample(Sample& iSample)
        : system(iSample.GetSystem())
        , file(Sys_FileLoc(cPath))
        , stream((file.Open(Sys_FileSystem::eAccess_Read), file.SetPosition(3), file))
        , typed(stream)
    {
    }
    Sys_FileSystem::StSystem system;
    Sys_File file;
    CountingStream stream;
    Sys_TypedInStream typed;
};

// The values of "Out" in a row; throws what the readers throw.
std::string ReadOut(Sys_TypedInStream& ioTyped)
{
    Reader out(ioTyped, "Out");
    std::string values = std::to_string(ioTyped.ReadUInt8());
    Reader list(ioTyped, "List");
    EXPECT_TRUE(list.GetInfo().isList);
    while (list.IsMoreLeft()) {
        Reader item(ioTyped, "Item");
        values +=
            " item " + std::to_string(item.GetInfo().listIndex) + ": " + std::to_string(ioTyped.ReadUInt8());
    }
    return values + ' ' + std::to_string(ioTyped.ReadUInt8());
}

constexpr Cmn_Int64 cList = 32; // where "List" stands
constexpr const char* cValues = "1 item 1: 2 item 2: 3 4";

} // namespace

TEST(StreamSums, TreesOfHeadersHaveTheSumsOfTheirFinalBytes)
{
    const AssertRecorder recorder;
    for (unsigned seed = 0; seed < 400; ++seed) {
        MemoryFileSystem files;
        const Sys_FileSystem::StSystem system(files);
        Sys_File file{Sys_FileLoc(cPath)};
        if (seed % 2 == 0) files.SetBytes(cPath, Bytes(1000)); // to write over
        file.Open(seed % 2 == 0 ? Sys_FileSystem::eAccess_Write : Sys_FileSystem::eAccess_New);
        file.SetPosition(static_cast<Cmn_Int64>(file.Write("head", seed % 5)));
        Sys_FileBasedOutStream stream(file);
        const Bytes expected = Script(stream, seed).Run();
        stream.Truncate(); // an abandoned header may have gone to the file already
        Bytes bytes = files.GetBytes(cPath);
        bytes.erase(bytes.begin(), bytes.begin() + seed % 5);
        ASSERT_TRUE(recorder.Take().empty()) << "seed " << seed;
        ASSERT_TRUE(bytes == expected) << "seed " << seed << '\n' << Sys_StreamDump::ToText(bytes);
    }
}

TEST(StreamSums, EveryTurnedBitIsNoticedBeforeAValueIsRead)
{
    Sample sample;
    const Bytes whole = sample.GetBytes();
    for (std::size_t at = 0; at < whole.size(); ++at)
        for (int bit = 0; bit < 8; ++bit) {
            Bytes bytes = whole;
            bytes[at] = static_cast<Cmn_UInt8>(bytes[at] ^ 1 << bit);
            sample.SetBytes(bytes);
            OpenSample open(sample);
            const auto in = [at](Cmn_Int64 iBegin, std::size_t iEnd) {
                return at >= static_cast<std::size_t>(iBegin) && at < iEnd;
            };
            const bool isInOut = in(3, static_cast<std::size_t>(sample.GetNext()));
            const bool isInNext = in(sample.GetNext(), whole.size() - 2);
            if (isInOut)
                EXPECT_THROW(Reader(open.typed, "Out"), Sys_StreamReadException) << at << " bit " << bit;
            else
                EXPECT_EQ(ReadOut(open.typed), cValues) << at << " bit " << bit;
            open.typed.SetPosition(sample.GetNext());
            if (isInNext)
                EXPECT_THROW(Reader(open.typed, "Next"), Sys_StreamReadException) << at << " bit " << bit;
            else
                EXPECT_NO_THROW(Reader(open.typed, "Next")) << at << " bit " << bit;
        }
}

TEST(StreamSums, WhatLiesInAVerifiedBodyIsNotReadTwice)
{
    Sample sample;
    OpenSample open(sample);
    Sys_File other{Sys_FileLoc(cPath)};
    other.Open(Sys_FileSystem::eAccess_WriteShared);
    const auto damage = [&] { other.WriteAt(sample.GetNext() - 1, "?", 1); };
    const auto numReads = [&] { return sample.GetSystem().GetNumRequests(MemoryFileSystem::eRead); };

    EXPECT_EQ(ReadOut(open.typed), cValues);
    EXPECT_EQ(open.stream.mPasses, 1);
    damage();
    const std::size_t before = numReads();
    open.typed.SetPosition(3);
    EXPECT_EQ(ReadOut(open.typed), cValues) << "from memory, as it was verified";
    EXPECT_EQ(numReads(), before);

    // A jump elsewhere verifies that stream, and the list is outside of it.
    open.typed.SetPosition(sample.GetNext());
    EXPECT_EQ((Reader(open.typed, "Next"), open.typed.ReadUInt8()), 5);
    open.typed.SetPosition(cList);
    Reader(open.typed, "List").SkipTheRest();
    EXPECT_EQ(open.stream.mPasses, 3);

    open.stream.Forget();
    open.typed.SetPosition(cList);
    Reader(open.typed, "List").SkipTheRest();
    EXPECT_EQ(open.stream.mPasses, 4);
    EXPECT_GT(numReads(), before);
    open.typed.SetPosition(3);
    EXPECT_THROW(Reader(open.typed, "Out"), Sys_StreamReadException);
}

TEST(StreamSums, OnAFileAHeaderWithoutSumsIsDamage)
{
    Sys_MemOutStream memory;
    Sys_TypedOutStream typed(memory);
    typed.WriteBytes("...", 3);
    Writer(typed, "Out", 1).PatchSize();
    Sample sample;
    const Bytes withSums = sample.GetBytes();
    sample.SetBytes(memory.GetBytes());
    OpenSample open(sample);
    EXPECT_THROW(Reader(open.typed, "Out"), Sys_StreamReadException);

    // In memory both are taken, and sums that are there are checked.
    for (const Bytes& bytes : {memory.GetBytes(), withSums}) {
        Sys_MemInStream stream(bytes);
        stream.SetPosition(3);
        Sys_TypedInStream in(stream);
        EXPECT_EQ(Reader(in, "Out").GetInfo().hasSums, bytes == withSums);
    }
    Bytes damaged = withSums;
    damaged[static_cast<std::size_t>(sample.GetNext()) - 1] = 0;
    Sys_MemInStream stream(damaged);
    stream.SetPosition(3);
    Sys_TypedInStream in(stream);
    EXPECT_THROW(Reader(in, "Out"), Sys_StreamReadException);
}

TEST(StreamSums, DumpsSayWhetherTheyFit)
{
    Sample sample;
    Bytes bytes = sample.GetBytes();
    const auto dump = [&] { return Sys_StreamDump::ToText(bytes); };
    EXPECT_NE(dump().find("\"List\" version 1, 60 bytes, list, sums fit\n"), std::string::npos) << dump();
    EXPECT_NE(dump().find("\"Item\" version 1, 1 bytes, item 2, sums fit\n"), std::string::npos);
    ++bytes[static_cast<std::size_t>(sample.GetNext()) - 1];
    EXPECT_NE(dump().find("\"Out\" version 1, 91 bytes, its body's sum does not fit\n"), std::string::npos)
        << dump();
    ++bytes[11];
    EXPECT_NE(dump().find("\"Out\" version 2, 91 bytes, its own sum does not fit, not a"), std::string::npos)
        << dump();
}
