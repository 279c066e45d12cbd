#include "Bastel/Sys/Sys_Clock.h"
#include "Bastel/Sys/Sys_FileBasedOutStream.h"
#include "FF/HandMade.h"
#include "FF/SmallDocument.h"
#include "FF/StDocument.h"
#include "Kora/FF/Format/FF_ScrambleKernels_p.h"
#include "Kora/FF/Rescue/FF_DocumentCheck.h"
#include "Kora/FF/Rescue/FF_DocumentRepair.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <random>

namespace {

using Key = FF_Document::TOCKey;
using Report = FF_DocumentRepair::Report;
constexpr char cRepaired[] = "/songs/repaired.kora";

class RepairTest : public StDocument
{
protected:
    static void WriteSmall(int iType)
    {
        Document document(Sys_Store::eOpenFlag_New, iType);
        SmallDocument::Write(document, "word");
        document.Flush();
    }
    // Every key with the bytes of its stream.
    static std::map<std::string, std::string> ByKey(const char* iPath)
    {
        std::map<std::string, std::string> streams;
        Document document(Sys_Store::eOpenFlag_Read, 0, iPath);
        Sys_TypedInStream in = document.MakeTypedInStream();
        for (FF_Document::TOC::Entry entry = 0; entry < document.GetTOC().GetNumKeys(); ++entry) {
            const Key key = document.GetTOC().GetKey(entry);
            if (!document.SeekToStream(key, in)) continue;
            Sys_StdStreamHeaderInfo info;
            EXPECT_TRUE(Sys_StdStreamHeaderReader::Peek(in, info));
            streams[key.Dump()] =
                SmallDocument::WithoutPlace(SmallDocument::TakeBytes(in, info.mEnd - info.mStart));
        }
        return streams;
    }
    static Report Repair(const char* iTo = cRepaired)
    {
        return FF_DocumentRepair::Repair(Sys_FileLoc(cPath), Sys_FileLoc(iTo));
    }

