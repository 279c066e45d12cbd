#include "Kora/FF/Document/FF_Document_TOC.h"

#include "Bastel/Sys/Sys_ByteOrder_p.h"
#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Support/AllocationCounter.h"
#include "Support/AssertRecorder.h"
#include "Support/StreamBytes.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace {

using TOC = FF_Document::TOC;
using Context = FF_Document::Context;
using TOCKey = FF_Document::TOCKey;
using TOCValue = FF_Document::TOCValue;

constexpr Cmn_Int64 cEnd = 0x10000;
constexpr std::size_t cStdHeader = 26; // in front of the stream type

Bytes Streamed(const TOC& iTable, bool iSwap)
{
    Sys_MemOutStream bytes;
    Sys_TypedOutStream stream(bytes, iSwap);
    iTable.StreamOut(stream);
    return bytes.TakeBytes();
}

void Read(TOC& ioTable, const Bytes& iBytes, bool iSwap = false)
{
    Sys_MemInStream bytes(iBytes);
    Sys_TypedInStream stream(bytes, iSwap);
    ioTable.StreamIn(stream, cEnd);
    EXPECT_EQ(stream.GetBytesLeft(), 0);
}

// A table's stream with that body, from the count of keys on.
Bytes Framed(std::string_view iBody, Cmn_Int16 iType = 2, Cmn_Int16 iVersion = 2)
{
    Sys_MemOutStream bytes;
    Sys_TypedOutStream stream(bytes);
    Sys_StdStreamHeaderWriter header(stream, "Z", iVersion);
    stream.WriteInt16(iType);
    const Bytes body = FromHex(iBody);
    stream.WriteBytes(body.data(), body.size());
    header.PatchSize();
    return bytes.TakeBytes();
}

std::string Times(int iCount, const std::string& iText)
{
    std::string text;
    for (int i = 0; i < iCount; ++i)
        text += iText;
    return text;
}

// Two keys: a list with two items, whose second lies in two pieces, and a stream that
// knows no part of its value.
const std::string cSmallBody = "02000000"
                               " 01000000 0400 FFFFFFFF 01 00000000" // {4}, a list
                               " 02000000"
                               "  01 0600 0100 1A000000   01 0600 02000000 C3A9   00 0000"
                               "  01 0A00 0200 40000000 80000000   01 0400 00000000   00 0000"
                               " 02000000 0400 1A000000 01 02000000  F0FF 40000000 00 00000000" // {4[2], -16}
                               " 01000000"
                               "  00 0500 00 0200 09 0200 AABB   07 0100 CC   05 0300 DDEEFF";

TEST(TOC, BytesAreAsTheFormatSays)
{
    TOC table;
    const TOC::Entry inner = table.Insert(std::vector{Context(4, 26, true, 2), Context(-16, 64)});
    table.AddValue(inner, "to be replaced");
    const TOC::Entry list = table.Insert(std::vector{Context(4, 500)});
    table.SetIsList(list, true);
    table.Insert(std::vector{Context(4, Context::cNoParent)});
    table.AddValue(list, "\xC3\xA9");
    table.AddOffset(list, 0, 26);
    table.AddValue(list, "");
    table.AddOffset(list, 1, 64);
    table.AddOffset(list, 1, 128);

    TOC read;
    Read(read, Framed(cSmallBody));
    EXPECT_EQ(Streamed(read, false), Framed(cSmallBody));
    EXPECT_EQ(read.GetKey(0).GetContexts()[0].GetParentPosition(), Context::cNoParent);
    EXPECT_EQ(read.Insert(std::vector{Context(4, 500)}), 0); // takes the parent position
    table.SetValue(inner, 0, read.GetValue(1, 0));
    EXPECT_EQ(Streamed(read, false), Streamed(table, false));
    EXPECT_EQ(read.Dump(), "4  [26]  \xC3\xA9\n"
                           "4 #1  [64, 128]  \n"
                           "4[2]/-16  Invalid [2 bytes]  <NO DISPLAY INFO>\n");
}

// --- Random scripts against a plain model

struct PlainValue
{
    std::size_t mPlains = 0; // in front of the last location
    int mLocationType = 1;
    std::vector<Cmn_UInt32> mOffsets{};
    std::string mLocation{};
    int mDisplayType = 1;
    std::string mDisplay{};
    int mIndexType = 0;
    std::string mIndex{};

