#include "FF/StDocument.h"

namespace {

using Key = FF_Document::TOCKey;
using Context = FF_Document::Context;
using Reader = FF_StreamHeaderReader;

constexpr Cmn_Int16 cList = 4;
constexpr Cmn_Int16 cItem = 5;
constexpr Cmn_Int16 cAfter = 6;

class StreamHeaderTest : public StDocument
{
protected:
    // A list of three numbers, and a stream behind it.
    static void WriteSample(FF_Document* iDocument, Sys_TypedOutStream& ioOut)
    {
        WriteList(iDocument, ioOut, cList, 3, cItem);
        WriteList(iDocument, ioOut, cAfter, 0);
    }
};

TEST_F(StreamHeaderTest, ThreeItemsAreOneTwoThreeAndTheBytesAreTheSameWithoutDocument)
{
    Bytes streams[2];
    for (const bool hasDocument : {false, true}) {
        Document document(Sys_Store::eOpenFlag_New);
        Sys_TypedOutStream out = document.MakeTypedOutStream();
        const Cmn_Int64 start = out.GetPosition();
        for (const Cmn_Int16 type : {0, 2})
            EXPECT_THROW(FF_StreamHeaderWriter(&document, out, type, 1), Sys_StreamWriteException);
        WriteSample(hasDocument ? &document : nullptr, out);
        EXPECT_EQ(document.GetTOC().GetNumKeys(), hasDocument ? 2 : 0) << document.Dump();
        document.Flush();
        std::string items;
        for (const FF_StreamInfo& stream : FF_DocumentCheck::ListStreams(document))
            items += std::to_string(stream.mListIndex);
        EXPECT_EQ(items, "01230");
        const Bytes bytes = FileBytes();
        streams[hasDocument] = Bytes(bytes.begin() + start, bytes.begin() + document.GetTOCOffset());
    }
    EXPECT_EQ(streams[0], streams[1]);
}

TEST_F(StreamHeaderTest, WhatFollowsTheItemsInsideAListIsInNoneOfThem)
{
    Document document(Sys_Store::eOpenFlag_New);
    Sys_TypedOutStream out = document.MakeTypedOutStream();
    {
        document.AddTOCEntry(Key(cList), 0, static_cast<Cmn_UInt64>(out.GetPosition()), "list");
        const FF_StreamHeaderWriter header(&document, out, cList, 1);
        {
            FF_StreamListWriter list(&document, out, 1);
            list.AddListEntry(0, "item");
        }
        EXPECT_EQ(document.GetCurrentContext().back().GetListIndex(), 0);
        const FF_StreamHeaderWriter after(&document, out, cAfter, 1);
    }
    document.Flush();
    EXPECT_EQ(FF_DocumentCheck::ListStreams(document).back().mListIndex, 0U);

    Sys_TypedInStream in = document.MakeTypedInStream();
    ASSERT_TRUE(document.SeekToStream(Key(cList), in));
    const Reader header(&document, in, cList);
    FF_StreamListReader(&document, in).SeekToListEntry(0);
    EXPECT_EQ(document.GetCurrentContext().back().GetListIndex(), 0);
}

// Stream 7 is written in place with 70, behind an outermost stream 8; what is registered of it varies.
TEST_F(StreamHeaderTest, ReadersGoWhereTheTableSends)
{
    enum ERegistered { eNone, eHere, eElsewhere, eHereAndElsewhere, eInvalid };
    struct Row
    {
        const char* mName;
        ERegistered mRegistered;
        Reader::EUseExtendedTOC mUse;
        bool mStay;
        Cmn_Int32 mNumber;
    };
    const Row rows[] = {
        {"not registered", eNone, Reader::eUseExtendedTOC, false, 70},
        {"registered in place", eHere, Reader::eUseExtendedTOC, false, 70},
        {"written anew", eElsewhere, Reader::eUseExtendedTOC, false, 71},
        {"asked to stay", eElsewhere, Reader::eUseExtendedTOC, true, 70},
        {"the table is not asked", eElsewhere, Reader::eIgnoreExtendedTOC, false, 70},
        {"one of its pieces", eHereAndElsewhere, Reader::eUseExtendedTOC, false, 70},
        {"no longer valid", eInvalid, Reader::eUseExtendedTOC, false, -1},
        {"no longer valid, staying", eInvalid, Reader::eUseExtendedTOC, true, -1},
        {"no longer valid, not asked", eInvalid, Reader::eIgnoreExtendedTOC, false, 70},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mName);
        Document document(Sys_Store::eOpenFlag_New);
        Sys_TypedOutStream out = document.MakeTypedOutStream();
        const auto number = [&](Cmn_Int32 iNumber) {
            const auto start = static_cast<Cmn_UInt64>(out.GetPosition());
            const FF_StreamHeaderWriter header(&document, out, 7, 1);
            out.WriteInt32(iNumber);
            return start;
        };
        const std::uint64_t here = number(70);
        Write(document, 8, 80);
        const std::uint64_t elsewhere = number(71);
        const std::uint64_t offsets[] = {elsewhere, here};
        const bool isHere = row.mRegistered == eHere || row.mRegistered == eHereAndElsewhere;
        if (row.mRegistered != eNone) document.AddTOCEntry(Key(7), 0, offsets[row.mRegistered == eHere], "7");
        if (isHere) document.AddTOCEntry(Key(7), 0, here, "7");
        if (row.mRegistered == eInvalid) static_cast<void>(document.InvalidateKey(Key(7), 0));
        document.Flush();

        Sys_TypedInStream in = document.MakeTypedInStream();
        in.SetPosition(static_cast<Cmn_Int64>(here));
        Cmn_Int32 found = -1;
        try {
            const Reader header(&document, in, 7, row.mUse, row.mStay);
            EXPECT_EQ(Key(document.GetCurrentContext()), Key(7));
            EXPECT_EQ(header.IsRedirected(), row.mNumber == 71);
            found = in.ReadInt32();
            EXPECT_FALSE(header.IsMoreLeft());
        } catch (const FF_Document::InvalidContextException& exception) {
            EXPECT_EQ(exception.GetOffset(), static_cast<Cmn_Int64>(here));
            in.SetPosition(static_cast<Cmn_Int64>(here) + 26 + 2 + 4);
        }
        EXPECT_EQ(found, row.mNumber);
        EXPECT_TRUE(document.GetCurrentContext().empty());
        EXPECT_EQ(Reader::GetNextStreamType(in), 8) << "the input stands behind the one in place";
    }
}

