#include "FF/HandMade.h"
#include "FF/StDocument.h"

#include "Bastel/Sys/Sys_Clock.h"
#include "Kora/FF/Document/FF_SafeSave.h"

#include <map>
#include <random>
#include <set>

namespace {

using Key = FF_Document::TOCKey;

constexpr Cmn_Int64 cFirstStream = 19 + 30; // behind the leading bytes and the header stream

class DocumentTest : public StDocument
{
protected:
    int OpenMessage()
    {
        Document document;
        const int message = MessageOf([&] { document.Open(Sys_Store::eOpenFlag_Read); });
        EXPECT_TRUE(document.IsOpen() == (message == 0) && !document.IsWritable());
        EXPECT_EQ(mFiles.GetNumOpen() != 0, message == 0);
        return message;
    }
    int MessageWithByte(std::size_t iAt, int iByte)
    {
        const Bytes before = FileBytes();
        Bytes bytes = before;
        bytes[iAt] = static_cast<std::uint8_t>(iByte);
        mFiles.SetBytes(cPath, bytes);
        const int message = OpenMessage();
        mFiles.SetBytes(cPath, before);
        return message;
    }
    static void WriteNew()
    {
        Document document(Sys_Store::eOpenFlag_New);
        Write(document, 7, 77);
        document.AddTOCEntry(Key(7), 1, cFirstStream, "caf\xE9");
        document.Flush();
    }
};

TEST_F(DocumentTest, EveryLeadingByte)
{
    WriteNew();
    for (int byte = 0; byte < 256; ++byte) {
        const bool isOld = byte < 3 || byte > 127;
        EXPECT_EQ(MessageWithByte(0, byte), byte == 3 ? 0
                                            : isOld   ? Cmn_eMessage_DocumentTooOld
                                                      : Cmn_eMessage_DocumentTooNew);
        if (byte <= 5) continue;
        EXPECT_EQ(MessageWithByte(18, byte), Cmn_eMessage_UnknownStreamType) << byte;
    }
    for (std::size_t at = 1; at <= 16; ++at)
        EXPECT_EQ(MessageWithByte(at, '2'), Cmn_eMessage_ReadError) << at;
}

TEST_F(DocumentTest, WhatAHeaderMaySay)
{
    // clang-format off
    const struct { const char* mName; HandMade::Form mForm; int mMessage; } rows[] = {
        {"the table",                {},                              0},
        {"swapped",                  {.mSwap = true},                  0},
        {"more than is known",       {.mSwap = true, .mHeaderExtra = 9}, 0},
        {"an older one",             {.mHeaderVersion = 0},            Cmn_eMessage_DocumentTooOld},
        {"a newer one",              {.mHeaderVersion = 2},            Cmn_eMessage_DocumentTooNew},
        {"no table",                 {.mTocOffset = 0},                Cmn_eMessage_NoTOC},
        {"the header's last byte",   {.mTocOffset = cFirstStream - 1}, Cmn_eMessage_NoTOC},
        {"a stream of another type", {.mTocOffset = cFirstStream},     Cmn_eMessage_UnexpectedStreamType},
        {"the midst of a stream",    {.mTocOffset = cFirstStream + 1}, Cmn_eMessage_ReadError},
        {"the end of the file",      {.mTocOffset = 167},              Cmn_eMessage_NoTOC},
        {"an entry in the header",   {.mEntry = cFirstStream - 1},     Cmn_eMessage_ReadError},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mName);
        HandMade::Write(mFiles, cPath, row.mForm);
        EXPECT_EQ(OpenMessage(), row.mMessage) << FileBytes().size();
        // What can be read can be appended to, the second time over the table of the first.
        for (Cmn_Int16 added = 8; row.mMessage == 0 && added < 10; ++added) {
            Document document;
            document.Open(added == 8 ? Sys_Store::eOpenFlag_ReadWrite : Sys_Store::eOpenFlag_ReadWriteShared);
            Write(document, added, added * 11);
            document.Flush();
            document.Close();
            document.Open(Sys_Store::eOpenFlag_Read);
            for (Cmn_Int16 type = 7; type <= added; ++type)
                EXPECT_EQ(Read(document, type), type == 7 ? 1234 : type * 11) << document.Dump();
        }
    }
}

