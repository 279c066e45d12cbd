#include "Bastel/Sys/Sys_BlockCache_p.h"
#include "Bastel/Sys/Sys_Crc32C.h"
#include "Bastel/Sys/Sys_FileBasedInStream.h"
#include "Bastel/Sys/Sys_FileBasedOutStream.h"
#include "Bastel/Sys/Sys_OSErrorText.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Support/AssertRecorder.h"
#include "Support/MemoryFileSystem.h"
#include "Support/StreamBytes.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <deque>
#include <optional>
#include <random>

namespace {

using Writer = Sys_StdStreamHeaderWriter;
using Reader = Sys_StdStreamHeaderReader;

constexpr const char* cPath = "take.kora";
constexpr std::size_t cBuffer = Sys_FileBasedOutStream::cBufferSize;
constexpr Cmn_Int64 cBegin = 3; // leading bytes that are no part of the streams

// Its own inverse, and neighbours have different masks: what is masked twice, or elsewhere, is noticed.
template <class Stream>
class Masked : public Stream
{
public:
    using Stream::Stream;
    void MassageBuffer(void* ioBytes, std::size_t iCount, Cmn_Int64 iPosition) override
    {
        auto* byte = static_cast<Cmn_UInt8*>(ioBytes);
        for (Cmn_Int64 p = iPosition; p < iPosition + static_cast<Cmn_Int64>(iCount); ++p)
            *byte++ ^= static_cast<Cmn_UInt8>(1 + 37 * p + 11 * (p >> 8) + 7 * (p >> 16));
    }
};
using In = Masked<Sys_FileBasedInStream>;
using Out = Masked<Sys_FileBasedOutStream>;

class FileStreams : public testing::Test
{
protected:
    FileStreams()
    {
        mFile.Open(Sys_FileSystem::eAccess_New);
        mFile.Write("abc", cBegin);
        mReader.Open(Sys_FileSystem::eAccess_Read);
        mReader.SetPosition(cBegin);
    }

    std::size_t Random(std::size_t iBelow) { return static_cast<std::size_t>(mRandom() % iBelow); }
    Bytes RandomBytes(std::size_t iCount)
    {
        Bytes bytes(iCount);
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<Cmn_UInt8>(mRandom()); });
        return bytes;
    }
    // Unmasked behind the leading bytes.
    Bytes FileBytes()
    {
        Bytes bytes = mSystem.GetBytes(cPath);
        In(mReader).MassageBuffer(bytes.data() + cBegin, bytes.size() - cBegin, cBegin);
        return bytes;
    }
    // Now and then the next request, or the one after it, fails, or the next write
    // half-way; then it is tried again.
    template <class Try>
    void TwoTries(Try iTry)
    {
        const std::size_t kind = Random(8);
        if (kind < 2) mSystem.FailAt(1 + static_cast<int>(kind));
        if (kind == 2) mSystem.ShortWriteAt(1);
        const bool isDone = iTry();
        mSystem.Heal();
        ASSERT_TRUE(isDone || iTry());
    }

    MemoryFileSystem mSystem;
    Sys_FileSystem::StSystem mInForce{mSystem};
    Sys_File mFile{Sys_FileLoc(cPath)};
    Sys_File mReader{Sys_FileLoc(cPath)};
    std::mt19937_64 mRandom{7};
};

// Writes and headers of all kinds against a vector, many with a failure on the way that is
// followed by another try.
class OutScript : public FileStreams
{
protected:
    using Run = std::pair<std::size_t, std::size_t>;
    struct Level // the file, or an open header
    {
        std::vector<Run> mOwn; // what was written between the headers inside, and may be patched
        Cmn_UInt32 mOpenItem = 0;
        bool mIsList = false;
        bool mSwap = false;
        std::size_t mStart = 0;
        std::string mName;
        Cmn_Int16 mVersion = 0;
        Cmn_UInt32 mListIndex = 0;
        std::optional<Writer> mWriter;
    };