    // A key of masks under which no two mask types are the same.
    static constexpr Cmn_Int64 cKey = 77;
    static constexpr Sys_Clock::Source cClock = {[] { return cKey; }, [] { return cKey; }};
    const Sys_Clock::StSource mClock{cClock};
    std::mt19937_64 mRandom{20251};
};

TEST_F(RepairTest, AnInterruptedAppendLosesNothingThatWasFlushedOrWhole)
{
    for (int type = 0; type <= 5; ++type) {
        SCOPED_TRACE("type " + std::to_string(type));
        WriteSmall(type);
        const auto expected = ByKey(cPath);
        Document document(Sys_Store::eOpenFlag_ReadWrite);
        Sys_TypedOutStream out = document.MakeTypedOutStream();
        {
            FF_StreamHeaderWriter outer(&document, out, 5, 1);
            FF_StreamListWriter list(&document, out, 3);
            list.AddListEntry(1 - 1, "item");
            FF_StreamHeaderWriter item(&document, out, 6, 1);
            Write(document, 7, 4321);
            out.WriteString(std::string(Sys_FileBasedOutStream::cBufferSize, 'x')); // and the machine stops
            mFiles.SetBytes("/songs/crash", FileBytes());
        }
        document.Close();
        mFiles.SetBytes(cPath, mFiles.GetBytes("/songs/crash"));
        const Report report = Repair();
        auto repaired = ByKey(cRepaired);
        EXPECT_EQ(repaired.erase("5[1]/6/7"), 1u);
        for (const auto& [key, bytes] : expected)
            EXPECT_EQ(repaired[key], bytes) << key;
        EXPECT_FALSE(report.mHadTOC);
        EXPECT_EQ(report.mWithoutDescription, report.mRecovered);
        EXPECT_FALSE(report.mLost.empty());
    }
}

TEST_F(RepairTest, ATableThatTheHeaderDoesNotNameYetLendsDescriptions)
{
    WriteSmall(0);
    const Bytes before = FileBytes();
    {
        Document document(Sys_Store::eOpenFlag_ReadWrite);
        Write(document, 7, 1);
        document.Flush();
    }
    const auto expected = ByKey(cPath);
    Bytes torn = FileBytes();
    std::copy_n(before.begin(), 49, torn.begin()); // all but the last write of the flush
    mFiles.SetBytes(cPath, torn);
    const Report report = Repair(cPath);
    EXPECT_TRUE(report.mHadTOC);
    EXPECT_EQ(report.mWithoutDescription, 0);
    EXPECT_EQ(ByKey(cPath), expected);
    Document document(Sys_Store::eOpenFlag_Read);
    const FF_Document::TOC& toc = document.GetTOC();
    for (FF_Document::TOC::Entry entry = 0; entry < toc.GetNumKeys(); ++entry)
        EXPECT_NE(toc.GetValue(entry, 0).GetDisplayInfo().GetText(), "");
}

// Three pieces of stream 7, a list of plain items, and a stream that was written anew.
TEST_F(RepairTest, AnOldTableLendsPiecesItemsAndStates)
{
    const auto write = [](FF_Document& ioDocument) {
        ioDocument.Open(Sys_Store::eOpenFlag_New);
        for (int i = 0; i < 3; ++i)
            Write(ioDocument, 7, i);
        Write(ioDocument, 8, 0);
        auto chain = std::make_unique<FF_Document::Location>();
        auto local = std::make_unique<FF_Document::LocalLocation>();
        local->AddOffset(145);
        chain->SetNext(std::move(local));
        const FF_Document::TOCValue value("moved");
        FF_Document::TOC& toc = ioDocument.GetTOC();
        toc.AddValue(toc.Find(Key(8)), "");
        toc.SetValue(toc.Find(Key(8)), 1,
                     {std::move(chain), value.GetDisplayInfo().Clone(), value.GetIndexInfo().Clone()});
        static_cast<void>(ioDocument.InvalidateKey(Key(8), 0));
        Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
        WriteList(&ioDocument, out, 9, 2);
    };
    for (const bool hasTable : {true, false}) {
        Document document;
        write(document);
        document.Flush();
        const std::size_t toc = document.GetTOCOffset();
        document.Close();
        Bytes bytes = FileBytes();
        bytes[49 + 30] ^= 1; // the first piece's number
        if (!hasTable) bytes[toc + 30] ^= 1;
        mFiles.SetBytes(cPath, bytes);
        const Report report = Repair();
        const std::string lost = Text(report.mLost);
        Document repaired(Sys_Store::eOpenFlag_Read, 0, cRepaired);
        EXPECT_EQ(Read(repaired, 7), hasTable ? 1 : 2) << "without a table the newest";
        const std::string stretch =
            "49: expected whole streams, found in 32 bytes: stream 7 with a wrong body sum; ";
        if (hasTable) {
            EXPECT_EQ(lost, stretch + "49: expected stream 7 \"a number\", found nothing whole");
            EXPECT_EQ(repaired.GetTOC().Dump(),
                      "7  [49, 81]  a number\n8  Invalid  a number\n8 #1  [113]  moved\n"
                      "9  [145]  list\n9 #1  [177]  item\n9 #2  [181]  item\n");
        } else {
            EXPECT_EQ(lost,
                      stretch +
                          "81: expected one stream 7, found another one that readers get; this is value 1; "
                          "203: expected 2 items of stream 9, found 0 with a header of their own; "
                          "217: expected whole streams, found in 241 bytes: the table of "
                          "contents with a wrong body sum");
            EXPECT_EQ(repaired.GetTOC().Dump(), "7  [81]  \n7 #1  [49]  \n8  [113]  \n9  [145]  \n");
        }
        EXPECT_EQ(report.mRecovered, 4);
        EXPECT_EQ(report.mWithoutDescription, hasTable ? 0 : 4);
    }
}

TEST_F(RepairTest, ForANewestThatIsLostReadersGetTheOneBeforeAndAreTold)
{
    Document document(Sys_Store::eOpenFlag_New);
    Write(document, 7, 1);
    static_cast<void>(document.InvalidateKey(Key(7), 0));
    Write(document, 7, 2);
    document.Flush();
    document.Close();
    Bytes bytes = FileBytes();
    bytes[81 + 30] ^= 1; // the second one's number
    mFiles.SetBytes(cPath, bytes);
    const std::string lost = Text(Repair().mLost);
    EXPECT_NE(lost.find("49: expected the newest stream 7, found an older one"), std::string::npos) << lost;
    Document repaired(Sys_Store::eOpenFlag_Read, 0, cRepaired);
    EXPECT_EQ(Read(repaired, 7), 1);
}

// A list of three streams after one that is lost, so that all places move.
TEST_F(RepairTest, ItemsThatAreLostAreInvalidAndTheOthersKeepTheirNumbers)
{
    enum EDamage { eItem, eListHeader };
    const struct
    {
        EDamage mDamage;
        bool mHasTable;
        std::string mTable;
    } rows[] = {
        {eItem, true, "9  Invalid  list\n9 #1  [49]  item\n9 #2  Invalid  item\n9 #3  [81]  item\n"},
        {eItem, false,
         "9  Invalid  \n9 #1  [49]  \n9 #2  Invalid  \n9 #3  [81]  \n9[1]/10  [49]  \n9[3]/10  [81]  \n"},
        {eListHeader, true, "9  Invalid  list\n9 #1  [49]  item\n9 #2  [81]  item\n9 #3  [113]  item\n"},
        {eListHeader, false, "10  [113]  \n10 #1  [81]  \n10 #2  [49]  \n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mTable);
        Document document(Sys_Store::eOpenFlag_New);
        Write(document, 7, 1);
        Sys_TypedOutStream out = document.MakeTypedOutStream();
        document.SeekToEnd(out);
        const Cmn_Int64 list = out.GetPosition();
        WriteList(&document, out, 9, 3, 10);
        document.Flush();
        const std::size_t toc = document.GetTOCOffset();
        document.Close();
        Bytes bytes = FileBytes();
        bytes[49 + 30] ^= 1;
        bytes[row.mDamage == eItem ? toc - 32 - 1 : static_cast<std::size_t>(list)] ^= 1;
        if (!row.mHasTable) bytes[toc + 30] ^= 1;
        mFiles.SetBytes(cPath, bytes);
        const Report report = Repair();
        Document repaired(Sys_Store::eOpenFlag_Read, 0, cRepaired);
        EXPECT_EQ(repaired.GetTOC().Dump(), row.mTable);
        const bool hasOrphans = Text(report.mLost).find("found item 2 alone") != std::string::npos;
        EXPECT_EQ(hasOrphans, row.mDamage == eListHeader && !row.mHasTable) << Text(report.mLost);
    }
}

// Whatever one byte of the file header says, what the others and the sums say is enough.
TEST_F(RepairTest, ADamagedFileHeaderIsSeenThrough)
{
    for (int type = 0; type <= 5; ++type)
        for (const bool swapped : {false, true}) {
            if (swapped)
                HandMade::Write(mFiles, cPath, {.mSwap = true, .mMaskType = type});
            else {
                Document document(Sys_Store::eOpenFlag_New, type);
                Write(document, 7, 1234);
                for (int i = 0; i < 300; ++i)
                    Write(document, 10, i);
                document.Flush();
            }
            const Bytes good = FileBytes();
            for (std::size_t at = 0; at < (type == 0 ? 19u : 20u); ++at) {
                SCOPED_TRACE(std::to_string(type) + (swapped ? " swapped" : "") + ", byte " +
                             std::to_string(at));
                Bytes damaged = good;
                damaged[at] ^= static_cast<std::uint8_t>(1 + mRandom() % 255);
                const bool isSame = at == 17 && (damaged[at] != 0) == swapped;
                mFiles.SetBytes(cPath, damaged);
                const Report report = Repair();
                // In its first 4096 bytes mask type 5 has no mask, so that its key is not needed there.
                EXPECT_EQ(report.mHeader.empty(), isSame || (at == 19 && type == 5 && swapped));
                Document repaired(Sys_Store::eOpenFlag_Read, 0, cRepaired);
                EXPECT_EQ(Read(repaired, 7), 1234);
                EXPECT_EQ(repaired.IsSwapped(), swapped);
                EXPECT_EQ(repaired.GetEncryptionType(), type);
                EXPECT_TRUE(report.mHadTOC && report.mLost.empty());
                EXPECT_EQ(Text(FF_DocumentCheck::Check(Sys_FileLoc(cRepaired))), "");
                if (HasFailure()) return;
            }
        }
}

// The size in a header that does not belong there led past the streams behind it.
TEST_F(RepairTest, AStreamsHeaderOverTheHeaderStreamHidesNoStream)
{
    HandMade::Write(mFiles, cPath, {});
    Bytes damaged = FileBytes();
    std::copy_n(damaged.begin() + 49, 26, damaged.begin() + 19);
    mFiles.SetBytes(cPath, damaged);
    EXPECT_EQ(Repair().mRecovered, 1);
    Document repaired(Sys_Store::eOpenFlag_Read, 0, cRepaired);
    EXPECT_EQ(Read(repaired, 7), 1234);
}

// Among them are files that the fuzzer found: in "found-place-in-a-crossed-stream" a list item says that it was
// written inside a whole stream, and stands elsewhere.
TEST_F(RepairTest, EveryDocumentOfTheFuzzersCorpusIsRepairedToASoundOne)
{
    int numFiles = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(KORA_SOURCE_DIR "/tests/Fuzz/corpus/document")) {
        SCOPED_TRACE(entry.path().filename().string());
        std::ifstream in(entry.path(), std::ios::binary);
        mFiles.SetBytes(cPath, Bytes(std::istreambuf_iterator<char>(in), {}));
        static_cast<void>(FF_DocumentRepair::Repair(Sys_FileLoc(cPath), Sys_FileLoc(cRepaired), true));
        EXPECT_EQ(Text(FF_DocumentCheck::Check(Sys_FileLoc(cRepaired))), "");
        ++numFiles;
    }
    EXPECT_GE(numFiles, 16);
}

TEST_F(RepairTest, WhatIsNoDocumentBecomesAnEmptyOne)
{
    for (const std::size_t size : {0, 1, 19, 48, 5000}) {
        mFiles.SetBytes(cPath, Bytes(size, 'K'));
        const Report report = Repair();
        EXPECT_EQ(report.mRecovered, 0);
        EXPECT_FALSE(report.mHeader.empty());
        EXPECT_TRUE(ByKey(cRepaired).empty());
        EXPECT_EQ(Text(FF_DocumentCheck::Check(Sys_FileLoc(cRepaired))), "");
    }
    // Where it cannot be read or written, nothing is left behind.
    mFiles.FailAt(3);
    EXPECT_EQ(MessageOf([] { Repair(); }), Cmn_eMessage_OSError);
    mFiles.Heal();
    EXPECT_EQ(mFiles.GetFiles().size(), 2u);
}

} // namespace
