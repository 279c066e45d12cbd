#include "Bastel/Sys/Sys_Clock.h"
#include "Bastel/Sys/Sys_FileBasedOutStream.h"
#include "FF/HandMade.h"
#include "FF/SmallDocument.h"
#include "FF/StDocument.h"
#include "Kora/FF/Format/FF_ScrambleKernels_p.h"
#include "Kora/FF/Rescue/FF_DocumentCheck.h"
#include "Kora/FF/Rescue/FF_DocumentRepair.h"

#include <array>
#include <map>
#include <optional>
#include <random>
#include <set>

namespace {

using Key = FF_Document::TOCKey;
using Report = FF_DocumentRepair::Report;
constexpr char cRepaired[] = "/songs/repaired.kora";

class RepairTest : public StDocument
{
protected:
    // One stream as it was written. Its type is its own, so that keys tell streams apart.
    struct Stream
    {
        std::string key;
        Cmn_Int64 start, body, end;
        std::vector<std::size_t> around;
        std::string bytes;
    };
    struct Hit
    {
        Cmn_Int64 from, to;
        bool Meets(Cmn_Int64 iStart, Cmn_Int64 iEnd) const { return from < iEnd && iStart < to; }
    };

    // --- writing

    // Outermost streams, with lists and plain streams nested in them, all registered; every body has a magic in it.
    void WriteTree(FF_Document& ioDocument, Sys_TypedOutStream& ioOut, int iDepth,
                   std::vector<std::size_t> iAround = {})
    {
        const auto type = static_cast<Cmn_Int16>(mNextType++);
        const Cmn_Int64 start = ioOut.GetPosition();
        FF_Document::AddTOCEntry(&ioDocument, static_cast<Cmn_UInt64>(start), type, std::to_string(type));
        FF_StreamHeaderWriter header(&ioDocument, ioOut, type, 1);
        const std::size_t self = mStreams.size();
        mStreams.push_back(
            {Key(ioDocument.GetCurrentContext()).Dump(), start, ioOut.GetPosition(), 0, iAround, ""});
        iAround.push_back(self);
        const auto numInside = static_cast<Cmn_Int32>(iDepth == 0 ? 0 : mRandom() % 4);
        const bool isList = mRandom() % 2 == 0;
        std::optional<FF_StreamListWriter> list;
        if (isList) list.emplace(&ioDocument, ioOut, numInside);
        for (Cmn_Int32 i = 0; i < numInside; ++i) {
            if (isList) list->AddListEntry(i, "item");
            WriteTree(ioDocument, ioOut, iDepth - 1, iAround);
            if (!isList) ioOut.WriteString("KSH3\x01Z" + std::string(mRandom() % 40, 'K'));
        }
        ioOut.WriteInt64(static_cast<Cmn_Int64>(mRandom()));
        if (mRandom() % 8 == 0) ioOut.WriteString(std::string(mRandom() % 9000, 'b'));
        mStreams[self].end = ioOut.GetPosition();
    }
    void WriteTrees(FF_Document& ioDocument, int iCount)
    {
        mStreams.clear();
        Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
        ioDocument.SeekToEnd(out);
        for (int i = 0; i < iCount; ++i)
            WriteTree(ioDocument, out, 3);
        ioDocument.Flush();
        for (Stream& stream : mStreams)
            stream.bytes = PlainBytes(ioDocument, stream.start, stream.end);
        mTOC = Cmn_Int64{ioDocument.GetTOCOffset()};
    }
    void WriteRandom(int iType, int iCount = 6)
    {
        Document document(Sys_Store::eOpenFlag_New, iType);
        WriteTrees(document, iCount);
    }

    // --- looking

