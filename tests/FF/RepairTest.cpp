#include "Bastel/Sys/Sys_Clock.h"
#include "Bastel/Sys/Sys_FileBasedOutStream.h"
#include "FF/HandMade.h"
#include "FF/StDocument.h"
#include "Kora/FF/FF_DocumentCheck.h"
#include "Kora/FF/FF_DocumentRepair.h"
#include "Kora/FF/FF_SafeSave.h"

#include <map>
#include <optional>
#include <random>

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
        Cmn_Int64 start;
        Cmn_Int64 end;
        Cmn_Int64 body;
        std::string bytes;
        std::vector<std::size_t> around;
    };
    struct Hit
    {
        Cmn_Int64 from;
        Cmn_Int64 to;
        bool Meets(Cmn_Int64 iStart, Cmn_Int64 iEnd) const { return from < iEnd && iStart < to; }
    };

    // --- writing

    // Outermost streams, with lists and plain streams nested in them, all registered; every body has a magic in it.
    void WriteTree(FF_Document& ioDocument, Sys_TypedOutStream& ioOut, int iDepth)
    {
        const auto type = static_cast<Cmn_Int16>(mNextType++);
        FF_Document::AddTOCEntry(&ioDocument, static_cast<Cmn_UInt64>(ioOut.GetPosition()), type,
                                 std::to_string(type));
        FF_StreamHeaderWriter header(&ioDocument, ioOut, type, 1);
        const auto numInside = static_cast<Cmn_Int32>(iDepth == 0 ? 0 : mRandom() % 4);
        const bool isList = mRandom() % 2 == 0;
        std::optional<FF_StreamListWriter> list;
        if (isList) list.emplace(&ioDocument, ioOut, numInside);
        for (Cmn_Int32 i = 0; i < numInside; ++i) {
            if (isList) list->AddListEntry(i, "item");
            WriteTree(ioDocument, ioOut, iDepth - 1);
            if (!isList) ioOut.WriteString("KSH1\x01Z" + std::string(mRandom() % 40, 'K'));
        }
        ioOut.WriteInt64(static_cast<Cmn_Int64>(mRandom()));
        if (mRandom() % 8 == 0) ioOut.WriteString(std::string(mRandom() % 9000, 'b'));
    }
    void WriteTrees(FF_Document& ioDocument, int iCount)
    {
        Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
        ioDocument.SeekToEnd(out);
        for (int i = 0; i < iCount; ++i)
            WriteTree(ioDocument, out, 3);
    }
    void WriteRandom(int iType, int iCount = 6)
    {
        OpenDocument document(Sys_Store::eOpenFlag_New, iType);
        WriteTrees(document, iCount);
        document.Flush();
    }

    // --- looking

    static std::string PlainBytes(FF_Document& ioDocument, Cmn_Int64 iStart, Cmn_Int64 iEnd)
    {
        std::string bytes(static_cast<std::size_t>(iEnd - iStart), '\0');
        Sys_TypedInStream in = ioDocument.MakeTypedInStream();
        in.SetPosition(iStart);
        in.ReadBytes(bytes.data(), bytes.size());
        return bytes;
    }
    // Every key with the bytes of its stream.
    static std::map<std::string, std::string> ByKey(const char* iPath)
    {
        std::map<std::string, std::string> streams;
        OpenDocument document(Sys_Store::eOpenFlag_Read, 0, iPath);
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
    std::vector<Stream> Streams(Cmn_Int64& oTOC)
    {
        std::vector<Stream> streams;
        OpenDocument document(Sys_Store::eOpenFlag_Read);
        oTOC = Cmn_Int64{document.GetTOCOffset()};
        std::vector<std::size_t> open;
        std::map<Cmn_Int64, std::string> keys;
        const FF_Document::TOC& toc = document.GetTOC();
        for (FF_Document::TOC::Entry entry = 0; entry < toc.GetNumKeys(); ++entry) {
            Cmn_UInt32 offset = 0;
            if (toc.GetFirstOffset(entry, 0, offset)) keys[offset] = toc.GetKey(entry).Dump();
        }
        for (const FF_StreamInfo& info : FF_DocumentCheck::ListStreams(document)) {
            open.resize(static_cast<std::size_t>(info.depth));
            const Cmn_Int64 end = info.position + info.size;
            streams.push_back({keys[info.position], info.position, end, info.position + 28,
                               PlainBytes(document, info.position, end), open});
            open.push_back(streams.size() - 1);
        }
        return streams;
    }
    static bool IsHeaderAroundHit(const std::vector<Stream>& iStreams, const Stream& iStream, const Hit& iHit)
    {
        return std::any_of(iStream.around.begin(), iStream.around.end(),
                           [&](std::size_t i) { return iHit.Meets(iStreams[i].start, iStreams[i].body); });
    }
    static std::string TypeOf(const std::string& iKey) { return iKey.substr(iKey.rfind('/') + 1); }
    static Report Repair(const char* iTo = cRepaired)
    {
        return FF_DocumentRepair::Repair(Sys_FileLoc(cPath), Sys_FileLoc(iTo));
    }

    // What is whole is there under its key, nothing else is, and the result has no fault.
    void ExpectRepaired(const std::vector<Stream>& iStreams, const Hit& iHit, bool iTableIsWhole)
    {
        const Report report = Repair();
        const std::map<std::string, std::string> repaired = ByKey(cRepaired);
        std::map<std::string, const Stream*> whole; // by type
        for (const Stream& stream : iStreams) {
            if (iHit.Meets(stream.start, stream.end)) continue;
            whole[TypeOf(stream.key)] = &stream;
            if (!iTableIsWhole && IsHeaderAroundHit(iStreams, stream, iHit)) continue;
            ASSERT_TRUE(repaired.contains(stream.key)) << stream.key << " at " << stream.start;
        }
        for (const auto& [key, bytes] : repaired) {
            ASSERT_TRUE(whole.contains(TypeOf(key))) << key << " is claimed";
            const Stream& stream = *whole[TypeOf(key)];
            EXPECT_EQ(bytes, stream.bytes) << key;
            const bool keyIsKnown = iTableIsWhole || !IsHeaderAroundHit(iStreams, stream, iHit);
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
};

TEST_F(RepairTest, WhatARandomStretchOfDamageLeavesComesBack)
{
    for (int round = 0; round < 180; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        if (round % 30 == 0) WriteRandom(round / 30 % 6);
        const Bytes good = FileBytes();
        Cmn_Int64 toc = 0;
        const std::vector<Stream> streams = Streams(toc);
        const bool cuts = round % 3 == 0;
        const auto size = static_cast<Cmn_Int64>(good.size());
        Hit hit = {20 + static_cast<Cmn_Int64>(mRandom() % (good.size() - 20)), size};
        if (!cuts) hit.to = std::min(size, hit.from + 1 + static_cast<Cmn_Int64>(mRandom() % 400));
        if (round % 3 == 1) hit = {std::max<Cmn_Int64>(hit.from - toc, 20), size - 50}; // most of it
        Bytes damaged = good;
        if (cuts) damaged.resize(static_cast<std::size_t>(hit.from));
        for (Cmn_Int64 i = hit.from; !cuts && i < hit.to; ++i)
            damaged[static_cast<std::size_t>(i)] ^= static_cast<std::uint8_t>(1 + mRandom() % 255);
        mFiles.SetBytes(cPath, damaged);
        ExpectRepaired(streams, hit, !hit.Meets(toc, size));
        mFiles.SetBytes(cPath, good);
        if (HasFailure()) return;
    }
}

TEST_F(RepairTest, AnInterruptedAppendLosesNothingThatWasFlushedOrWhole)
{
    for (int type = 0; type <= 5; ++type) {
        SCOPED_TRACE("type " + std::to_string(type));
        WriteRandom(type);
        Cmn_Int64 toc = 0;
        std::vector<Stream> expected = Streams(toc);
        OpenDocument document(Sys_Store::eOpenFlag_ReadWrite);
        Sys_TypedOutStream out = document.MakeTypedOutStream();
        {
            FF_StreamHeaderWriter outer(&document, out, 5, 1);
            FF_StreamListWriter list(&document, out, 3);
            list.AddListEntry(1 - 1, "item");
            FF_StreamHeaderWriter item(&document, out, 6, 1);
            const Cmn_Int64 start = out.GetPosition();
            Write(document, 7, 4321);
            expected.push_back({"5[1]/6/7", start, out.GetPosition(), start, "", {}});
            out.WriteString(std::string(Sys_FileBasedOutStream::cBufferSize, 'x')); // and the machine stops
            mFiles.SetBytes("/songs/crash", FileBytes());
        }
        document.Close();
        mFiles.SetBytes(cPath, mFiles.GetBytes("/songs/crash"));
        const Report report = Repair();
        const auto repaired = ByKey(cRepaired);
        ASSERT_EQ(repaired.size(), expected.size());
        for (const Stream& stream : expected)
            EXPECT_TRUE(repaired.contains(stream.key)) << stream.key;
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
        OpenDocument document(Sys_Store::eOpenFlag_ReadWrite);
        WriteTrees(document, 2);
        document.Flush();
    }
    const auto expected = ByKey(cPath);
    Bytes torn = FileBytes();
    std::copy_n(before.begin(), 49, torn.begin()); // all but the last write of the flush
    mFiles.SetBytes(cPath, torn);
    const Report report = Repair(cPath);
    EXPECT_TRUE(report.hadTOC);
    EXPECT_EQ(report.withoutDescription, 0);
    EXPECT_EQ(ByKey(cPath), expected);
    OpenDocument document(Sys_Store::eOpenFlag_Read);
    const FF_Document::TOC& toc = document.GetTOC();
    for (FF_Document::TOC::Entry entry = 0; entry < toc.GetNumKeys(); ++entry)
        EXPECT_EQ(toc.GetValue(entry, 0).GetDisplayInfo().GetText(),
                  std::to_string(toc.GetKey(entry).GetContexts().back().GetStreamType()));
}

// Three pieces of stream 7, a list of plain items, and a stream that was written anew.
TEST_F(RepairTest, AnOldTableLendsPiecesItemsAndStates)
{
    const auto write = [this](FF_Document& ioDocument) {
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
        ioDocument.InvalidateKey(Key(8), 0);
        Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
        FF_Document::AddTOCEntry(&ioDocument, static_cast<Cmn_UInt64>(out.GetPosition()), 9, "list");
        FF_StreamHeaderWriter header(&ioDocument, out, 9, 1);
        FF_StreamListWriter list(&ioDocument, out, 2);
        for (int i = 0; i < 2; ++i) {
            list.AddListEntry(i, "plain");
            out.WriteInt32(i);
        }
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
        OpenDocument repaired(Sys_Store::eOpenFlag_Read, 0, cRepaired);
        EXPECT_EQ(Read(repaired, 7), 1);
        const std::string stretch =
            "49: expected whole streams, found in 32 bytes: stream 7 with a wrong body sum; ";
        if (hasTable) {
            EXPECT_EQ(lost, stretch + "49: expected stream 7 \"a number\", found nothing whole");
            EXPECT_EQ(repaired.GetTOC().Dump(),
                      "7  [49, 81]  a number\n8  Invalid  a number\n8 #1  [113]  moved\n"
                      "9  [145]  list\n9 #1  [177]  plain\n9 #2  [181]  plain\n");
        } else {
            EXPECT_EQ(lost, stretch +
                                "203: expected 2 items of stream 9, found 0 with a header of their own; "
                                "217: expected whole streams, found in 243 bytes: the table of "
                                "contents with a wrong body sum");
            EXPECT_EQ(repaired.GetTOC().Dump(), "7  [49, 81]  \n8  [113]  \n9  [145]  \n");
        }
        EXPECT_EQ(report.recovered, 4);
        EXPECT_EQ(report.withoutDescription, hasTable ? 0 : 4);
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
                OpenDocument document(Sys_Store::eOpenFlag_New, type);
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
                OpenDocument repaired(Sys_Store::eOpenFlag_Read, 0, cRepaired);
                EXPECT_EQ(Read(repaired, 7), 1234);
                EXPECT_EQ(repaired.IsSwapped(), swapped);
                EXPECT_EQ(repaired.GetEncryptionType(), type);
                EXPECT_TRUE(report.hadTOC && report.lost.empty());
                if (HasFailure()) return;
            }
        }
}

TEST_F(RepairTest, WhatIsNoDocumentBecomesAnEmptyOne)
{
    for (const std::size_t size : {0, 1, 19, 48, 5000}) {
        mFiles.SetBytes(cPath, Bytes(size, 'K'));
        const Report report = Repair();
        EXPECT_EQ(report.recovered, 0);
        EXPECT_FALSE(report.header.empty());
        EXPECT_TRUE(ByKey(cRepaired).empty());
    }
    // Where it cannot be read or written, nothing is left behind.
    mFiles.FailAt(3);
    EXPECT_EQ(MessageOf([] { Repair(); }), Cmn_eMessage_OSError);
    mFiles.Heal();
    EXPECT_FALSE(mFiles.Exists(std::string(cRepaired) + FF_SafeSave::cSuffix));
}

} // namespace