    bool HasOffsets() const { return mPlains == 0 && !mOffsets.empty(); }
    void AddOffset(Cmn_UInt32 iOffset)
    {
        if (mPlains != 0 || mLocationType != 1) Invalidate();
        mLocationType = 1;
        mOffsets.push_back(iOffset);
    }
    void Invalidate()
    {
        mPlains = 0;
        mLocationType = 0;
        mOffsets.clear();
        mLocation.clear();
    }
    TOCValue Make() const
    {
        const Bytes written = ::Streamed(*this);
        Sys_MemInStream bytes(written);
        Sys_TypedInStream in(bytes);
        auto made = FF_Document::Location::StreamIn(in);
        auto shown = FF_Document::DisplayInfo::StreamIn(in);
        return {std::move(made), std::move(shown), FF_Document::IndexInfo::StreamIn(in)};
    }
    void StreamOut(Sys_TypedOutStream& ioStream) const
    {
        const auto part = [&](int iType, std::size_t iSize, const std::string& iBytes) {
            ioStream.WriteUInt8(static_cast<Cmn_UInt8>(iType));
            ioStream.WriteInt16(static_cast<Cmn_Int16>(iSize));
            ioStream.WriteBytes(iBytes.data(), iBytes.size());
        };
        const std::size_t last = mLocationType == 1 ? 2 + 4 * mOffsets.size() : mLocation.size();
        for (std::size_t i = mPlains; i > 0; --i)
            part(0, 3 * i + last, "");
        part(mLocationType, last, mLocation);
        if (mLocationType == 1) ioStream.WriteInt16(static_cast<Cmn_Int16>(mOffsets.size()));
        for (const Cmn_UInt32 offset : mOffsets)
            ioStream.WriteUInt32(offset);
        part(mDisplayType, mDisplay.size() + (mDisplayType == 1 ? 4 : 0), mDisplayType == 1 ? "" : mDisplay);
        if (mDisplayType == 1) ioStream.WriteString(mDisplay);
        part(mIndexType, mIndex.size(), mIndex);
    }
};

struct PlainEntry
{
    std::vector<Context> mContexts;
    std::vector<PlainValue> mValues;
};

class Script
{
public:
    void Run(unsigned iSeed)
    {
        mRandom.seed(iSeed);
        for (mStep = 0; mStep < 1000; ++mStep) {
            Step();
            if (mStep % 20 == 19) Check();
            if (testing::Test::HasFatalFailure()) return;
        }
    }

private:
    Cmn_UInt32 Below(std::size_t iLimit) { return static_cast<Cmn_UInt32>(mRandom() % iLimit); }
    std::string SomeBytes() { return std::string(Below(3) == 0 ? Below(60) : 0, static_cast<char>(mStep)); }

    void Step()
    {
        const Cmn_UInt32 kind = Below(100);
        if (mModel.empty() || kind < 20) return Insert();
        if (kind == 20) return Forget();
        if (kind < 23) return Stream();
        const auto at = std::next(mModel.begin(), Below(mModel.size()));
        const TOC::Entry entry = mTable.Find(at->second.mContexts);
        ASSERT_NE(entry, TOC::cNone);
        std::vector<PlainValue>& values = at->second.mValues;
        if (kind < 25) {
            const bool isList = Below(2) == 0;
            mTable.SetIsList(entry, isList);
            at->second.mContexts.back().SetIsList(isList);
        } else if (values.empty() || kind < 50) {
            values.emplace_back().mDisplay = std::string(Below(30), static_cast<char>('a' + mStep % 26));
            mTable.AddValue(entry, values.back().mDisplay);
        } else {
            const Cmn_UInt32 i = Below(values.size());
            Change(entry, static_cast<Cmn_Int32>(i), values[i], kind);
        }
    }