    static std::string PlainBytes(FF_Document& ioDocument, Cmn_Int64 iStart, Cmn_Int64 iEnd)
    {
        Sys_TypedInStream in = ioDocument.MakeTypedInStream();
        in.SetPosition(iStart);
        return SmallDocument::WithoutPlace(SmallDocument::TakeBytes(in, iEnd - iStart));
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
            const Cmn_Int64 start = in.GetPosition();
            const Sys_StdStreamHeaderReader header(in, "Z");
            streams[key.Dump()] = PlainBytes(document, start, header.GetInfo().end);
        }
        return streams;
    }
    bool IsHeaderAroundHit(const Stream& iStream, const Hit& iHit) const
    {
        return std::any_of(iStream.around.begin(), iStream.around.end(),
                           [&](std::size_t i) { return iHit.Meets(mStreams[i].start, mStreams[i].body); });
    }
    static std::string TypeOf(const std::string& iKey) { return iKey.substr(iKey.rfind('/') + 1); }
    static Report Repair(const char* iTo = cRepaired)
    {
        return FF_DocumentRepair::Repair(Sys_FileLoc(cPath), Sys_FileLoc(iTo));
    }

    // What is whole is there under its key, nothing else is, and the result has no fault. The damage is one.
    void ExpectRepaired(const Hit& iHit, bool iTableIsWhole)
    {
        const std::vector<FF_Fault> faults = FF_DocumentCheck::Check(Sys_FileLoc(cPath));
        EXPECT_FALSE(faults.empty());
        for (const FF_Fault& fault : faults)
            EXPECT_TRUE(fault.offset >= 0 && static_cast<std::size_t>(fault.offset) <= FileBytes().size());
        const Report report = Repair();
        const std::map<std::string, std::string> repaired = ByKey(cRepaired);
        std::map<std::string, const Stream*> whole; // by type
        for (const Stream& stream : mStreams) {
            if (iHit.Meets(stream.start, stream.end)) continue;
            whole[TypeOf(stream.key)] = &stream;
            if (!iTableIsWhole && IsHeaderAroundHit(stream, iHit)) continue;
            ASSERT_TRUE(repaired.contains(stream.key)) << stream.key << " at " << stream.start;
        }
        for (const auto& [key, bytes] : repaired) {
            ASSERT_TRUE(whole.contains(TypeOf(key))) << key << " is claimed";
            const Stream& stream = *whole[TypeOf(key)];
            EXPECT_EQ(bytes, stream.bytes) << key;
            const bool keyIsKnown = iTableIsWhole || !IsHeaderAroundHit(stream, iHit);
            EXPECT_TRUE(key == stream.key || !keyIsKnown) << key << " for " << stream.key;
        }
        EXPECT_EQ(report.hadTOC, iTableIsWhole);
        EXPECT_GE(report.recovered, static_cast<Cmn_Int32>(repaired.size()));
        EXPECT_EQ(report.streams.size(), static_cast<std::size_t>(report.recovered));
        EXPECT_EQ(Text(FF_DocumentCheck::Check(Sys_FileLoc(cRepaired))), "");
    }

    // A key of masks under which no two mask types are the same.
    static constexpr Cmn_Int64 cKey = 77;
    static constexpr Sys_Clock::Source cClock = {[] { return cKey; }, [] { return cKey; }};
    const Sys_Clock::StSource mClock{cClock};
    std::mt19937_64 mRandom{20251};
    int mNextType = 1000;
    std::vector<Stream> mStreams; // of the last WriteTrees
    Cmn_Int64 mTOC = 0;
};

TEST_F(RepairTest, WhatARandomStretchOfDamageLeavesComesBack)
{
    for (int round = 0; round < 180; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        if (round % 30 == 0) WriteRandom(round / 30 % 6);
        const Bytes good = FileBytes();
        const bool cuts = round % 3 == 0;
        const auto size = static_cast<Cmn_Int64>(good.size());
        Hit hit = {20 + static_cast<Cmn_Int64>(mRandom() % (good.size() - 20)), size};
        if (!cuts) hit.to = std::min(size, hit.from + 1 + static_cast<Cmn_Int64>(mRandom() % 400));
        if (round % 3 == 1) hit = {std::max<Cmn_Int64>(hit.from - mTOC, 20), size - 50}; // most of it
        Bytes damaged = good;
        if (cuts) damaged.resize(static_cast<std::size_t>(hit.from));
        for (Cmn_Int64 i = hit.from; !cuts && i < hit.to; ++i)
            damaged[static_cast<std::size_t>(i)] ^= static_cast<std::uint8_t>(1 + mRandom() % 255);
        mFiles.SetBytes(cPath, damaged);
        ExpectRepaired(hit, !hit.Meets(mTOC, size));
        mFiles.SetBytes(cPath, good);
        if (HasFailure()) return;
    }
}

