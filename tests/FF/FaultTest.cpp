// Documents under damage, failing requests, crashes and full disks.
#include "Bastel/Sys/Sys_FileBasedOutStream.h"
#include "Bastel/Sys/Sys_OSErrorText.h"
#include "FF/SmallDocument.h"
#include "FF/StDocument.h"
#include "Kora/FF/Document/FF_SafeSave.h"
#include "Support/AllocationCounter.h"

#include <fstream>

namespace {

using SmallDocument::Reading;
using Files = MemoryFileSystem::Files;

const std::string cRepaired = "/songs/repaired.kora";

class Faults : public StDocument
{
protected:
    static Reading Read(const std::string& iPath) { return SmallDocument::Read(iPath); }
    void WriteNew(int iType, std::string_view iWord = "old", std::size_t iBulk = 0)
    {
        FF_Document document = SmallDocument::Make(cPath, iType);
        document.Open(Sys_Store::eOpenFlag_New);
        SmallDocument::Write(document, iWord, iBulk);
        document.Flush();
    }
};

// What is read is right as far as it goes, and what is refused names the file.
TEST_F(Faults, NeitherAFlippedBitNorACutAnywhereChangesWhatIsRead)
{
    std::vector<std::pair<std::string, Bytes>> documents;
    for (const int type : {0, 2, 5}) {
        WriteNew(type);
        documents.emplace_back("type " + std::to_string(type), mFiles.GetBytes(cPath));
    }
    for (const std::string name : {"indexed", "indexed-swapped"}) { // whose tables stay in the file
        std::ifstream in(KORA_SOURCE_DIR "/tests/Fuzz/corpus/document/" + name + ".kora", std::ios::binary);
        documents.emplace_back(name, Bytes(std::istreambuf_iterator<char>(in), {}));
    }
    for (const auto& [name, original] : documents) {
        mFiles.SetBytes(cPath, original);
        const std::string text = Read(cPath).mText;
        const std::size_t bits = 8 * original.size();
        for (std::size_t n = 0; n < bits + original.size() && !HasFailure(); ++n) {
            SCOPED_TRACE(name + ", damage " + std::to_string(n));
            const bool isCut = n >= bits;
            Bytes damaged = original;
            if (isCut)
                damaged.resize(n - bits);
            else
                damaged[n / 8] ^= static_cast<std::uint8_t>(1 << n % 8);
            mFiles.SetBytes(cPath, damaged);
            mFiles.ClearLog();
            const AllocationCounter allocations;
            const Reading reading = Read(cPath);
            EXPECT_LE(allocations.Largest(), 65536u + 4 * original.size());
            EXPECT_TRUE(text.starts_with(reading.mText) && reading.mNamesFile) << reading.mComplaint;
            const bool isWhole = reading.mComplaint.empty();
            EXPECT_TRUE(!isWhole || (reading.mText == text && !isCut)) << reading.mText;
        }
    }
}

// --- Writing over what fails

// Ways to bring "new" to the disk, over or behind the "old" that was saved before.
struct Way
{
    const char* mName;
    bool mInPlace;
    std::size_t mBulk; // bytes that no buffer holds back until the flush
    void (*mWrite)(std::size_t iBulk);
};

void Append(std::size_t iBulk)
{
    FF_Document document = SmallDocument::Make(cPath);
    document.Open(Sys_Store::eOpenFlag_ReadWrite);
    SmallDocument::Write(document, "new", iBulk);
    document.Flush();
}

template <EFF_EncryptionType cType>
void SaveSafely(std::size_t iBulk)
{
    FF_SafeSave save(Sys_FileLoc(cPath), cType, eTextEncoding_Utf8, false);
    SmallDocument::Write(save.GetDocument(), "new", iBulk);
    save.Commit();
}

constexpr Way cWays[] = {
    {"append", true, 0, Append},
    {"append much", true, 300000, Append},
    {"safe save", false, 0, SaveSafely<eFF_EncryptionType_None>},
    {"safe save of much, masked", false, 300000, SaveSafely<eFF_EncryptionType_Byte29>},
};

class WriteFaults : public Faults
{
protected:
    // What stands before, and what stands after the way when nothing fails.
    void Prepare(const Way& iWay)
    {
        mFiles.SetFiles({});
        WriteNew(0);
        mBefore = mFiles.GetFiles();
        mOld = Read(cPath).mText;
        mOldPieces = SmallDocument::Pieces(cPath);
        const std::size_t before = mFiles.GetNumRequests();
        iWay.mWrite(iWay.mBulk);
        mNumRequests = mFiles.GetNumRequests() - before;
        mAfter = mFiles.GetFiles();
        mNew = Read(cPath).mText;
        ASSERT_NE(mOld, mNew);
    }
    // Goes the way; true when it says that all is saved. What it says otherwise must be one of the documented
    // things, of the file that was asked for, with the reason of the fault.
    bool Try(const Way& iWay, const std::string& iReason = {})
    {
        mThrown = Thrown([&] { iWay.mWrite(iWay.mBulk); });
        const int message = mThrown.GetMessageID();
        const std::set<int> cKnown = {0, Cmn_eMessage_OSError, Cmn_eMessage_WriteError,
                                      Cmn_eMessage_ReadError, Cmn_eMessage_InPlaceUnsynced};
        EXPECT_TRUE(cKnown.contains(message)) << message;
        const std::string line = mThrown.Describe();
        EXPECT_TRUE(message == 0 || line.starts_with(std::string(cPath) + ": ")) << line;
        EXPECT_TRUE(message == 0 || line.find(iReason) != std::string::npos) << line;
        EXPECT_EQ(TakeReports(), "") << "beside " << line;
        return message == 0;
    }
    // The old document or the new one is there, whole; in place, at least repair brings
    // back the old one's streams.
    void ExpectNothingLost(const Way& iWay)
    {
        const Reading reading = Read(cPath);
        if (reading.mComplaint.empty())
            EXPECT_TRUE(reading.mText == mOld || reading.mText == mNew) << reading.mText.substr(0, 4000);
        else if (!iWay.mInPlace)
            ADD_FAILURE() << reading.mComplaint;
        else
            ExpectOldRepaired();
    }
    void ExpectOldRepaired()
    {
        static_cast<void>(FF_DocumentRepair::Repair(Sys_FileLoc(cPath), Sys_FileLoc(cRepaired)));
        const auto pieces = SmallDocument::Pieces(cRepaired);
        EXPECT_TRUE(std::includes(pieces.begin(), pieces.end(), mOldPieces.begin(), mOldPieces.end()));
        EXPECT_EQ(Read(cRepaired).mComplaint, "");
        EXPECT_EQ(Text(FF_DocumentCheck::Check(Sys_FileLoc(cRepaired))), "");
    }
    void ExpectNew()
    {
        EXPECT_EQ(Read(cPath).mComplaint, "");
        EXPECT_EQ(Read(cPath).mText, mNew);
    }