TEST_F(StreamHeaderTest, ItemsAreFoundByTableAndByWalk)
{
    Document document(Sys_Store::eOpenFlag_New);
    Sys_TypedOutStream out = document.MakeTypedOutStream();
    WriteSample(&document, out);
    static_cast<void>(document.InvalidateKey(Key(cList), 2));
    document.Flush();
    enum EFound : Cmn_Int32 { eThrows = -1, eReports = -2 };
    struct Row
    {
        const char* mName;
        bool mHasDocument;
        Reader::EUseExtendedTOC mUse;
        Cmn_Int32 mItem;
        Cmn_Int32 mFound;
    };
    const Row rows[] = {
        {"by the table", true, Reader::eUseExtendedTOC, 2, 2},
        {"an invalid one", true, Reader::eUseExtendedTOC, 1, eThrows},
        {"as many as there are", true, Reader::eUseExtendedTOC, 3, eThrows},
        {"one more", true, Reader::eUseExtendedTOC, 4, eReports},
        {"the list itself is no item", true, Reader::eUseExtendedTOC, -1, eThrows},
        {"a walk asks no table", true, Reader::eIgnoreExtendedTOC, 1, 1},
        {"a walk without document", false, Reader::eUseExtendedTOC, 2, 2},
        {"a walk past the last", false, Reader::eUseExtendedTOC, 3, eThrows},
        {"a walk before the first", false, Reader::eUseExtendedTOC, -1, eThrows},
    };
    Sys_TypedInStream in = document.MakeTypedInStream();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mName);
        EXPECT_TRUE(document.SeekToStream(Key(cList), in));
        FF_Document* const with = row.mHasDocument ? &document : nullptr;
        Cmn_Int32 found = eThrows;
        {
            const Reader header(with, in, cList, row.mUse);
            FF_StreamListReader list(with, in);
            EXPECT_EQ(list.GetNumItems(), 3);
            try {
                list.SeekToListEntry(row.mItem);
                found = eReports;
                EXPECT_EQ(list.GetCurrentItem(), row.mFound == eReports ? -1 : row.mItem);
                if (row.mFound != eReports) found = (Reader(with, in, cItem), in.ReadInt32());
            } catch (const FF_Document::InvalidContextException&) {
                EXPECT_EQ(list.GetCurrentItem(), -1);
            }
        }
        EXPECT_EQ(TakeReports(), row.mFound == eReports ? "iListIndex <= (Cmn_Int32)values.size()" : "");
        EXPECT_EQ(found, row.mFound);
        EXPECT_EQ(Reader::GetNextStreamType(in), cAfter);
    }
}

} // namespace