// Bytes that are put in, or taken out, move all that follows.
TEST_F(RepairTest, WhatWasMovedIsReachedUnderItsKey)
{
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        if (round % 40 == 0) WriteRandom(round / 40 % 2 == 0 ? 0 : 1 + round / 80);
        const Bytes good = FileBytes();
        Bytes damaged = good;
        const int type = good[18];
        Cmn_UInt8 key = good[19];
        const auto mask = [&] {
            if (FF_ScrambleKey(type, key)) FF_Scramble(type, key, &damaged[20], damaged.size() - 20, 20);
        };
        mask();
        const std::size_t at = 20 + mRandom() % (damaged.size() - 20);
        const std::size_t count = std::array<std::size_t, 4>{1, 512, 1, 16}[round % 4];
        const auto place = damaged.begin() + static_cast<std::ptrdiff_t>(at);
        const bool isInsertion = round % 4 < 2;
        if (isInsertion)
            damaged.insert(place, count, 0xA5);
        else
            damaged.erase(place, place + std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(count),
                                                                  damaged.end() - place));
        key = good[19];
        mask();
        mFiles.SetBytes(cPath, damaged);
        const Report report = Repair();
        std::set<Cmn_Int64> reached;
        Document document(Sys_Store::eOpenFlag_Read, 0, cRepaired);
        const FF_Document::TOC& toc = document.GetTOC();
        for (FF_Document::TOC::Entry entry = 0; entry < toc.GetNumKeys(); ++entry)
            for (Cmn_Int32 value = 0; value < toc.GetNumValues(entry); ++value) {
                Cmn_UInt32 offset = 0;
                if (toc.GetFirstOffset(entry, value, offset)) reached.insert(offset);
            }
        for (const FF_StreamInfo& stream : report.streams)
            EXPECT_TRUE(reached.contains(stream.position))
                << stream.streamType << " is copied and not reached";
        const auto repaired = ByKey(cRepaired);
        const auto from = static_cast<Cmn_Int64>(at);
        const Hit hit = {from, from + (isInsertion ? 0 : static_cast<Cmn_Int64>(count))};
        std::map<std::string, const Stream*> byType;
        for (const Stream& stream : mStreams) {
            byType[TypeOf(stream.key)] = &stream;
            if (stream.start < hit.to + isInsertion && hit.from < stream.end && hit.from != stream.start)
                continue;
            const bool isOrphan =
                !repaired.contains(stream.key) && IsHeaderAroundHit(stream, {hit.from, hit.to + 1});
            EXPECT_TRUE(repaired.contains(stream.key) || isOrphan)
                << stream.key << " at " << stream.start << ", hit at " << at;
        }
        for (const auto& [k, bytes] : repaired)
            EXPECT_EQ(bytes, byType[TypeOf(k)]->bytes) << k;
        EXPECT_EQ(Text(FF_DocumentCheck::Check(Sys_FileLoc(cRepaired))), "");
        mFiles.SetBytes(cPath, good);
        if (HasFailure()) return;
    }
}

TEST_F(RepairTest, AnInterruptedAppendLosesNothingThatWasFlushedOrWhole)
{
    for (int type = 0; type <= 5; ++type) {
        SCOPED_TRACE("type " + std::to_string(type));
        WriteRandom(type);
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
        EXPECT_EQ(repaired, expected);
        EXPECT_FALSE(report.hadTOC);
        EXPECT_EQ(report.withoutDescription, report.recovered);
        EXPECT_FALSE(report.lost.empty());
    }
}