    Files mBefore;
    Files mAfter;
    std::size_t mNumRequests = 0; // of the way
    std::string mOld;
    std::string mNew;
    Cmn_Exception mThrown{Cmn_eMessage_FailQuietly}; // by the last Try
    std::multiset<std::string> mOldPieces;
};

TEST_F(WriteFaults, ARequestThatFailsAndAFullDiskLoseNothing)
{
    enum EFault { eRequest, eHalfAWrite, eFullDisk };
    for (const Way& way : cWays)
        for (const EFault fault : {eRequest, eHalfAWrite, eFullDisk}) {
            if (fault == eFullDisk && way.mBulk != 0) continue; // each byte is one round
            Prepare(way);
            const std::size_t least = mBefore.at(cPath).size();
            const std::size_t enough = mAfter.at(cPath).size() - (way.mInPlace ? least : 0);
            const std::size_t rounds = fault == eRequest ? mNumRequests : fault == eHalfAWrite ? 6 : enough;
            for (std::size_t n = 1; n <= rounds; ++n) {
                SCOPED_TRACE(std::string(way.mName) + ", fault " + std::to_string(fault) + " at " +
                             std::to_string(n));
                mFiles.SetFiles(mBefore);
                if (fault == eRequest) mFiles.FailAt(static_cast<int>(n));
                if (fault == eHalfAWrite) mFiles.ShortWriteAt(static_cast<int>(n));
                if (fault == eFullDisk) mFiles.SetCapacity(least + n);
                const bool saved = Try(way, Sys_OSErrorText(fault == eRequest ? EIO : ENOSPC));
                mFiles.Heal();
                EXPECT_TRUE(fault != eFullDisk || saved == (n == enough));
                EXPECT_EQ(mFiles.GetFiles().size(), 1u); // nothing is left behind
                const bool isOld = mThrown.GetMessageID() != Cmn_eMessage_InPlaceUnsynced;
                if (!isOld) ExpectNew();
                EXPECT_TRUE(saved || !isOld || way.mInPlace || mFiles.GetFiles() == mBefore);
                if (saved) ExpectNew();
                ExpectNothingLost(way);
                EXPECT_EQ(mFiles.GetNumOpen(), 0u);
                // The disk is back: what could not be read is repaired, and the next time it is saved.
                if (!Read(cPath).mComplaint.empty())
                    static_cast<void>(FF_DocumentRepair::Repair(Sys_FileLoc(cPath), Sys_FileLoc(cPath)));
                EXPECT_TRUE(Try(way));
                EXPECT_EQ(Read(cPath).mComplaint, "");
                if (!way.mInPlace) ExpectNew();
                if (HasFailure()) return;
            }
        }
}

TEST_F(WriteFaults, AFlushThatFailedIsMadeAgainOnceTheDiskIsBack)
{
    for (const std::size_t bulk : {std::size_t{0}, std::size_t{200000}}) {
        Prepare({"append", true, bulk, Append});
        for (int n = 1, left = 1; left > 0; ++n) {
            SCOPED_TRACE(std::to_string(bulk) + " bytes, request " + std::to_string(n));
            mFiles.SetFiles(mBefore);
            FF_Document document = SmallDocument::Make(cPath);
            document.Open(Sys_Store::eOpenFlag_ReadWrite);
            SmallDocument::Write(document, "new", bulk);
            mFiles.FailAt(n);
            const std::size_t before = mFiles.GetNumRequests();
            if (MessageOf([&] { document.Flush(); }) != 0)
                document.Flush();
            else
                left = static_cast<int>(mFiles.GetNumRequests() - before) - n;
            mFiles.Heal();
            document.Close();
            ExpectNew();
            EXPECT_EQ(mFiles.GetBytes(cPath), mAfter.at(cPath));
        }
    }
}

TEST_F(WriteFaults, AWriteThatFailsInADestructorSurfacesAtTheNextWriteAndFlush)
{
    Prepare(cWays[0]);
    mFiles.SetFiles(mBefore);
    FF_Document document = SmallDocument::Make(cPath);
    document.Open(Sys_Store::eOpenFlag_ReadWrite);
    Sys_TypedOutStream out = document.MakeTypedOutStream();
    const std::string much(Sys_FileBasedOutStream::cBufferSize * 2, 'm');
    {
        const FF_StreamHeaderWriter header(&document, out, SmallDocument::eBulk, 1);
        out.WriteString(much); // so that the header is in the file when it is to be completed
        mFiles.FailAt(1, ENOSPC);
    }
    EXPECT_THROW(out.WriteInt32(1), Sys_StreamWriteException);
    EXPECT_EQ(Thrown([&] { document.Flush(); }).GetOSError(), ENOSPC);
    mFiles.Heal();
    document.Close();
    EXPECT_NE(Read(cPath).mComplaint, ""); // the header names the old table, which is gone
    ExpectOldRepaired();
}

TEST_F(WriteFaults, AMachineThatStopsBetweenAnyTwoRequestsLosesNothing)
{
    constexpr std::uint64_t cSeeds = 12;
    for (const Way& way : cWays) {
        Prepare(way);
        for (std::size_t n = 1; n <= mNumRequests + 1; ++n) {
            mFiles.SetFiles(mBefore);
            mFiles.FailAt(static_cast<int>(n), EIO, true); // and so does every request that follows
            Try(way);
            mFiles.Heal();
            // What stood in the memory of the machine when it stopped is that of the
            // last request that it made.
            std::vector<Files> disks;
            for (std::uint64_t seed = 0; seed < cSeeds; ++seed)
                disks.push_back(mFiles.AfterCrash(seed));
            for (std::uint64_t seed = 0; seed < cSeeds; ++seed) {
                SCOPED_TRACE(std::string(way.mName) + ", " + std::to_string(n - 1) + " requests, seed " +
                             std::to_string(seed));
                mFiles.SetFiles(disks[seed]);
                ExpectNothingLost(way);
                // It said that all is saved; or the header came to the disk, which waits for what it names.
                constexpr std::ptrdiff_t cStreams = 49;
                const Bytes now = mFiles.GetBytes(cPath);
                const bool isNamed =
                    !std::equal(now.begin(), now.begin() + cStreams, mBefore.at(cPath).begin());
                if (n > mNumRequests || (way.mInPlace && isNamed)) ExpectNew();
                if (HasFailure()) return;
            }
        }
    }
}

} // namespace