    std::size_t At() const { return static_cast<std::size_t>(mOut.GetPosition()); }
    void Put(std::size_t iAt, const Bytes& iBytes)
    {
        mPlain.resize(std::max(mPlain.size(), iAt + iBytes.size()));
        std::copy(iBytes.begin(), iBytes.end(), mPlain.begin() + static_cast<std::ptrdiff_t>(iAt));
    }
    void Write(const Bytes& iBytes)
    {
        const std::size_t at = At();
        const auto end = static_cast<Cmn_Int64>(at + iBytes.size());
        const bool isLimited = !iBytes.empty() && Random(8) == 0;
        if (isLimited) {
            mOut.SetLimit(end - 1);
            EXPECT_EQ(mOut.Write(iBytes.data(), iBytes.size()), 0u);
            mOut.SetLimit(end);
        }
        TwoTries([&] {
            const std::size_t taken = mOut.Write(iBytes.data(), iBytes.size());
            EXPECT_EQ(At(), at + taken); // all or nothing
            return taken == iBytes.size();
        });
        EXPECT_TRUE(!isLimited || mOut.Write("x", 1) == 0);
        mOut.SetLimit(Out::cNoLimit);
        Put(at, iBytes);
        if (!iBytes.empty()) mLevels.back().mOwn.emplace_back(at, at + iBytes.size());
    }
    void Patch()
    {
        const std::vector<Run>& runs = mLevels[Random(mLevels.size())].mOwn;
        if (runs.empty()) return;
        // Outside all headers anything may be replaced, whether it is in the file, in the buffer, or in both.
        const bool isFree = mLevels.size() == 1 && Random(2) == 0;
        const Run all(static_cast<std::size_t>(cBegin), mPlain.size());
        const auto [from, to] = isFree ? all : runs[Random(runs.size())];
        const std::size_t at = from + Random(to - from);
        const Bytes bytes = RandomBytes(1 + Random(to - at));
        EXPECT_FALSE(mOut.Patch(mOut.GetEnd() - 1, "xy", 2)); // would make it longer
        TwoTries([&] { return mOut.Patch(static_cast<Cmn_Int64>(at), bytes.data(), bytes.size()); });
        Put(at, bytes);
    }
    void OpenHeader()
    {
        const Cmn_UInt32 listIndex = mLevels.back().mOpenItem;
        std::erase_if(mLevels.front().mOwn, [&](const Run& r) { return r.second > At(); });
        Level& level = mLevels.emplace_back();
        level.mStart = At();
        level.mSwap = Random(2) == 0;
        level.mName.assign(Random(4) == 0 ? 255 : Random(5), 'Z');
        level.mVersion = static_cast<Cmn_Int16>(mRandom());
        level.mListIndex = listIndex;
        level.mWriter.emplace(mTyped[level.mSwap ? 1 : 0], level.mName, level.mVersion);
        EXPECT_FALSE(mOut.Patch(mOut.GetPosition(), "x", 1)) << "no body yet";
    }
    // The innermost as it stands when it is complete, with the sum of its final bytes.
    Bytes Header() const
    {
        const Level& level = mLevels.back();
        Bytes bytes = {'K', 'S', 'H', '3', static_cast<Cmn_UInt8>(level.mName.size())};
        bytes.insert(bytes.end(), level.mName.begin(), level.mName.end());
        const auto append = [&](std::size_t iValue, int iCount) {
            for (int i = 0; i < iCount; ++i)
                bytes.push_back(static_cast<Cmn_UInt8>(iValue >> 8 * (level.mSwap ? iCount - 1 - i : i)));
        };
        const std::size_t body = level.mStart + bytes.size() + 20;
        append(static_cast<Cmn_UInt16>(level.mVersion), 2);
        append(level.mListIndex, 4);
        append(level.mIsList ? 7 : 5, 2);
        append(At() - body, 4);
        append(Sys_Crc32C(0, mPlain.data() + body, At() - body) + level.mStart, 4);
        append(std::rotr(Sys_Crc32C(0, bytes.data(), bytes.size()), 15) + 0x4B534833 + level.mStart, 4);
        return bytes;
    }
    void CloseHeader()
    {
        Level& level = mLevels.back();
        if (Random(6) == 0) { // leaves no trace
            level.mWriter->Abandon();
            EXPECT_EQ(At(), level.mStart);
            EXPECT_EQ(mOut.GetEnd(), mOut.GetPosition());
            mPlain.resize(At());
        } else
            Put(level.mStart, Header());
        mLevels.pop_back();
    }
    void SetList()
    {
        mLevels.back().mIsList = true;
        mOut.GetOpenHeaders().SetIsList();
        mOut.GetOpenHeaders().SetListIndex(mLevels.back().mOpenItem = static_cast<Cmn_UInt32>(Random(3)));
    }
    bool Flush()
    {
        const Cmn_Exception thrown = Thrown([&] { mOut.Flush(); });
        const bool isDone = thrown.GetMessageID() == 0;
        EXPECT_TRUE(isDone || (thrown.GetOSError() != 0 && thrown.GetFile() == cPath));
        return isDone;
    }
    void Step()
    {
        const std::size_t kind = Random(100);
        const bool isInHeader = mLevels.size() > 1;
        if (kind < 47) return Write(RandomBytes(1 + Random(8)));
        if (kind < 57) return Write(RandomBytes(Random(3000)));
        if (kind < 58) return Write(RandomBytes(cBuffer - 100 + Random(200)));
        if (kind < 72) return Patch();
        if (kind < 80 && mLevels.size() < 6) return OpenHeader();
        if (kind < 88 && isInHeader) return CloseHeader();
        if (kind < 92 && isInHeader) return SetList();
        if (kind < 96 || isInHeader) return TwoTries([&] { return Flush(); });
        const bool isBack = Random(3) == 0;
        mOut.SetPosition(isBack ? cBegin + static_cast<Cmn_Int64>(Random(At())) / 2 : mOut.GetEnd());
    }

