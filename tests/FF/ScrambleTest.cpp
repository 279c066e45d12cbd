#include "Bastel/Sys/Sys_Clock.h"
#include "Kora/FF/Format/FF_FileBasedEncrytpedStreams.h"
#include "Kora/FF/Format/FF_FileBasedSimpleEncryptedInStream.h"
#include "Kora/FF/Format/FF_FileBasedSimpleEncryptedOutStream.h"
#include "Kora/FF/Format/FF_ScrambleKernels_p.h"
#include "Support/AssertRecorder.h"
#include "Support/MemoryFileSystem.h"
#include "Support/StreamBytes.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>

namespace {

// The byte-wise twin, from the raw key byte on.
Cmn_UInt8 Mask(Cmn_UInt32 iType, Cmn_UInt32 iRaw, Cmn_Int64 iPosition)
{
    constexpr Cmn_UInt32 cMultipliers[] = {0, 29, 17, 93, 127, 93};
    const Cmn_Int64 place = iType == 5 ? iPosition / 4096 : iPosition;
    return static_cast<Cmn_UInt8>(static_cast<Cmn_UInt32>(place % 256) * iRaw * cMultipliers[iType]);
}

// A file in memory, opened once to read and once to write as a document does, at a
// time that gives a known key.
class Scramble : public testing::Test
{
protected:
    static constexpr Cmn_Int64 cTypeAt = 18; // behind a document's version, signature and swap flag
    static constexpr char cPath[] = "take.kora";

    static inline Cmn_Int64 sNow = 0;
    static constexpr Sys_Clock::Source cSource = {[] { return sNow; }, [] { return sNow; }};

    Scramble() { SetHeader(); }

    // Leaves a file that ends behind the header, with the given bytes after it.
    void SetHeader(std::initializer_list<Cmn_UInt8> iMore = {})
    {
        Bytes bytes(cTypeAt, 'h');
        bytes.insert(bytes.end(), iMore);
        SetFile(std::move(bytes));
    }
    void SetFile(Bytes iBytes)
    {
        mInFile.Close();
        mOutFile.Close();
        mSystem.SetBytes(cPath, std::move(iBytes));
        mOutFile.Open(Sys_FileSystem::eAccess_Write);
        mInFile.Open(Sys_FileSystem::eAccess_Read);
        mOutFile.SetPosition(cTypeAt);
        mInFile.SetPosition(cTypeAt);
    }
    Bytes GetFile() const { return mSystem.GetBytes(cPath); }

    void CreateNew(Cmn_UInt32 iType, Cmn_Int64 iNow)
    {
        sNow = iNow;
        FF_FileBasedEncrytpedStreams::CreateInAndOutStreams(
            mInFile, mOutFile, static_cast<EFF_EncryptionType>(iType), mIn, mOut);
    }
    void CreateExisting(bool iToWrite = true)
    {
        FF_FileBasedEncrytpedStreams::CreateInAndOutStreams(mInFile, iToWrite ? &mOutFile : nullptr, mIn,
                                                            mOut);
    }
    void Write(const Bytes& iBytes)
    {
        EXPECT_EQ(mOut->Write(iBytes.data(), iBytes.size()), iBytes.size());
        mOut->Flush();
        mIn->Forget();
    }
    Bytes Read(std::size_t iCount)
    {
        Bytes bytes(iCount);
        bytes.resize(mIn->Read(bytes.data(), iCount));
        return bytes;
    }

    const AssertRecorder mAsserts;
    const Sys_Clock::StSource mClock{cSource};
    MemoryFileSystem mSystem;
    const Sys_FileSystem::StSystem mInForce{mSystem};
    Sys_File mInFile{Sys_FileLoc(cPath)};
    Sys_File mOutFile{Sys_FileLoc(cPath)};
    std::unique_ptr<Sys_FileBasedInStream> mIn;
    std::unique_ptr<Sys_FileBasedOutStream> mOut;
};

} // namespace

// Every type and raw key, around each place where position or block wraps, at odd lengths and alignments.
TEST(ScrambleKernels, EveryKeyMasksAsTheFormulaSays)
{
    constexpr Cmn_Int64 cBefore[] = {0, 255, 4095, 1048575, 4294967295};
    constexpr std::size_t cLengths[] = {0, 1, 63, 65, 4099};
    Bytes bytes;
    Bytes expected;
    for (Cmn_UInt32 type = 1; type <= 5; ++type) {
        for (Cmn_UInt32 raw = 0; raw < 256; ++raw) {
            auto key = static_cast<Cmn_UInt8>(raw);
            ASSERT_TRUE(FF_ScrambleKey(type, key));
            for (const Cmn_Int64 before : cBefore) {
                for (const std::size_t length : cLengths) {
                    const Cmn_Int64 position = before + static_cast<Cmn_Int64>(length % 2 * (raw % 3));
                    const std::size_t first = raw % 17; // what lies before and after stays
                    expected.assign(first + length + 9, 0x5A);
                    bytes = expected;
                    for (std::size_t i = 0; i < length; ++i)
                        expected[first + i] ^= Mask(type, raw, position + static_cast<Cmn_Int64>(i));
                    FF_Scramble(type, key, bytes.data() + first, length, position);
                    ASSERT_EQ(bytes, expected) << "type " << type << ", raw key " << raw << ", " << length
                                               << " bytes at " << position;
                }
            }
        }
    }
}