TEST_F(DocumentTest, WhatIsCompleteFitsTheSizeLimit)
{
    constexpr Cmn_Int64 cRoomForOne = 90; // a stream and its entry
    for (Cmn_Int64 limit = 150; limit < 1500; limit += 13) {
        Document document(Sys_Store::eOpenFlag_New);
        document.SetSizeLimit(limit);
        Cmn_Int16 end = 10;
        const auto writeMany = [&] {
            for (;; ++end)
                Write(document, end, end);
        };
        EXPECT_EQ(MessageOf(writeMany), Cmn_eMessage_WriteError);
        document.Flush();
        const auto size = static_cast<Cmn_Int64>(FileBytes().size());
        EXPECT_TRUE(size <= limit && size > limit - cRoomForOne) << size << " of " << limit;
        EXPECT_EQ(document.GetTOC().GetNumKeys(), end - 10);
        for (Cmn_Int16 type = 10; type < end; ++type)
            EXPECT_EQ(Read(document, type), type);
    }
}

TEST_F(DocumentTest, AnEntryThatWouldLeaveNoRoomForTheTableIsRefused)
{
    Cmn_Int64 growth = 0;
    for (Cmn_Int64 room = -1; room < 60; ++room) { // without a limit first
        Document document(Sys_Store::eOpenFlag_New);
        Write(document, 7, 1);
        const FF_Document::TOC& toc = document.GetTOC();
        const Cmn_Int64 before = toc.GetStreamSize();
        if (room >= 0) document.SetSizeLimit(document.MakeTypedOutStream().GetPosition() + before + room);
        const int message = MessageOf([&] { document.AddTOCEntry(Key(8), 0, cFirstStream, "text"); });
        if (room < 0) growth = toc.GetStreamSize() - before;
        const bool fits = room < 0 || room >= growth;
        EXPECT_EQ(message, fits ? 0 : Cmn_eMessage_WriteError) << room;
        EXPECT_EQ(toc.GetStreamSize(), fits ? before + growth : before) << room;
    }
    EXPECT_TRUE(growth > 1 && growth < 59);
}

// Whose table takes some 200 KB, most of them for 3000 streams, some for a list of as many items.
class LongTable : public DocumentTest
{
protected:
    static constexpr Cmn_Int16 cList = 40;
    static constexpr Cmn_Int16 cBegin = 1000;
    static constexpr Cmn_Int16 cEnd = 4000;

    LongTable()
    {
        Document document(Sys_Store::eOpenFlag_New);
        Sys_TypedOutStream out = document.MakeTypedOutStream();
        for (Cmn_Int16 type = cBegin; type < cEnd; ++type)
            Write(document, type, type);
        WriteList(&document, out, cList, cEnd - cBegin);
        document.Flush();
        mDump = document.GetTOC().Dump();
    }
    std::string mDump;
};

TEST_F(LongTable, IsReadAsFarAsItIsAskedFor)
{
    mFiles.ClearLog();
    Document document(Sys_Store::eOpenFlag_Read);
    EXPECT_EQ(Read(document, cEnd - 1), cEnd - 1);
    std::size_t numBytes = 0;
    for (const auto& request : mFiles.GetLog())
        numBytes += request.mKind == MemoryFileSystem::eRead ? request.mCount : 0;
    EXPECT_LT(numBytes, 65536u);

    for (Cmn_Int16 type = cBegin - 1; type <= cEnd; ++type)
        EXPECT_EQ(Read(document, type), type < cBegin || type == cEnd ? -1 : type);
    Sys_TypedInStream in = document.MakeTypedInStream();
    EXPECT_TRUE(document.SeekToStream(Key(cList), in));
    {
        const FF_StreamHeaderReader header(&document, in, cList, FF_StreamHeaderReader::eUseExtendedTOC);
        FF_StreamListReader list(&document, in);
        for (Cmn_Int32 i = 0; i < list.GetNumItems(); ++i) {
            const Cmn_Int32 item = i * 7 % list.GetNumItems();
            list.SeekToListEntry(item);
            EXPECT_EQ(in.ReadInt32(), item);
        }
    }
    EXPECT_EQ(document.GetTOC().Dump(), mDump);
    // A change reads all of it.
    EXPECT_TRUE(document.InvalidateKey(Key(cBegin), 0));
    EXPECT_EQ(Read(document, cBegin), -1);
    EXPECT_EQ(Read(document, cBegin + 1), cBegin + 1);
}