    Out mOut{mFile};
    Sys_TypedOutStream mTyped[2] = {Sys_TypedOutStream(mOut), Sys_TypedOutStream(mOut, true)};
    Bytes mPlain = {'a', 'b', 'c'};
    std::deque<Level> mLevels = std::deque<Level>(1);
};

} // namespace

TEST_F(OutScript, FilesAndHeadersFollowAPlainVector)
{
    const AssertRecorder recorder;
    for (int round = 0; round < 20; ++round) {
        for (int i = 0; i < 400 && !HasFatalFailure(); ++i)
            Step();
        while (mLevels.size() > 1)
            CloseHeader();
        mOut.SetPosition(mOut.GetEnd());
        mOut.Truncate(); // an abandoned header may have gone to the file already
        ASSERT_TRUE(FileBytes() == mPlain) << round;
    }
    EXPECT_TRUE(recorder.Take().empty());
}

TEST_F(FileStreams, ReadingFollowsAPlainVectorAndOutlivesFailures)
{
    Out out(mFile);
    const Bytes plain = RandomBytes(60000);
    out.Write(plain.data() + cBegin, plain.size() - cBegin);
    out.Flush();
    In in(mReader);
    Bytes bytes(20000);
    for (int i = 0; i < 20000; ++i) {
        const std::size_t kind = Random(20);
        if (kind == 0 || kind == 6)
            in.SetPosition(cBegin + static_cast<Cmn_Int64>(Random(plain.size() - cBegin + 1)));
        if (kind == 1) in.SetReadAhead(Random(16384));
        if (kind == 2 && Random(200) == 0) in.Forget(); // seldom, so that the cache comes into play
        const Cmn_Int64 at = in.GetPosition();
        const std::size_t wanted = Random(Random(4) == 0 ? 20000 : 12);
        const std::size_t count = std::min(wanted, plain.size() - static_cast<std::size_t>(at));
        const Cmn_UInt32 sum = Sys_Crc32C(0, plain.data() + at, count);
        if (kind < 6)
            TwoTries([&] {
                bool isRight = false;
                const auto check = [&] { isRight = in.SumOf(at, static_cast<Cmn_Int64>(count)) == sum; };
                const Cmn_Exception thrown = Thrown(check);
                EXPECT_TRUE(isRight || (thrown.GetOSError() != 0 && thrown.GetOffset() >= at));
                return isRight;
            });
        if (kind > 15) { // what is seen is right, and nothing moves
            const auto seen = in.Look(wanted);
            EXPECT_TRUE(seen.empty() || (seen.size() == wanted && in.GetPosition() == at));
            EXPECT_TRUE(std::equal(seen.begin(), seen.end(), plain.begin() + at));
        }
        std::size_t done = 0; // after a failure it goes on where it was
        TwoTries([&] {
            done += in.Read(bytes.data() + done, wanted - done);
            return done == count;
        });
        ASSERT_TRUE(std::equal(plain.begin() + at, plain.begin() + at + static_cast<Cmn_Int64>(count),
                               bytes.begin()));
    }
}