    void Insert()
    {
        constexpr Cmn_Int16 cTypes[] = {-32768, -1, 0, 1, 32767};
        constexpr Cmn_Int32 cItems[] = {-0x7FFFFFFF - 1, -1, 0, 0x7FFFFFFF};
        std::vector<Context> contexts;
        do
            contexts.emplace_back(cTypes[Below(5)], Below(4) == 0 ? Context::cNoParent : Below(cEnd),
                                  Below(3) == 0, cItems[Below(4)]);
        while (Below(2) == 0);
        const auto [at, isNew] = mModel.try_emplace(TOCKey(contexts), PlainEntry{contexts, {}});
        for (std::size_t i = 0; i < contexts.size() && !isNew; ++i)
            if (const Cmn_UInt32 parent = contexts[i].GetParentPosition(); parent != Context::cNoParent)
                at->second.mContexts[i].SetParentPosition(parent);
        if (!isNew || Below(2) == 0) {
            mTable.Insert(contexts);
            return;
        }
        // With its place, as a stream that is being written.
        PlainValue& value = at->second.mValues.emplace_back();
        value.mDisplay = std::string(Below(30), 'w');
        value.AddOffset(Below(cEnd));
        mDocument.AddTOCEntry(TOCKey(contexts), 0, value.mOffsets.front(), value.mDisplay);
    }

    void Change(TOC::Entry iEntry, Cmn_Int32 iValue, PlainValue& ioValue, Cmn_UInt32 iKind)
    {
        if (iKind < 90) {
            const Cmn_UInt32 offset = Below(cEnd);
            for (Cmn_UInt32 more = Below(20) == 0 ? 40 : 1; more > 0; --more) {
                ioValue.AddOffset(offset + more - 1);
                mTable.AddOffset(iEntry, iValue, offset + more - 1);
            }
        } else if (iKind < 94) {
            ioValue.Invalidate();
            mTable.Invalidate(iEntry, iValue);
        } else {
            ioValue = {.mPlains = Below(4),
                       .mLocationType = static_cast<int>(Below(4)),
                       .mDisplayType = static_cast<int>(Below(3)),
                       .mDisplay = std::string(Below(40), 'v'),
                       .mIndexType = static_cast<int>(Below(256)),
                       .mIndex = SomeBytes()};
            if (ioValue.mLocationType == 1) ioValue.mOffsets.assign(Below(3), Below(cEnd));
            if (ioValue.mLocationType > 1) ioValue.mLocation = SomeBytes();
            mTable.SetValue(iEntry, iValue, ioValue.Make());
        }
    }

    void Forget()
    {
        const Cmn_UInt32 from = cEnd - Below(cEnd / 8);
        for (auto at = mModel.begin(); at != mModel.end();) {
            std::vector<PlainValue>& values = at->second.mValues;
            for (std::size_t i = values.size(); i-- > 0;) {
                std::vector<Cmn_UInt32>& offsets = values[i].mOffsets;
                if (std::erase_if(offsets, [from](Cmn_UInt32 iOffset) { return iOffset >= from; }) == 0)
                    continue;
                if (values[i].HasOffsets()) continue;
                values[i].Invalidate();
                if (i + 1 == values.size()) values.pop_back();
            }
            at = values.empty() ? mModel.erase(at) : std::next(at);
        }
        const AllocationCounter allocations;
        mTable.ForgetOffsetsFrom(from);
        EXPECT_EQ(allocations.Count(), 0);
    }

    void Stream()
    {
        const bool swap = Below(2) == 0;
        const Bytes bytes = Streamed(mTable, swap);
        if (Below(2) == 0) mTable.Clear();
        Read(mTable, bytes, swap);
    }

    // What StreamOut should write behind the header.
    Bytes Expected(bool iSwap) const
    {
        Sys_MemOutStream bytes;
        Sys_TypedOutStream stream(bytes, iSwap);
        stream.WriteInt16(2);
        stream.WriteInt32(static_cast<Cmn_Int32>(mModel.size()));
        for (const auto& [key, entry] : mModel) {
            TOCKey(entry.mContexts).StreamOut(stream);
            stream.WriteInt32(static_cast<Cmn_Int32>(entry.mValues.size()));
            for (const PlainValue& value : entry.mValues)
                value.StreamOut(stream);
        }
        return bytes.TakeBytes();
    }

    void Check()
    {
        ASSERT_EQ(mTable.GetNumKeys(), static_cast<Cmn_Int32>(mModel.size()));
        for (const bool swap : {false, true}) {
            const Bytes bytes = Streamed(mTable, swap);
            ASSERT_EQ(static_cast<Cmn_Int64>(bytes.size()), mTable.GetStreamSize());
            ASSERT_EQ(Bytes(bytes.begin() + cStdHeader, bytes.end()), Expected(swap))
                << "step " << mStep << "\n"
                << mTable.Dump();
        }
        for (const auto& [key, entry] : mModel)
            CheckEntry(mTable.Find(entry.mContexts), entry);
    }