TEST_F(LongTable, IsRefusedWhereItIsDamagedAndReadElsewhere)
{
    Bytes bytes = FileBytes();
    bytes[bytes.size() - 100000] ^= 1;
    mFiles.SetBytes(cPath, bytes);
    Document document(Sys_Store::eOpenFlag_Read);
    int numRefused = 0;
    for (Cmn_Int16 type = cBegin; type < cEnd; ++type) {
        Cmn_Int32 found = -1;
        if (MessageOf([&] { found = Read(document, type); }) == 0) {
            EXPECT_EQ(found, type);
            continue;
        }
        ++numRefused;
        EXPECT_THROW(static_cast<void>(FF_StSetStreamContext(document, Key(type))), Sys_StreamReadException);
        EXPECT_TRUE(document.GetCurrentContext().empty());
    }
    EXPECT_GT(numRefused, 50);
    EXPECT_LT(numRefused, 300);
    EXPECT_EQ(FF_DocumentCheck::Check(Sys_FileLoc(cPath)).size(), 1u);
    document.Close();
    EXPECT_EQ(MessageOf([&] { document.Open(Sys_Store::eOpenFlag_ReadWrite); }), Cmn_eMessage_ReadError);
}

TEST_F(DocumentTest, EntriesOfAValue)
{
    WriteNew();
    Document document(Sys_Store::eOpenFlag_ReadWrite);
    document.AddTOCEntry(Key(8), 1, 100, "nobody's");
    EXPECT_FALSE(document.InvalidateKey(Key(7), 3));
    EXPECT_EQ(TakeReports(),
              "(Cmn_UInt32)iValueIndex <= values.size() | (Cmn_UInt32)iValueIndex <= values.size()");
    EXPECT_FALSE(document.InvalidateKey(Key(8), 0) || document.InvalidateKey(Key(7), 2));
    EXPECT_TRUE(document.InvalidateKey(Key(7), 0));
    EXPECT_EQ(Read(document, 7), -1);
    // Registered and never written: the table must not name what is not there.
    document.AddTOCEntry(Key(9), 0, document.GetTOCOffset(), "nothing");
    document.Flush();
    EXPECT_EQ(document.GetTOC().GetNumKeys(), 1);
    document.Close();
    EXPECT_EQ(OpenMessage(), 0);
}

TEST_F(DocumentTest, OptionsGiveTheFileThatTheLongConstructorsGive)
{
    constexpr Sys_Clock::Source cStill = {[] { return Cmn_Int64{77}; }, [] { return Cmn_Int64{77}; }};
    const Sys_Clock::StSource clock(cStill); // the key of a mask is the time's
    const auto fill = [](FF_Document& ioDocument) {
        Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
        ioDocument.AddTOCEntry(Key(7), 0, static_cast<Cmn_UInt64>(out.GetPosition()), "caf\xE9");
        const FF_StreamHeaderWriter header(&ioDocument, out, 7, 1);
        out.WriteString("na\xEFve");
    };
    const auto written = [&](const auto&... iOptions) {
        FF_Document document(Sys_FileLoc(cPath), iOptions...);
        document.Open(Sys_Store::eOpenFlag_New);
        fill(document);
        document.Flush();
        return FileBytes();
    };
    const auto saved = [&](const auto&... iOptions) {
        FF_SafeSave save(Sys_FileLoc(cPath), iOptions...);
        fill(save.GetDocument());
        save.Commit();
        return FileBytes();
    };
    std::set<Bytes> files;
    for (int row = 0; row < 6 * 2 * 2; ++row) {
        const auto type = static_cast<EFF_EncryptionType>(row / 4);
        const auto text = static_cast<ETextEncoding>(row / 2 % 2);
        const bool repair = row % 2 != 0;
        const FF_DocumentOptions options = {.mType = type, .mEncoding = text, .mRepairText = repair};
        const Bytes file = written(type, text, repair);
        EXPECT_EQ(written(options), file) << row;
        EXPECT_EQ(saved(type, text, repair), saved(options)) << row;
        EXPECT_EQ(saved(options), file) << row;
        files.insert(file);
    }
    EXPECT_EQ(files.size(), 6u * 3) << "each option shows, but nothing is ill-formed in Latin 1";
    EXPECT_EQ(written(), written(eFF_EncryptionType_None, eTextEncoding_Utf8, false));
    EXPECT_EQ(saved(), written());
}

