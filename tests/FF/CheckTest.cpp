#include "FF/HandMade.h"
#include "FF/StDocument.h"
#include "Kora/FF/Rescue/FF_DocumentCheck.h"
#include "Kora/FF/Rescue/FF_DocumentRepair.h"

#include <functional>
#include <regex>

namespace {

using Key = FF_Document::TOCKey;

class CheckTest : public StDocument
{
protected:
    // bytes 49 to 81   stream 7, a number
    //       81 to 177  stream 40, a list; its items 113 to 145 and 145 to 177, each stream 41, a number
    //       177        the table
    void WriteSong(const std::function<void(FF_Document&)>& iMore = nullptr)
    {
        Document document(Sys_Store::eOpenFlag_New);
        Write(document, 7, 1234);
        Sys_TypedOutStream out = document.MakeTypedOutStream();
        WriteList(&document, out, 40, 2, 41);
        if (iMore) iMore(document);
        document.Flush();
    }
    // Eight digits of a sum, a word of their own, become "#".
    static std::string WithoutSums(const std::string& iText)
    {
        return std::regex_replace(iText, std::regex(" [0-9A-F]{8}\\b"), " #");
    }
    std::string Faults(const char* iPath = cPath)
    {
        return WithoutSums(Text(FF_DocumentCheck::Check(Sys_FileLoc(iPath))));
    }
};

// Each row damages one place of the song; bytes are inverted where no value is given.
using Damage = std::vector<std::pair<std::size_t, int>>; // offsets and values

TEST_F(CheckTest, EachFaultIsNamedWhereItIs)
{
    constexpr int cInvert = -1;
    const char* const cNoHeader = "19: expected the header stream, found no sound header of one";
    struct Row
    {
        const char* mName;
        Damage mDamage;
        const char* mFaults;
    };
    const Row cRows[] = {
        {"version", {{0, 4}}, "0: expected format version 3, found 4"},
        {"signature", {{16, 'x'}}, "16: expected the signature 0010111100101011, found other bytes"},
        {"byte order", {{17, 1}}, "17: expected byte-swap flag 0, found 1"},
        {"mask type", {{18, 3}}, "18: expected encryption type 0, found 3"},
        {"mask type unknown", {{18, 200}}, "18: expected encryption type 0, found 200"},
        {"header stream", {{20, cInvert}}, cNoHeader},
        {"TOC offset", {{45, cInvert}}, "45: expected body sum of the header stream #, found #"},
        {"magic", {{49, 'k'}}, "49: expected a stream header, found 32 bytes that hold none"},
        {"header's size", {{63, cInvert}}, "49: expected a stream header, found 32 bytes that hold none"},
        {"all to the table",
         {{81, cInvert}, {113, cInvert}, {145, cInvert}},
         "81: expected a stream header, found 96 bytes that hold none; "
         "113: expected item 0 of stream 40 of the table of contents, found no stream header; "
         "145: expected item 1 of stream 40 of the table of contents, found no stream header"},
        {"header's sum", {{72, cInvert}}, "49: expected header sum #, found #"},
        {"list's sum", {{104, cInvert}}, "81: expected header sum #, found #"},
        {"body", {{80, cInvert}}, "75: expected body sum of stream 7 #, found #"},
        {"list's count", {{109, 3}}, "107: expected body sum of stream 40 #, found #"},
        {"item's body", {{144, cInvert}}, "139: expected body sum of stream 40[1]/41 #, found #"},
        {"item's header", {{145, cInvert}}, "107: expected body sum of stream 40 #, found #"},
        {"table's header",
         {{177, cInvert}},
         "177: expected the table of contents, found no sound header of one"},
        {"table's body", {{205, cInvert}}, "203: expected body sum of the table of contents #, found #"},
        {"several",
         {{0, 2}, {80, cInvert}, {205, cInvert}},
         "0: expected format version 3, found 2; 75: expected body sum of stream 7 #, found #; "
         "203: expected body sum of the table of contents #, found #"},
    };
    WriteSong();
    ASSERT_EQ(Faults(), "");
    const Bytes good = FileBytes();
    for (const auto& row : cRows) {
        Bytes bytes = good;
        for (const auto& [at, value] : row.mDamage)
            bytes[at] = static_cast<std::uint8_t>(value == cInvert ? ~bytes[at] : value);
        mFiles.SetBytes(cPath, bytes);
        EXPECT_EQ(Faults(), row.mFaults) << row.mName;
    }
    Bytes longer = good;
    longer.push_back(0);
    mFiles.SetBytes(cPath, longer);
    EXPECT_EQ(Faults(), std::to_string(good.size()) +
                            ": expected the end of the file, found 1 byte behind the table of contents");
    mFiles.SetBytes(cPath, Bytes(good.begin(), good.begin() + 150));
    EXPECT_EQ(Faults(), "45: expected a TOC offset from 49 to 149, found 177; "
                        "81: expected a body of 70 bytes of stream 40, found 43 bytes before the end");
    EXPECT_EQ(MessageOf([] { static_cast<void>(FF_DocumentCheck::Check(Sys_FileLoc("nowhere"))); }),
              Cmn_eMessage_OSError);
}

TEST_F(CheckTest, EntriesPointAtWhatTheyName)
{
    const auto path = [](Cmn_Int32 iItem, Cmn_Int16 iType) {
        return Key(std::vector{FF_Document::Context(40, 0, true, iItem), FF_Document::Context(iType)});
    };
    struct Row
    {
        const char* mName;
        Key mKey;
        Cmn_Int32 mValue;
        Cmn_UInt64 mPosition;
        const char* mFaults;
    };
    const Row cRows[] = {
        {"a second piece", Key(7), 0, 49, ""},
        {"nested", path(2, 41), 0, 145, ""},
        {"outside what it was in", path(1, 7), 0, 49, ""}, // written anew at the end
        {"plain data as an item", Key(40), 3, 150, ""},
        {"another type", Key(9), 0, 49, "49: expected stream 9 of the table of contents, found stream 7"},
        {"another item", path(1, 41), 0, 145,
         "145: expected stream 40[1]/41 of the table of contents, found stream 40[2]/41"},
        {"no header", Key(7), 0, 50,
         "50: expected stream 7 of the table of contents, found no stream header"},
        {"an item elsewhere", Key(40), 3, 60,
         "60: expected item 2 of stream 40 of the table of contents, found no stream header"},
    };
    for (const auto& row : cRows) {
        WriteSong([&](FF_Document& o) { o.AddTOCEntry(row.mKey, row.mValue, row.mPosition, "more"); });
        EXPECT_EQ(Faults(), row.mFaults) << row.mName;
    }
}

TEST_F(CheckTest, AHeaderOfAnotherNameIsNoKeysStream)
{
    std::string at;
    WriteSong([&](FF_Document& ioDocument) {
        Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
        ioDocument.AddTOCEntry(Key(0), 0, static_cast<Cmn_UInt64>(out.GetPosition()), "");
        at = std::to_string(out.GetPosition());
        const Sys_StdStreamHeaderWriter other(out, "other", 1);
    });
    EXPECT_EQ(Faults(), at + ": expected stream 0 of the table of contents, found \"other\"");
}

// A scan that looks at a file in pieces took the bytes before a header, at a piece's end, for a part of its
// magic.
TEST_F(CheckTest, AHeaderIsFoundWhereverPiecesOfTheFileEnd)
{
    for (std::size_t before = 0; before < 600; ++before) {
        Document document(Sys_Store::eOpenFlag_New);
        {
            Sys_TypedOutStream out = document.MakeTypedOutStream();
            const FF_StreamHeaderWriter around(&document, out, 50, 1);
            const Bytes filler(before, 'K');
            out.WriteBytes(filler.data(), filler.size());
            Write(document, 7, 1234);
        }
        document.Flush();
        document.Close();
        EXPECT_EQ(Faults(), "") << before;
    }
}

// What a hostile file claims costs no more than what it is long, to walk and to repair.
TEST_F(CheckTest, HostileNestingsAreReadOnce)
{
    enum EShape { eDeep, eBeyondTheEnd, eMagicOnly, eUnfinished };
    for (const EShape shape : {eDeep, eBeyondTheEnd, eMagicOnly, eUnfinished}) {
        constexpr std::size_t cHeader = 26;
        constexpr std::size_t cNumHeaders = 20000;
        Document document(Sys_Store::eOpenFlag_New);
        document.Flush();
        document.Close();
        Bytes bytes = FileBytes();
        bytes.resize(49); // without its table
        for (std::size_t i = 0; i < cNumHeaders; ++i) {
            HandMade::AppendHeader(
                bytes, shape == eUnfinished ? 0xFFFFFFFF
                       : shape == eDeep ? static_cast<Cmn_UInt32>((cNumHeaders - 1 - i) * (cHeader + 2) + 2)
                                        : 0xFFFFFF);
            if (shape == eMagicOnly) bytes.resize(bytes.size() - 20);
            bytes.insert(bytes.end(), {9, 0});
        }
        mFiles.SetBytes(cPath, bytes);
        mFiles.ClearLog();
        EXPECT_NE(Faults(), "");
        static_cast<void>(FF_DocumentRepair::Repair(Sys_FileLoc(cPath), Sys_FileLoc("/songs/repaired")));
        std::size_t numBytes = 0;
        for (const auto& request : mFiles.GetLog())
            if (request.mKind == MemoryFileSystem::eRead && request.mPath == cPath)
                numBytes += request.mCount;
        EXPECT_LE(numBytes, 5 * bytes.size() + 200000) << "shape " << shape;
        EXPECT_LE(mFiles.GetBytes("/songs/repaired").size(), 64 * bytes.size());
        EXPECT_EQ(Faults("/songs/repaired"), "");
    }
}

} // namespace