    void CheckEntry(TOC::Entry iEntry, const PlainEntry& iPlain) const
    {
        ASSERT_EQ(mTable.GetNumValues(iEntry), static_cast<Cmn_Int32>(iPlain.mValues.size()));
        EXPECT_EQ(mTable.IsList(iEntry), iPlain.mContexts.back().IsList());
        for (Cmn_Int32 i = 0; i < mTable.GetNumValues(iEntry); ++i) {
            const PlainValue& plain = iPlain.mValues[static_cast<std::size_t>(i)];
            Cmn_UInt32 first = 0;
            ASSERT_EQ(mTable.GetFirstOffset(iEntry, i, first), plain.HasOffsets());
            EXPECT_FALSE(mTable.HasOffset(iEntry, i, cEnd + 100));
            if (plain.HasOffsets()) {
                EXPECT_EQ(first, plain.mOffsets.front());
                EXPECT_TRUE(mTable.HasOffset(iEntry, i, plain.mOffsets.back()));
            }
            ASSERT_EQ(::Streamed(mTable.GetValue(iEntry, i)), ::Streamed(plain));
            const TOCValue made = plain.Make();
            ASSERT_EQ(::Streamed(TOCValue(made)), ::Streamed(plain));
        }
    }

    std::mt19937 mRandom;
    FF_Document mDocument{Sys_FileLoc("not opened"), FF_DocumentOptions()};
    TOC& mTable = mDocument.GetTOC();
    std::map<TOCKey, PlainEntry> mModel;
    int mStep = 0;
};

TEST(TOC, RandomScriptsGiveWhatAPlainMapGives)
{
    for (unsigned seed = 1; seed <= 8 && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Script().Run(seed);
    }
}

// --- What is no table

TEST(TOC, HostileTablesAreRefusedAndTheContentStays)
{
    const std::string key = "01000000 0400 00000000 00 00000000";
    const std::string value = " 01000000  01 0600 0100 00800000  01 0400 00000000  00 0000";
    const auto one = [&](const std::string& iLocation, const std::string& iDisplay = "01 0400 00000000") {
        return "01000000" + key + " 01000000 " + iLocation + iDisplay + " 00 0000";
    };
    const struct
    {
        const char* mName;
        bool mIsRead;
        std::string mBody;
    } cases[] = {
        {"no keys", true, "00000000"},
        {"a key without values", true, "01000000" + key + "00000000"},
        {"one value", true, "01000000" + key + value},
        {"more keys than memory", false, "FFFFFF7F" + key + value},
        {"the same key twice", false, "02000000" + key + value + key + value},
        {"more contexts than bytes", false, "01000000 FFFFFF7F" + value + value},
        {"a negative item", true, "01000000 01000000 0400 00000000 00 FFFFFFFF 00000000"},
        {"an empty location", true, one("01 0200 0000")},
        {"the last byte in front of the end", true, one("01 0600 0100 FFFF0000")},
        {"a piece at the end", false, one("01 0600 0100 00000100")},
        {"a piece at the end behind a plain location", false, one("00 0900 01 0600 0100 00000100")},
        {"a plain location says nothing of the next", true, one("00 FF7F 01 0600 0100 1A000000")},
        {"63 plain locations and an unknown one", true, one(Times(63, "00 0100 ") + "02 0000")},
        {"64 plain locations and an unknown one", false, one(Times(64, "00 0100 ") + "02 0000")},
        {"a count that its size does not fit", false, one("01 0200 0100 00800000")},
        {"a text longer than its size", false, one("00 0000", "01 0400 01000000 61")},
        {"a text without room for its count", false, one("00 0000", "01 0000")},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.mName);
        TOC table;
        Read(table, Framed(cSmallBody));
        const Bytes before = Streamed(table, false);
        const Bytes bytes = Framed(row.mBody);
        if (row.mIsRead)
            EXPECT_NO_THROW(Read(table, bytes));
        else
            EXPECT_THROW(Read(table, bytes), Sys_StreamReadException);
        EXPECT_EQ(Streamed(table, false), row.mIsRead ? bytes : before);
        for (TOC::Entry entry = 0; entry < table.GetNumKeys(); ++entry)
            for (Cmn_Int32 value = 0; value < table.GetNumValues(entry); ++value)
                EXPECT_NO_THROW(static_cast<void>(table.GetValue(entry, value)));
    }
    TOC table;
    EXPECT_THROW(Read(table, Framed("00000000", 2, 1)), Cmn_DocumentTooOldException);
    EXPECT_THROW(Read(table, Framed("00000000", 2, 3)), Cmn_DocumentTooNewException);
}