TEST_F(Scramble, ANewFileStandsAsDescribedAndReadsBackFromBothSides)
{
    Bytes plain(300001); // more than one buffer, and 256 blocks are not a multiple of it
    for (std::size_t i = 0; i < plain.size(); ++i)
        plain[i] = static_cast<Cmn_UInt8>(i * 7 + i / 256);
    for (Cmn_UInt32 type = 0; type <= 5; ++type) {
        for (const Cmn_Int64 now : {255 * Cmn_Int64{6000000000000} + 254, Cmn_Int64{255}})
        { // raw keys 254 and 0
            SCOPED_TRACE(testing::Message() << "type " << type << " at " << now);
            const auto raw = static_cast<Cmn_UInt8>(now % 255);
            SetHeader();
            CreateNew(type, now);
            ASSERT_TRUE(mIn && mOut);
            const Cmn_Int64 begin = cTypeAt + (type == 0 ? 1 : 2);
            EXPECT_EQ(mIn->GetPosition(), begin);
            EXPECT_EQ(mOut->GetPosition(), begin);
            Write(plain);
            EXPECT_EQ(Read(plain.size()), plain); // the input did not read the key: it took it

            Bytes expected(cTypeAt, 'h');
            expected.push_back(static_cast<Cmn_UInt8>(type));
            if (type != 0) expected.push_back(raw);
            for (std::size_t i = 0; i < plain.size(); ++i)
                expected.push_back(plain[i] ^ Mask(type, raw, begin + static_cast<Cmn_Int64>(i)));
            EXPECT_EQ(GetFile(), expected);

            SetFile(expected);
            sNow += 1; // an existing file keeps its key
            CreateExisting(false);
            EXPECT_EQ(mOut, nullptr);
            EXPECT_EQ(Read(plain.size() + 1), plain);
            SetFile(expected);
            CreateExisting();
            ASSERT_TRUE(mIn && mOut);
            EXPECT_EQ(mOut->GetPosition(), begin);
            Write({plain.begin() + 5, plain.begin() + 5 + 5000});
            mIn->SetPosition(begin + 4990);
            EXPECT_EQ(Read(10), Bytes(plain.begin() + 4995, plain.begin() + 5005));
            EXPECT_EQ(Read(7),
                      Bytes(plain.begin() + 5000, plain.begin() + 5007)); // what was not written over
        }
    }
    EXPECT_TRUE(mAsserts.Take().empty());
}

TEST_F(Scramble, AnUnknownTypeIsNoStream)
{
    for (Cmn_UInt32 type = 6; type < 256; ++type) {
        SetHeader();
        CreateNew(type, 1);
        EXPECT_TRUE(!mIn && !mOut);
        SetHeader({static_cast<Cmn_UInt8>(type), 1});
        const Cmn_Exception thrown = Thrown([&] { CreateExisting(); });
        EXPECT_EQ(thrown.GetMessageID(), Cmn_eMessage_UnknownStreamType);
        EXPECT_EQ(thrown.GetOffset(), cTypeAt);
        EXPECT_EQ(thrown.GetFile(), cPath);
        EXPECT_TRUE(!mIn && !mOut);
    }
    EXPECT_TRUE(mAsserts.Take().empty());
    SetHeader({6, 254});
    mInFile.SetPosition(cTypeAt + 1);
    sNow = 254;
    EXPECT_EQ(FF_FileBasedSimpleEncryptedInStream(mInFile, 6).GetMunger(), 254);
    EXPECT_EQ(FF_FileBasedSimpleEncryptedOutStream(mOutFile, 6).GetMunger(), 254);
    EXPECT_EQ(mAsserts.Take(),
              (std::vector<std::string>{"false@$^$@FF/FF_FileBasedSimpleEncryptedInStream",
                                        "false@$^$@FF/FF_FileBasedSimpleEncryptedOutStream"}));
}

TEST_F(Scramble, WithoutATypeByteThereAreNoStreamsAndWithoutAKeyByteItIsReported)
{
    CreateExisting();
    EXPECT_TRUE(!mIn && !mOut);
    mSystem.SetCapacity(cTypeAt);
    CreateNew(eFF_EncryptionType_None, 0);
    EXPECT_TRUE(!mIn && !mOut);
    EXPECT_TRUE(mAsserts.Take().empty());

    mSystem.SetCapacity(cTypeAt + 1);
    CreateNew(eFF_EncryptionType_Byte17, 3);
    EXPECT_TRUE(mIn && mOut);
    EXPECT_EQ(mAsserts.Take(), std::vector<std::string>{"iFile->Write( &mMunger, 1 ) == 1@$^$@FF/"
                                                        "FF_FileBasedSimpleEncryptedOutStream"});
    SetFile(GetFile()); // ends behind the type
    CreateExisting();
    EXPECT_TRUE(mIn && mOut);
    EXPECT_EQ(mAsserts.Take(), std::vector<std::string>{"iFile->Read( &mMunger, 1 ) == 1@$^$@FF/"
                                                        "FF_FileBasedSimpleEncryptedInStream"});
}
