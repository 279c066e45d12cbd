// Random documents against a plain model: what was written where, in the order of the file and by key.
#include "FF/StDocument.h"

#include <map>
#include <random>

namespace {

using Key = FF_Document::TOCKey;
using Context = FF_Document::Context;

// How a document is read in sequence.
struct Way
{
    FF_Document* document; // null for reading without
    bool asksTable;        // then the contexts add up to the keys
    bool backwards;        // through lists
};

class DocumentModelTest : public StDocument
{
protected:
    enum EBody : Cmn_UInt8 { eStreams, eList };
    struct Abandoned
    {
    };
    // What the document should hold.
    struct Model
    {
        std::map<Key, Cmn_Int32> numbers; // of the first piece under each key
        std::map<Key, std::vector<Cmn_Int32>> items;
        std::string text; // of all streams in the order of the file
    };

    int Below(int iLimit) { return static_cast<int>(mRandom() % static_cast<unsigned>(iLimit)); }

    // One stream at the output's position, and whatever it holds; iKey is the key of the stream around it.
    void WriteStream(const Key& iAround, int iDepth, bool iMayRegister)
    {
        const bool isList = Below(3) == 0;
        const auto type = static_cast<Cmn_Int16>((isList ? 20 : 10) + Below(3));
        const Key key = iAround.Inside(Context(type));
        const Cmn_Int32 number = ++mNumber;
        if (iMayRegister && Below(4) != 0) {
            FF_Document::AddTOCEntry(mDocument.get(), static_cast<Cmn_UInt64>(mOut->GetPosition()), type,
                                     "stream");
            mModel.numbers.try_emplace(key, number);
        }
        FF_StreamHeaderWriter header(mDocument.get(), *mOut, type, 1);
        mOut->WriteInt32(number);
        mOut->WriteUInt8(isList ? eList : eStreams);
        mKeys[number] = key;
        mModel.text += std::to_string(number) + "(";
        isList ? WriteItems(key, number, iDepth) : WriteStreams(key, iDepth);
        mModel.text += ")";
        if (mMayAbandon && Below(12) == 0) throw Abandoned();
    }
    void WriteStreams(const Key& iKey, int iDepth)
    {
        for (int left = iDepth < 3 ? Below(3) : 0; left > 0; --left)
            WriteStream(iKey, iDepth + 1, true);
    }
    void WriteItems(const Key& iKey, Cmn_Int32 iNumber, int iDepth)
    {
        const Cmn_Int32 count = Below(4);
        FF_StreamListWriter list(mDocument.get(), *mOut, count);
        for (Cmn_Int32 i = 0; i < count; ++i) {
            mModel.numbers.try_emplace(iKey, iNumber);
            std::vector<Cmn_Int32>& items = mModel.items[iKey];
            if (static_cast<std::size_t>(i) == items.size()) items.push_back(mNumber + 1);
            list.AddListEntry(i, "item");
            Key item = iKey;
            item.GetContexts().back().SetListIndex(i + 1);
            WriteStream(item, iDepth + 1, false);
        }
    }
    // An outermost stream, which an exception may end halfway.
    void WriteOutermost()
    {
        const Model before = mModel;
        mMayAbandon = Below(3) == 0;
        try {
            WriteStream(Key(), 0, true);
        } catch (const Abandoned&) {
            mModel = before;
        }
    }