// Whatever one byte becomes, the table is refused, or it is another table, which is written as it was read.
TEST(TOC, EveryByteIsHeldAgainstTheOthers)
{
    for (const bool swap : {false, true}) {
        TOC table;
        Read(table, Framed(cSmallBody));
        const Bytes good = Streamed(table, swap);
        int refused = 0;
        for (std::size_t at = 0; at < good.size(); ++at) {
            for (int change = 1; change < 256; ++change) {
                Bytes bad = good;
                bad[at] = static_cast<Cmn_UInt8>(bad[at] ^ change);
                const AllocationCounter allocations;
                if (Thrown([&] { Read(table, bad, swap); }).GetMessageID() != 0)
                    ++refused;
                else {
                    Bytes again = Streamed(table, swap);
                    std::copy_n(bad.begin(), cStdHeader, again.begin());
                    ASSERT_EQ(again, bad) << "byte " << at << " to " << int{bad[at]};
                    Read(table, good, swap);
                }
                ASSERT_LT(allocations.Count(), 100);
                ASSERT_EQ(Streamed(table, swap), good);
            }
        }
        EXPECT_GT(refused, 10000);
        for (auto end = good.begin(); end != good.end(); ++end)
            ASSERT_THROW(Read(table, Bytes(good.begin(), end), swap), Sys_StreamReadException);
        EXPECT_EQ(Streamed(table, swap), good);
    }
}

// --- Limits

TEST(TOC, AListGrowsWhileOtherKeysAreAdded)
{
    constexpr Cmn_Int32 cItems = 20000;
    TOC table;
    std::vector contexts{Context(4), Context(7)};
    const TOC::Entry list = table.Insert(std::span(contexts).first(1));
    const AllocationCounter allocations;
    for (Cmn_Int32 i = 0; i < cItems; ++i) {
        table.AddValue(list, "item");
        table.AddOffset(list, i, static_cast<Cmn_UInt32>(i));
        contexts[0].SetListIndex(cItems - i);
        const TOC::Entry item = table.Insert(contexts);
        table.AddValue(item, "in the item");
        table.AddOffset(item, 0, static_cast<Cmn_UInt32>(i));
        table.AddOffset(list, i, 1);
    }
    EXPECT_LT(allocations.Count(), 200);
    for (Cmn_Int32 i = 0; i < cItems; ++i) {
        Cmn_UInt32 first = 0;
        ASSERT_TRUE(table.GetFirstOffset(list, i, first));
        ASSERT_EQ(first, static_cast<Cmn_UInt32>(i));
    }
    // More than one piece of reading and writing.
    const Bytes bytes = Streamed(table, true);
    ASSERT_GT(bytes.size(), 1u << 20);
    TOC back;
    Read(back, bytes, true);
    EXPECT_EQ(Streamed(back, false), Streamed(table, false));
    Bytes damaged = bytes;
    const std::size_t end =
        cStdHeader + 2 + Sys_LoadInteger<Cmn_UInt32>(&*bytes.end() - 20, true); // of the values
    damaged[end - 1] = 1; // the size of the last index information
    EXPECT_EQ(Thrown([&] { Read(back, damaged, true); }).GetMessageID(), Cmn_eMessage_ReadError);
}

TEST(TOC, ALocationHoldsNoMorePiecesThanASizeCanTell)
{
    TOC table;
    const TOC::Entry entry = table.Insert(std::vector{Context(4)});
    table.AddValue(entry, "pieces");
    TOCValue value("pieces");
    for (Cmn_UInt32 i = 0; i < 8191; ++i) {
        table.AddOffset(entry, 0, i);
        value.AddOffset(i);
    }
    EXPECT_THROW(table.AddOffset(entry, 0, 8191), std::length_error);
    EXPECT_THROW(value.AddOffset(8191), std::length_error);
    EXPECT_EQ(Streamed(table.GetValue(entry, 0)), Streamed(value));
    TOC back;
    Read(back, Streamed(table, false));
    EXPECT_EQ(back.GetValue(0, 0).GetLocal()->GetOffsets().size(), 8191u);
}