TEST_F(DocumentTest, BrokenPreconditionsAreReportedAndHarmless)
{
    WriteNew();
    const Bytes before = FileBytes();
    Document document;
    for (const int flag : {0, 5})
        document.Open(static_cast<Sys_Store::EOpenFlag>(flag));
    const std::string range = "iFlag >= eOpenFlag_Read && iFlag <= eOpenFlag_ReadWriteShared";
    EXPECT_EQ(TakeReports(), range + " | " + range);
    for (const auto flag : {Sys_Store::eOpenFlag_Closed, Sys_Store::eOpenFlag_Read}) {
        if (flag != Sys_Store::eOpenFlag_Closed) document.Open(flag);
        EXPECT_THROW(document.MakeTypedOutStream().WriteBool(true), Sys_StreamWriteException);
        document.Flush();
        document.PopContext();
        EXPECT_EQ(MessageOf([&] { FF_Document::AddListEntry(&document, 0, ""); }),
                  Cmn_eMessage_InvalidContext);
        EXPECT_EQ(TakeReports(), "mOutStream | mOutStream | !mCurrentContext.empty() | "
                                 "mDocument->mCurrentContext.back().mIsList");
    }
    document.Close();
    document.Open(Sys_Store::eOpenFlag_ReadWrite);
    document.Open(Sys_Store::eOpenFlag_Read);
    EXPECT_EQ(TakeReports(), "!this->IsOpen()");
    EXPECT_TRUE(document.IsWritable());
    {
        Sys_TypedOutStream out = document.MakeTypedOutStream();
        const FF_StreamHeaderWriter header(&document, out, 8, 1);
        document.Flush();
        EXPECT_EQ(TakeReports(), "mOutStream->GetOpenHeaders().IsEmpty()");
        document.Close();
        EXPECT_NE(TakeReports(), "");
        EXPECT_EQ(mFiles.GetNumOpen(), 0u);
    }
    EXPECT_EQ(TakeReports(), "!mCurrentContext.empty()");
    EXPECT_EQ(FileBytes(), before);
}

// A long table stays in its file. Items at even and at uneven distances, several keys of one beginning, and such as
// end in the next page.
TEST_F(DocumentTest, EveryKeyOfALongTableIsFoundInItsFileAndNoOther)
{
    using Context = FF_Document::Context;
    std::mt19937 random(5);
    const auto below = [&](int iEnd) { return static_cast<int>(random() % static_cast<unsigned>(iEnd)); };
    const auto type = [&](int iFirst) { return static_cast<Cmn_Int16>(iFirst + below(3)); };
    std::map<Key, Cmn_Int64> places;
    for (int i = 0; i < 6000; ++i) {
        const int item = i % 2 == 0 ? i / 8 : below(1 << 20); // four keys of each even one
        std::vector<Context> contexts = {Context(static_cast<Cmn_Int16>(20 + item % 3), 0, true, item)};
        for (int depth = below(4); depth > 0; --depth)
            contexts.emplace_back(type(-1), 0, false, below(2));
        places.emplace(Key(contexts), cFirstStream + i);
    }
    {
        Document document(Sys_Store::eOpenFlag_New);
        Sys_TypedOutStream out = document.MakeTypedOutStream();
        {
            const FF_StreamHeaderWriter header(&document, out, 7, 1);
            out.WriteString(std::string(6000, 'x'));
        }
        for (const auto& [key, place] : places)
            document.AddTOCEntry(key, 0, static_cast<Cmn_UInt64>(place), std::string(random() % 200, 'd'));
        document.Flush();
    }
    Document document(Sys_Store::eOpenFlag_Read);
    Sys_TypedInStream in = document.MakeTypedInStream();
    const auto look = [&](const Key& iKey) {
        const auto place = places.find(iKey);
        in.SetPosition(cFirstStream - 1);
        EXPECT_EQ(document.SeekToStream(iKey, in), place != places.end()) << iKey.Dump();
        EXPECT_EQ(in.GetPosition(), place == places.end() ? cFirstStream - 1 : place->second) << iKey.Dump();
    };
    for (const auto& each : places) {
        look(each.first);
        Key near = each.first;
        Context& context = near.GetContexts()[random() % near.GetContexts().size()];
        context.SetListIndex(context.GetListIndex() + 1);
        look(near);
        look(each.first.Inside(Context(type(-1))));
    }
}

} // namespace