    std::string ReadStream(Sys_TypedInStream& ioIn, const Way& iWay)
    {
        const FF_StreamHeaderReader header(iWay.document, ioIn, 0,
                                           FF_StreamHeaderReader::EUseExtendedTOC(iWay.asksTable), true);
        const Cmn_Int32 number = ioIn.ReadInt32();
        EXPECT_TRUE(!iWay.asksTable || Key(iWay.document->GetCurrentContext()) == mKeys[number]) << number;
        std::string text = std::to_string(number) + "(";
        if (ioIn.ReadUInt8() == eList) {
            FF_StreamListReader list(iWay.document, ioIn);
            const Cmn_Int32 count = list.GetNumItems();
            std::vector<std::string> items(static_cast<std::size_t>(count));
            for (Cmn_Int32 n = 0; n < count; ++n) {
                const Cmn_Int32 i = iWay.backwards ? count - 1 - n : n;
                if (iWay.backwards) list.SeekToListEntry(i);
                items[static_cast<std::size_t>(i)] = ReadStream(ioIn, iWay);
            }
            for (const std::string& item : items)
                text += item;
        } else {
            while (header.IsMoreLeft())
                text += ReadStream(ioIn, iWay);
        }
        return text + ")";
    }
    void ExpectInSequence(const Way& iWay)
    {
        Sys_TypedInStream in = mDocument->MakeTypedInStream();
        in.SetPosition(mFirst);
        std::string text;
        while (in.GetPosition() < Cmn_Int64{mDocument->GetTOCOffset()})
            text += ReadStream(in, iWay);
        EXPECT_EQ(text, mModel.text);
        EXPECT_TRUE(mDocument->GetCurrentContext().empty());
    }
    void ExpectByKey()
    {
        EXPECT_EQ(mDocument->GetTOC().GetNumKeys(), static_cast<Cmn_Int32>(mModel.numbers.size()));
        Sys_TypedInStream in = mDocument->MakeTypedInStream();
        for (const auto& [key, number] : mModel.numbers) {
            if (!mDocument->SeekToStream(key, in)) {
                EXPECT_EQ(number, cInvalid) << key.Dump();
                continue;
            }
            Key around = key;
            around.GetContexts().pop_back();
            const FF_StSetStreamContext context(*mDocument, around);
            const FF_StreamHeaderReader header(mDocument.get(), in, key.GetContexts().back().GetStreamType(),
                                               FF_StreamHeaderReader::eUseExtendedTOC);
            EXPECT_EQ(in.ReadInt32(), number) << key.Dump();
            if (in.ReadUInt8() != eList) continue;
            FF_StreamListReader list(mDocument.get(), in);
            for (Cmn_Int32 i = list.GetNumItems() - 1; i >= 0; --i) {
                list.SeekToListEntry(i);
                const FF_StreamHeaderReader item(mDocument.get(), in, 0);
                EXPECT_EQ(in.ReadInt32(), mModel.items.at(key)[static_cast<std::size_t>(i)]) << key.Dump();
            }
        }
    }
    void Open(Sys_Store::EOpenFlag iFlag, EFF_EncryptionType iType)
    {
        mDocument = std::make_unique<FF_Document>(Sys_FileLoc(cPath), iType, eTextEncoding_Utf8, false);
        mDocument->Open(iFlag);
        mOut = std::make_unique<Sys_TypedOutStream>(mDocument->MakeTypedOutStream());
    }

    static constexpr Cmn_Int32 cInvalid = -1;
    std::mt19937 mRandom;
    std::unique_ptr<FF_Document> mDocument;
    std::unique_ptr<Sys_TypedOutStream> mOut;
    Model mModel;
    std::map<Cmn_Int32, Key> mKeys; // of every number
    Cmn_Int32 mNumber = 0;
    Cmn_Int64 mFirst = 0;
    bool mMayAbandon = false;
};

TEST_F(DocumentModelTest, RandomDocumentsAreReadBackInSequenceAndByKey)
{
    for (unsigned seed = 0; seed < 120; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        mRandom.seed(seed);
        mModel = {};
        const auto type = static_cast<EFF_EncryptionType>(seed % 6);
        Open(Sys_Store::eOpenFlag_New, type);
        mFirst = mOut->GetPosition();
        for (int round = 0; round < 4; ++round) {
            for (int left = Below(6); left > 0; --left)
                WriteOutermost();
            const auto picked =
                std::next(mModel.numbers.begin(), Below(static_cast<int>(mModel.numbers.size()) + 1));
            const bool invalidates = round == 3 && picked != mModel.numbers.end();
            if (invalidates) {
                EXPECT_TRUE(mDocument->InvalidateKey(picked->first, 0));
                picked->second = cInvalid;
            }
            mDocument->Flush();
            if (Below(2) == 0) Open(Sys_Store::eOpenFlag_ReadWrite, type);
            ExpectInSequence({nullptr, false, false});
            ExpectInSequence({nullptr, false, true});
            ExpectInSequence({mDocument.get(), false, true});
            if (!invalidates) ExpectInSequence({mDocument.get(), true, false});
            ExpectByKey();
            if (HasFailure()) return;
        }
        mDocument.reset();
    }
}

} // namespace