TEST(TOC, DescriptionsAreUtf8OnDiskAndCutAtACharacter)
{
    const std::string full(32763, 'a');
    const struct
    {
        const char* mName;
        ETextEncoding mEncoding;
        bool mRepair;
        std::string mGiven;
        std::string mOnDisk;
        std::string mTaken;
    } cases[] = {
        {"what just fits", eTextEncoding_Utf8, false, full, full, full},
        {"one byte too many", eTextEncoding_Utf8, false, full + "b", full, full},
        {"a character across the end", eTextEncoding_Utf8, false, full.substr(2) + "\xE2\x82\xAC",
         full.substr(2), full.substr(2)},
        {"ill-formed text as it stands", eTextEncoding_Utf8, false, "a\xFFz", "a\xFFz", "a\xFFz"},
        {"ill-formed text repaired", eTextEncoding_Utf8, true, "a\xFFz", "a\xEF\xBF\xBDz", "a\xEF\xBF\xBDz"},
        {"Latin-1", eTextEncoding_Latin1, false, "caf\xE9", "caf\xC3\xA9", "caf\xE9"},
        {"Latin-1 across the end", eTextEncoding_Latin1, false, full.substr(1) + "\xE9", full.substr(1),
         full.substr(1)},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.mName);
        TOC table;
        table.SetTextForm(row.mEncoding, row.mRepair);
        table.AddValue(table.Insert(std::vector{Context(4)}), row.mGiven);
        EXPECT_EQ(table.GetValue(0, 0).GetDisplayInfo().GetText(), row.mTaken);
        TOC back;
        Read(back, Streamed(table, false));
        EXPECT_EQ(back.GetValue(0, 0).GetDisplayInfo().GetText(), row.mOnDisk);
        if (row.mRepair) continue;
        table.SetValue(0, 0, TOCValue(row.mGiven, row.mEncoding));
        EXPECT_EQ(Streamed(table, false), Streamed(back, false));
    }
}

TEST(TOC, WhatIsNotThereIsReportedAndChangesNothing)
{
    const AssertRecorder reports;
    TOC table;
    Read(table, Framed(cSmallBody));
    const Bytes before = Streamed(table, false);
    Cmn_UInt32 offset = 77;
    for (const auto& [entry, value] : {std::pair(-1, 0), std::pair(2, 0), std::pair(0, -1), std::pair(0, 2)})
    {
        table.AddOffset(entry, value, 1);
        table.Invalidate(entry, value);
        table.SetValue(entry, value, TOCValue("x"));
        EXPECT_FALSE(table.GetFirstOffset(entry, value, offset));
        EXPECT_FALSE(table.HasOffset(entry, value, 64));
        EXPECT_EQ(table.GetValue(entry, value).GetDisplayInfo().GetText(), "");
        EXPECT_EQ(reports.Take().size(), 6u);
    }
    EXPECT_EQ(table.GetNumValues(2) + table.IsList(-1), 0);
    EXPECT_EQ(table.GetInOrder(2), TOC::cNone);
    const std::vector<FF_Document::Context> withoutValues = {FF_Document::Context(31)};
    TOC other; // as a file may tell of it
    EXPECT_FALSE(other.GetFirstOffset(other.Insert(withoutValues), 0, offset));
    EXPECT_EQ(reports.Take().size(), 3u);
    // A chain that no reader takes does not get in.
    std::unique_ptr<FF_Document::Location> chain = std::make_unique<FF_Document::LocalLocation>();
    for (int i = 0; i < FF_Document::Location::cMaxChain; ++i) {
        auto plain = std::make_unique<FF_Document::Location>();
        plain->SetNext(std::move(chain));
        chain = std::move(plain);
    }
    const TOCValue x("x");
    const TOCValue tooLong(std::move(chain), x.GetDisplayInfo().Clone(), x.GetIndexInfo().Clone());
    EXPECT_THROW(table.SetValue(0, 0, tooLong), Sys_StreamWriteException);
    EXPECT_EQ(offset, 77u);
    EXPECT_EQ(Streamed(table, false), before);
}

} // namespace
