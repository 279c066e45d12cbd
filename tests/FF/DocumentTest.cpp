#include "Bastel/Sys/Sys_FileBasedOutStream.h"
#include "FF/StDocument.h"

namespace {

constexpr Cmn_Int64 cFirstStream = 19 + 30; // behind the leading bytes and the header stream

class DocumentTest : public StDocument
{
protected:
    int OpenMessage(Sys_Store::EOpenFlag iFlag = Sys_Store::eOpenFlag_Read)
    {
        FF_Document document = Document();
        const int message = MessageOf([&] { document.Open(iFlag); });
        EXPECT_EQ(document.GetInFile() != nullptr, message == 0);
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
    void WriteNew(EFF_EncryptionType iType = eFF_EncryptionType_None)
    {
        FF_Document document = Document(iType);
        document.Open(Sys_Store::eOpenFlag_New);
        Write(document, 7, 1234);
        document.Flush();
    }
    // A document as another program may write it: stream 7 with 77, and a table that names it.
    struct Foreign
    {
        bool swap = false;
        Cmn_Int16 headerVersion = 1;
        int headerExtra = 0;             // bytes behind the TOC offset
        Cmn_Int64 tocOffset = cRightOne; // as it is written
        static constexpr Cmn_Int64 cRightOne = -1;
    };
    // Returns where the table lies.
    static Cmn_Int64 WriteForeign(const Foreign& iForeign, Cmn_Int64 iOffset)
    {
        Sys_File file{Sys_FileLoc(cPath)};
        file.Open(Sys_FileSystem::eAccess_New);
        const std::string leading = std::string("\3") + "0010111100101011" + (iForeign.swap ? '\1' : '\0') + '\0';
        EXPECT_EQ(file.Write(leading.data(), leading.size()), leading.size());
        Sys_FileBasedOutStream bytes(file);
        Sys_TypedOutStream out(bytes, iForeign.swap);
        {
            const Sys_StdStreamHeaderWriter header(out, "Z", iForeign.headerVersion);
            out.WriteUInt32(static_cast<Cmn_UInt32>(iOffset));
            for (int i = 0; i < iForeign.headerExtra; ++i)
                out.WriteUInt8(0xAB);
        }
        FF_Document::TOC toc;
        const std::vector<FF_Document::Context> key = {FF_Document::Context(7, 0)};
        const FF_Document::TOC::Entry entry = toc.Insert(key);
        toc.AddValue(entry, "seven");
        toc.AddOffset(entry, 0, static_cast<Cmn_UInt32>(out.GetPosition()));
        {
            const FF_StreamHeaderWriter header(nullptr, out, 7, 1);
            out.WriteInt32(77);
        }
        const Cmn_Int64 end = out.GetPosition();
        toc.StreamOut(out);
        bytes.Flush();
        return end;
    }
    static void WriteForeign(const Foreign& iForeign)
    {
        const Cmn_Int64 end = WriteForeign(iForeign, 0);
        WriteForeign(iForeign, iForeign.tocOffset == Foreign::cRightOne ? end : iForeign.tocOffset);
    }
};

TEST_F(DocumentTest, EveryVersionByte)
{
    WriteNew();
    for (int byte = 0; byte < 256; ++byte) {
        const int expected = byte == 3                ? 0
                             : byte < 3 || byte > 127 ? Cmn_eMessage_DocumentTooOld
                                                      : Cmn_eMessage_DocumentTooNew;
        EXPECT_EQ(MessageWithByte(0, byte), expected) << byte;
    }
}

TEST_F(DocumentTest, EverySignatureAndTypeByteAndEveryCut)
{
    WriteNew();
    for (std::size_t at = 1; at <= 16; ++at)
        EXPECT_EQ(MessageWithByte(at, '2'), Cmn_eMessage_ReadError) << at;
    for (int type = 6; type < 256; ++type)
        EXPECT_EQ(MessageWithByte(18, type), Cmn_eMessage_UnknownStreamType) << type;
    const Bytes whole = FileBytes();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        mFiles.SetBytes(cPath, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
        EXPECT_NE(OpenMessage(), 0) << size;
    }
    EXPECT_EQ(MessageOf([] { Document(eFF_EncryptionType_None, "/none").Open(Sys_Store::eOpenFlag_Read); }),
              Cmn_eMessage_OSError);
}

TEST_F(DocumentTest, WhatTheHeaderMayName)
{
    // clang-format off
    const struct { const char* name; Cmn_Int64 offset; Cmn_Int16 version; int message; } rows[] = {
        {"the table",                Foreign::cRightOne, 1, 0},
        {"nothing",                  0,                  1, Cmn_eMessage_NoTOC},
        {"the leading bytes",        18,                 1, Cmn_eMessage_NoTOC},
        {"the header's last byte",   cFirstStream - 1,   1, Cmn_eMessage_NoTOC},
        {"a stream of another type", cFirstStream,       1, Cmn_eMessage_UnexpectedStreamType},
        {"the midst of a stream",    cFirstStream + 1,   1, Cmn_eMessage_ReadError},
        {"past the end",             1000,               1, Cmn_eMessage_NoTOC},
        {"an older header",          Foreign::cRightOne, 0, Cmn_eMessage_DocumentTooOld},
        {"a newer header",           Foreign::cRightOne, 2, Cmn_eMessage_DocumentTooNew},
    };
    // clang-format on
    for (const auto& row : rows) {
        for (const auto flag : {Sys_Store::eOpenFlag_Read, Sys_Store::eOpenFlag_ReadWriteShared}) {
            WriteForeign({false, row.version, 0, row.offset});
            EXPECT_EQ(OpenMessage(flag), row.message) << row.name;
        }
    }
    WriteForeign({});
    mFiles.SetBytes(cPath, FileBytes()); // the end itself is past the end
    WriteForeign({false, 1, 0, static_cast<Cmn_Int64>(FileBytes().size())});
    EXPECT_EQ(OpenMessage(), Cmn_eMessage_NoTOC);
}

TEST_F(DocumentTest, ForeignDocumentsAreReadAndAppendedTo)
{
    for (const Foreign& foreign : {Foreign{false}, Foreign{true}, Foreign{true, 1, 9}}) {
        WriteForeign(foreign);
        FF_Document document = Document();
        for (const Cmn_Int16 added : {8, 9}) { // the second time over the table that the first one wrote
            document.Open(Sys_Store::eOpenFlag_ReadWrite);
            EXPECT_EQ(document.IsSwapped(), foreign.swap);
            Write(document, added, added * 11);
            document.Flush();
            document.Close();
        }
        document.Open(Sys_Store::eOpenFlag_Read);
        for (const Cmn_Int16 type : {7, 8, 9})
            EXPECT_EQ(Read(document, type), type * 11) << document.Dump();
    }
}

TEST_F(DocumentTest, FlushWithoutNewsRewritesTheSameBytes)
{
    for (int type = 0; type <= 5; ++type) {
        WriteNew(static_cast<EFF_EncryptionType>(type));
        const Bytes bytes = FileBytes();
        for (const auto flag : {Sys_Store::eOpenFlag_ReadWrite, Sys_Store::eOpenFlag_ReadWriteShared}) {
            FF_Document document = Document();
            document.Open(flag);
            EXPECT_EQ(document.GetEncryptionType(), type);
            const Cmn_UInt32 offset = document.GetTOCOffset();
            document.Flush();
            document.Flush();
            EXPECT_EQ(document.GetTOCOffset(), offset);
            EXPECT_EQ(FileBytes(), bytes) << type;
            EXPECT_EQ(Read(document, 7), 1234);
        }
    }
}

TEST_F(DocumentTest, AFlushThatFailedNamesTheOldTableAndMayBeTriedAgain)
{
    for (std::size_t n = 0, failed = 1; failed != 0; ++n) {
        WriteNew();
        FF_Document document = Document();
        document.Open(Sys_Store::eOpenFlag_ReadWrite);
        Write(document, 8, 88);
        const Bytes before = FileBytes();
        const Cmn_UInt32 offset = document.GetTOCOffset();
        mFiles.ClearLog();
        mFiles.FailAt(static_cast<int>(n + 1));
        failed = static_cast<std::size_t>(MessageOf([&] { document.Flush(); }));
        mFiles.Heal();
        const Bytes now = FileBytes();
        const bool isNamed = !std::equal(now.begin(), now.begin() + cFirstStream, before.begin());
        // Once the header is patched, only a wait can fail.
        EXPECT_TRUE(failed == 0 || !isNamed || mFiles.GetLog()[n].kind == MemoryFileSystem::eSync) << n;
        EXPECT_EQ(document.GetTOCOffset() == offset, failed != 0) << n;
        Write(document, 9, 99);
        document.Flush();
        EXPECT_EQ(Read(document, 8) + Read(document, 9), 88 + 99) << document.Dump();
    }
}

TEST_F(DocumentTest, WhatIsCompleteFitsTheSizeLimit)
{
    constexpr Cmn_Int64 cRoomForOne = 90; // a stream and its entry
    for (Cmn_Int64 limit = 150; limit < 1500; limit += 13) {
        FF_Document document = Document();
        document.Open(Sys_Store::eOpenFlag_New);
        document.SetSizeLimit(limit);
        Cmn_Int16 end = 10;
        const auto writeMany = [&] {
            for (;; ++end)
                Write(document, end, end);
        };
        EXPECT_THROW(writeMany(), Sys_StreamWriteException);
        document.Flush();
        document.Close();
        const auto size = static_cast<Cmn_Int64>(FileBytes().size());
        EXPECT_TRUE(size <= limit && size > limit - cRoomForOne) << size << " of " << limit;
        document.Open(Sys_Store::eOpenFlag_Read);
        EXPECT_EQ(document.GetTOC().GetNumKeys(), end - 10);
        for (Cmn_Int16 type = 10; type < end; ++type)
            EXPECT_EQ(Read(document, type), type);
    }
}

TEST_F(DocumentTest, EntriesOfAValue)
{
    FF_Document document = Document();
    document.Open(Sys_Store::eOpenFlag_New);
    const FF_Document::TOCKey key(7);
    document.AddTOCEntry(key, 1, 100, "nobody's");
    EXPECT_EQ(TakeReports(), "(Cmn_UInt32)iValueIndex <= values.size()");
    EXPECT_EQ(document.GetTOC().GetNumKeys(), 0);
    for (std::size_t i = 0; i < FF_Document::LocalLocation::cMaxOffsets; ++i)
        document.AddTOCEntry(key, 0, 100, "a piece");
    EXPECT_THROW(document.AddTOCEntry(key, 0, 100, "one too many"), std::length_error);
    EXPECT_FALSE(document.InvalidateKey(FF_Document::TOCKey(8), 0));
    EXPECT_FALSE(document.InvalidateKey(key, 1));
    EXPECT_EQ(TakeReports(), "");
    EXPECT_FALSE(document.InvalidateKey(key, 2));
    EXPECT_EQ(TakeReports(), "(Cmn_UInt32)iValueIndex <= values.size()");
    EXPECT_TRUE(document.InvalidateKey(key, 0));
    Sys_TypedInStream in = document.MakeTypedInStream();
    EXPECT_FALSE(document.SeekToStream(key, in));
    // Registered, and never written: the table must not name what is not there.
    document.AddTOCEntry(key, 0, static_cast<Cmn_UInt64>(cFirstStream), "starts anew");
    document.Flush();
    document.Close();
    EXPECT_EQ(OpenMessage(), 0);
}

TEST_F(DocumentTest, BrokenPreconditionsAreReportedAndHarmless)
{
    FF_Document document = Document();
    for (const bool isOpen : {false, true}) { // for reading
        EXPECT_THROW(document.MakeTypedOutStream().WriteBool(true), Sys_StreamWriteException);
        document.Flush();
        EXPECT_EQ(TakeReports(), "mOutStream | mOutStream");
        if (isOpen) break;
        EXPECT_THROW(document.MakeTypedInStream().ReadBool(), Sys_StreamReadException);
        document.PopContext();
        EXPECT_EQ(TakeReports(), "mInStream | !mCurrentContext.empty()");
        WriteNew();
        document.Open(Sys_Store::eOpenFlag_Read);
    }
    EXPECT_THROW(FF_Document::AddListEntry(&document, 0, ""), FF_Document::InvalidContextException);
    EXPECT_EQ(TakeReports(), "mDocument->mCurrentContext.back().mIsList");
    document.Close();

    document.Open(Sys_Store::eOpenFlag_ReadWrite);
    const Bytes before = FileBytes();
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

TEST_F(DocumentTest, ReadAheadIsTheStreamAtThePosition)
{
    FF_Document document = Document();
    document.Open(Sys_Store::eOpenFlag_New);
    Write(document, 7, 7);
    Sys_TypedOutStream out = document.MakeTypedOutStream();
    {
        const FF_StreamHeaderWriter header(&document, out, 8, 1);
        out.WriteString(std::string(std::size_t{2} << 20, 'x'));
    }
    document.Flush();
    Sys_TypedInStream in = document.MakeTypedInStream();
    const Cmn_Int64 positions[] = {cFirstStream, cFirstStream + 1, cFirstStream + 32};
    const Cmn_Int32 expected[] = {26 + 2 + 4, 8192, 1 << 20};
    for (int i = 0; i < 3; ++i) {
        in.SetPosition(positions[i]);
        EXPECT_EQ(document.GetReadAhead(in), expected[i]);
        EXPECT_EQ(in.GetPosition(), positions[i]);
    }
}

} // namespace