TEST_F(FileStreams, RequestsAreFew)
{
    Out out(mFile);
    Sys_TypedOutStream typed(out);
    constexpr Cmn_Int32 cStreams = 10000;
    mSystem.ClearLog();
    for (Cmn_Int32 i = 0; i < cStreams; ++i) {
        const Writer header(typed, "Z", 1);
        for (int k = 0; k < 25; ++k)
            typed.WriteInt32(i);
    }
    out.Flush();
    const auto size = static_cast<std::size_t>(out.GetPosition() - cBegin);
    // Besides full buffers a header whose body ended in the next one.
    EXPECT_LE(mSystem.GetNumRequests(MemoryFileSystem::eWrite), 2 * (size / cBuffer + 1));

    In in(mReader);
    Sys_TypedInStream typedIn(in);
    const auto numReads = [&](Cmn_Int32 iFrom, Cmn_Int32 iCount) {
        mSystem.ClearLog();
        in.SetPosition(cBegin + Cmn_Int64{iFrom} * static_cast<Cmn_Int64>(size / cStreams));
        for (Cmn_Int32 i = iFrom; i < iFrom + iCount; ++i) {
            Reader header(typedIn, "Z");
            EXPECT_EQ(typedIn.ReadInt32(), i);
            header.SkipTheRest();
        }
        return mSystem.GetNumRequests(MemoryFileSystem::eRead);
    };
    for (const Cmn_Int32 i : {5000, 17, 9999}) {
        EXPECT_EQ(numReads(i, 1), 1u) << i;
        EXPECT_LE(mSystem.GetLog().front().mCount, Sys_FileBasedInStream::cFirstRead);
    }
    EXPECT_LE(numReads(0, cStreams), size / (Sys_FileBasedInStream::cDefaultReadAhead - 600) + 5);
    in.SetPosition(cBegin);
    mSystem.ClearLog();
    EXPECT_EQ(in.Read(Bytes(size).data(), size), size);
    EXPECT_EQ(mSystem.GetLog().size(), 1u); // straight to its place

    // Who looks up one stream after another reads each block once.
    const auto numReadsOfAPass = [&] {
        std::size_t reads = 0;
        for (Cmn_Int32 i = 0; i < cStreams; i += 37)
            reads += numReads(i * 7919 % cStreams, 1);
        return reads;
    };
    numReadsOfAPass(); // its first jumps are not taken for a habit
    numReadsOfAPass();
    EXPECT_EQ(numReadsOfAPass(), 0u);
    in.Forget();
    EXPECT_GT(numReadsOfAPass(), 0u) << "the bytes may have changed";
}