TEST_F(RepairTest, ATableThatTheHeaderDoesNotNameYetLendsDescriptions)
{
    WriteRandom(0, 2);
    const Bytes before = FileBytes();
    {
        Document document(Sys_Store::eOpenFlag_ReadWrite);
        WriteTrees(document, 2);
    }
    const auto expected = ByKey(cPath);
    Bytes torn = FileBytes();
    std::copy_n(before.begin(), 49, torn.begin()); // all but the last write of the flush
    mFiles.SetBytes(cPath, torn);
    const Report report = Repair(cPath);
    EXPECT_TRUE(report.hadTOC);
    EXPECT_EQ(report.withoutDescription, 0);
    EXPECT_EQ(ByKey(cPath), expected);
    Document document(Sys_Store::eOpenFlag_Read);
    const FF_Document::TOC& toc = document.GetTOC();
    for (FF_Document::TOC::Entry entry = 0; entry < toc.GetNumKeys(); ++entry)
        EXPECT_EQ(toc.GetValue(entry, 0).GetDisplayInfo().GetText(),
                  std::to_string(toc.GetKey(entry).GetContexts().back().GetStreamType()));
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
        const std::string lost = Text(report.lost);
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
        EXPECT_EQ(report.recovered, 4);
        EXPECT_EQ(report.withoutDescription, hasTable ? 0 : 4);
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
    const std::string lost = Text(Repair().lost);
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
        EDamage damage;
        bool hasTable;
        std::string table;
    } rows[] = {
        {eItem,       true,  "9  Invalid  list\n9 #1  [49]  item\n9 #2  Invalid  item\n9 #3  [81]  item\n"},
        {eItem,       false,
         "9  Invalid  \n9 #1  [49]  \n9 #2  Invalid  \n9 #3  [81]  \n9[1]/10  [49]  \n9[3]/10  [81]  \n"  },
        {eListHeader, true,  "9  Invalid  list\n9 #1  [49]  item\n9 #2  [81]  item\n9 #3  [113]  item\n"  },
        {eListHeader, false, "10  [113]  \n10 #1  [81]  \n10 #2  [49]  \n"                                },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.table);
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
        bytes[row.damage == eItem ? toc - 32 - 1 : static_cast<std::size_t>(list)] ^= 1;
        if (!row.hasTable) bytes[toc + 30] ^= 1;
        mFiles.SetBytes(cPath, bytes);
        const Report report = Repair();
        Document repaired(Sys_Store::eOpenFlag_Read, 0, cRepaired);
        EXPECT_EQ(repaired.GetTOC().Dump(), row.table);
        const bool hasOrphans = Text(report.lost).find("found item 2 alone") != std::string::npos;
        EXPECT_EQ(hasOrphans, row.damage == eListHeader && !row.hasTable) << Text(report.lost);
    }
}

// Whatever one byte of the file header says, what the others and the sums say is enough.
TEST_F(RepairTest, ADamagedFileHeaderIsSeenThrough)
{
    for (int type = 0; type <= 5; ++type)
        for (const bool swapped : {false, true}) {
            if (swapped)
                HandMade::Write(mFiles, cPath, {.swap = true, .maskType = type});
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
                EXPECT_EQ(report.header.empty(), isSame || (at == 19 && type == 5 && swapped));
                Document repaired(Sys_Store::eOpenFlag_Read, 0, cRepaired);
                EXPECT_EQ(Read(repaired, 7), 1234);
                EXPECT_EQ(repaired.IsSwapped(), swapped);
                EXPECT_EQ(repaired.GetEncryptionType(), type);
                EXPECT_TRUE(report.hadTOC && report.lost.empty());
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
    EXPECT_EQ(Repair().recovered, 1);
    Document repaired(Sys_Store::eOpenFlag_Read, 0, cRepaired);
    EXPECT_EQ(Read(repaired, 7), 1234);
}

TEST_F(RepairTest, WhatIsNoDocumentBecomesAnEmptyOne)
{
    for (const std::size_t size : {0, 1, 19, 48, 5000}) {
        mFiles.SetBytes(cPath, Bytes(size, 'K'));
        const Report report = Repair();
        EXPECT_EQ(report.recovered, 0);
        EXPECT_FALSE(report.header.empty());
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