TEST(BlockCache, HoldsTheBlocksThatCameLast)
{
    for (const std::size_t most : {5, 150}) { // of 150 some lie in a block of many
        Sys_BlockCache cache(most);
        std::deque<std::size_t> kept; // the oldest first
        std::mt19937 random(7);
        for (int step = 0; step < 3000; ++step) {
            const std::size_t block = random() % (2 * most);
            const bool isKept = std::find(kept.begin(), kept.end(), block) != kept.end();
            const Cmn_UInt8* const bytes = cache.Find(block);
            ASSERT_EQ(bytes != nullptr, isKept) << step;
            if (isKept) {
                ASSERT_TRUE(bytes[0] == (block & 0xFF) && bytes[Sys_BlockCache::cBlockSize - 1] == bytes[0]);
                continue;
            }
            std::fill_n(cache.Add(block), Sys_BlockCache::cBlockSize, static_cast<Cmn_UInt8>(block));
            kept.push_back(block);
            if (kept.size() > most) kept.pop_front();
        }
    }
}

TEST_F(FileStreams, ARememberedFailureIsThrownOnceAndStopsWritingUntilThen)
{
    Out out(mFile);
    EXPECT_EQ(out.Write("1234", 4), 4u);
    mSystem.FailAt(1, 28);
    mFile.GetLength(); // what failed, and is followed by what does not
    out.RememberFailure();
    mFile.GetLength();
    out.SetLimit(100);
    EXPECT_EQ(out.Write("5", 1), 0u);
    EXPECT_EQ(Thrown([&] { out.Flush(); }).Describe(),
              "take.kora: an error occurred while writing the document: " + Sys_OSErrorText(28) +
                  " (byte 7)");
    EXPECT_EQ(out.Write("5", 1), 1u);
    In in(mReader);
    in.SetPosition(7);
    mSystem.FailAt(1, 28);
    EXPECT_THROW(out.Truncate(), Sys_StreamWriteException);
    out.SetPosition(4);
    out.Truncate();
    EXPECT_EQ(FileBytes(), Bytes({'a', 'b', 'c', '1'}));
    EXPECT_EQ(out.GetEnd(), 4);
    in.Forget(); // the file is shorter than where it stood
    EXPECT_EQ(in.GetPosition(), 4);
}

TEST_F(FileStreams, PositionsOutsideAreRefused)
{
    Out out(mFile);
    Sys_TypedOutStream typed(out);
    typed.WriteString(std::string(60, 'x'));
    out.Flush();
    const Cmn_Int64 end = out.GetPosition();
    In in(mReader);
    Sys_TypedInStream typedIn(in);
    const AssertRecorder recorder;
    for (const Cmn_Int64 position : {cBegin - 1, end + 1, Cmn_Int64{-1}}) {
        out.SetPosition(position);
        in.SetPosition(position);
        EXPECT_THROW(in.SumOf(position, 1), Sys_StreamReadException);
        EXPECT_FALSE(out.Patch(position, "x", 1));
        EXPECT_EQ(recorder.Take().size(), 2u) << position;
    }
    EXPECT_THROW(in.SumOf(cBegin, end - cBegin + 1), Sys_StreamReadException);
    EXPECT_THROW(in.SumOf(cBegin, -1), Sys_StreamReadException);
    typedIn.SetPosition(end - 5);
    EXPECT_EQ(Thrown([&] { typedIn.ReadInt64(); }).GetOffset(), end - 5);
    out.SetPosition(cBegin + 1);
    const Writer header(typed, "Z", 1);
    const Cmn_Int64 body = out.GetPosition();
    EXPECT_TRUE(out.Patch(cBegin, "x", 1)); // outside the header, which is open
    EXPECT_FALSE(out.Patch(body, "x", 1));  // its body is empty, though the file goes on
    EXPECT_TRUE(recorder.Take().empty());
    out.SetPosition(cBegin);
    EXPECT_EQ(recorder.Take().size(), 1u);
    EXPECT_EQ(out.GetPosition(), body);
}
