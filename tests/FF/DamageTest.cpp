// Damage: documents of nested streams, lists in lists, pieces and streams written anew, in either byte order,
// with any mask, hit by what disks and copies do to files, and read as readers read.
//
// Runs are numbered: KORA_DAMAGE_RUNS=1000000 makes that many, KORA_DAMAGE_FIRST is the number of the first.
#include "FF/HandMade.h"
#include "FF/SmallDocument.h"
#include "FF/StDocument.h"
#include "Kora/FF/Rescue/FF_DocumentRepair.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <set>

namespace {

using Bytes = MemoryFileSystem::Bytes;
using Context = FF_Document::Context;
using Key = FF_Document::TOCKey;

constexpr char cRepaired[] = "/songs/repaired.kora";
constexpr Cmn_Int16 cForeign = 7; // of HandMade
constexpr std::size_t cStreamHeader = 26;

// docs/file-format.md, "Masking".
void Mask(Bytes& ioFile, int iType, unsigned iRawKey)
{
    constexpr unsigned cMultipliers[] = {0, 29, 17, 93, 127, 93};
    const unsigned k = iRawKey * cMultipliers[iType];
    for (std::size_t p = 20; iType != 0 && p < ioFile.size(); ++p)
        ioFile[p] ^= static_cast<std::uint8_t>((iType == 5 ? p / 4096 : p) * k);
}

// A stream as it was written. Its body is its number, a text of the number, and what it holds; a
// list's is the items first.
struct Stream
{
    Key mKey;
    Cmn_Int64 mBegin = 0;
    Cmn_Int64 mEnd = 0;
    std::vector<int> mChildren;

    std::string Name() const { return mKey.Dump(); }
    Cmn_Int16 Type() const { return mKey.GetContexts().back().GetStreamType(); }
};
bool IsList(Cmn_Int16 iType) { return iType % 2 != 0; }
Cmn_Int16 VersionOf(int iNumber) { return static_cast<Cmn_Int16>(iNumber * 31); }
std::string TextOf(int iNumber)
{
    return "text " + std::to_string(iNumber) + std::string(static_cast<std::size_t>(iNumber % 3) * 20, '.');
}

// What reading a whole document gave.
struct Reading
{
    std::map<std::string, std::string> mTexts; // by key and piece, or item
    std::set<int> mNumbers;                    // of the streams that were reached
    std::string mDiffers;                      // streams that gave what was never written
    std::string mComplaint;                    // the first, of what is registered as lost too
    std::string mDamage;                       // the first other one

    template <class Call>
    void Try(const std::string& iWhat, const Call& iCall)
    {
        try {
            iCall();
        } catch (const Cmn_Exception& exception) {
            const std::string text = iWhat + ", " + exception.Describe();
            if (mComplaint.empty()) mComplaint = text;
            if (mDamage.empty() && exception.GetMessageID() != Cmn_eMessage_InvalidContext) mDamage = text;
        }
    }
};

class DamageTest : public StDocument
{
protected:
    const Stream& At(int iNumber) const { return mStreams[static_cast<std::size_t>(iNumber)]; }
    std::string Image(int iNumber) const
    {
        return {mPlain.begin() + At(iNumber).mBegin, mPlain.begin() + At(iNumber).mEnd};
    }
    int Size() const { return static_cast<int>(mStreams.size()); }
    int Below(std::size_t iLimit) { return static_cast<int>(mRandom() % std::max<std::size_t>(iLimit, 1)); }

    // --- Writing
    // Streams that have the name and were not written anew.
    int CountNow(const std::string& iName) const
    {
        int count = 0;
        for (int i = 0; i < Size(); ++i)
            count += At(i).Name() == iName && !mSuperseded.contains(i);
        return count;
    }
    // One stream, the likes of which iLike is, or a random one. What is registered under
    // its key goes on with it.
    void Write(const Key& iAround, bool iIsItem, int iDepth, const Stream* iLike)
    {
        const int number = Size();
        auto type = iLike != nullptr ? iLike->Type() : static_cast<Cmn_Int16>(20 + 10 * iDepth + Below(4));
        // A list's items are values of its key: only one list may have it.
        if (iLike == nullptr && IsList(type) && CountNow(iAround.Inside(Context(type)).Dump()) > 0) ++type;
        const bool isList = IsList(type);
        Stream stream{iAround.Inside(Context(type)), mOut->GetPosition(), 0, {}};
        mStreams.push_back(stream);
        const std::string name = stream.Name();
        const bool isRegistered = iLike != nullptr ? mPieces.contains(name) : !iIsItem && Below(6) != 0;
        if (isRegistered)
            FF_Document::AddTOCEntry(mDocument.get(), static_cast<Cmn_UInt64>(stream.mBegin), type, name);
        const int count = iLike != nullptr ? static_cast<int>(iLike->mChildren.size())
                          : iDepth < 3     ? Below(4)
                                           : 0;
        if (isRegistered || (isList && count > 0))
            mPieces[name].push_back(number); // the first item does it too
        {
            const FF_StreamHeaderWriter header(mDocument.get(), *mOut, type, VersionOf(number));
            std::optional<FF_StreamListWriter> list;
            if (isList) list.emplace(mDocument.get(), *mOut, count);
            if (!isList) WriteNumber(number);
            for (int i = 0; i < count; ++i) {
                Key key = stream.mKey;
                if (isList) list->AddListEntry(i, "item");
                if (isList) key.GetContexts().back().SetListIndex(i + 1);
                stream.mChildren.push_back(Size());
                std::optional<Stream> like;
                if (iLike != nullptr) like = At(iLike->mChildren[static_cast<std::size_t>(i)]);
                Write(key, isList, iDepth + 1, like ? &*like : nullptr);
            }
            list.reset();
            if (isList) WriteNumber(number);
        }
        stream.mEnd = mOut->GetPosition();
        mStreams[static_cast<std::size_t>(number)] = stream;
    }
    // What an exception ends halfway leaves no trace, neither in the file nor in the table.
    void WriteAbandoned()
    {
        struct Abandoned
        {
        };
        const auto random = mRandom;
        const auto streams = mStreams;
        const auto pieces = mPieces;
        mDocument->SeekToEnd(*mOut);
        try {
            const FF_StreamHeaderWriter header(mDocument.get(), *mOut, 20, 1);
            Write(Key(20), false, 1, nullptr);
            throw Abandoned();
        } catch (const Abandoned&) {
            mRandom = random;
            mStreams = streams;
            mPieces = pieces;
        }
    }
    void WriteNumber(int iNumber)
    {
        mOut->WriteInt32(iNumber + 1);
        mOut->WriteString(TextOf(iNumber));
    }
    static bool IsInside(const std::string& iName, const std::string& iOuter)
    {
        return iName.starts_with(iOuter) &&
               (iName.size() == iOuter.size() || std::isdigit(iName[iOuter.size()]) == 0);
    }
    // What is registered under a key and inside it gives way to a stream of the same
    // kind at the end of the file.
    void WriteAnew(const Stream& iOld)
    {
        Key around = iOld.mKey;
        around.GetContexts().pop_back();
        const std::string name = iOld.Name();
        FF_Document::TOC& toc = mDocument->GetTOC();
        for (FF_Document::TOC::Entry entry = 0; entry < toc.GetNumKeys(); ++entry) {
            const std::string other = toc.GetKey(entry).Dump();
            if (!IsInside(other, name)) continue;
            for (Cmn_Int32 i = 0; i < toc.GetNumValues(entry); ++i)
                toc.Invalidate(entry, i);
            mPieces[other].clear();
        }
        for (int i = 0; i < Size(); ++i)
            if (IsInside(At(i).Name(), name)) mSuperseded.insert(i);
        const FF_StSetStreamContext context(*mDocument, around);
        Write(around, false, 0, &iOld);
    }
    void MakeDocument(unsigned iSeed)
    {
        mRandom.seed(iSeed);
        mStreams.clear();
        mPieces.clear();
        mSuperseded.clear();
        mNumbers.clear();
        HandMade::Form form;
        form.mSwap = iSeed % 2 != 0;
        form.mMaskType = static_cast<int>(iSeed / 2 % 6);
        mFiles.SetFiles({});
        HandMade::Write(mFiles, cPath, form);
        for (int round = Below(3); round >= 0; --round) {
            mDocument = std::make_unique<Document>(Sys_Store::eOpenFlag_ReadWrite);
            mOut = std::make_unique<Sys_TypedOutStream>(mDocument->MakeTypedOutStream());
            for (int left = Below(4); left >= 0; --left) {
                mDocument->SeekToEnd(*mOut);
                const int old = Below(mStreams.size());
                if (Below(2) == 0 && old < Size() && !mSuperseded.contains(old) &&
                    mPieces.contains(At(old).Name()) && CountNow(At(old).Name()) == 1)
                    WriteAnew(Stream(At(old)));
                else
                    Write(Key(), false, 0, nullptr);
            }
            WriteAbandoned();
            mDocument->Flush();
            mTable = mDocument->GetTOCOffset();
            mDocument.reset();
        }
        mFile = mFiles.GetBytes(cPath);
        mType = mFile[18];
        mRawKey = mFile[19];
        mPlain = mFile;
        Mask(mPlain, mType, mRawKey);
        for (int i = 0; i < Size(); ++i)
            mNumbers[SmallDocument::WithoutPlace(Image(i))] = i;
        SetExpected();
        const int before = mNumComplete;
        mIsUndamaged = true;
        CheckReading([](const std::string& iWhat) { ADD_FAILURE() << "undamaged: " << iWhat; });
        EXPECT_EQ(mNumComplete, before + 1) << "document " << iSeed;
        mNumComplete = before;
        mIsUndamaged = false;
    }

    // --- What reading has to give
    std::string TextOfStream(int iNumber, bool iByTable) const
    {
        std::string text = "(";
        for (const int child : At(iNumber).mChildren)
            text += TextOfStream(iByTable ? Now(child) : child, iByTable);
        return text + ")" + std::to_string(iNumber);
    }
    // The stream that a reader who asks the table gets where this one stands.
    int Now(int iNumber) const
    {
        const auto pieces = mPieces.find(At(iNumber).Name());
        if (pieces == mPieces.end()) return iNumber;
        const auto here = std::find(pieces->second.begin(), pieces->second.end(), iNumber);
        return here == pieces->second.end() ? pieces->second.front() : iNumber;
    }
    void SetExpected()
    {
        mExpected = {{"7 piece 0", "foreign"}};
        mInSequence = {"foreign"};
        for (int i = 0; i < Size(); ++i)
            mInSequence.insert(TextOfStream(i, false));
        for (const auto& [name, pieces] : mPieces) {
            for (std::size_t i = 0; i < pieces.size(); ++i)
                mExpected[name + " piece " + std::to_string(i)] = TextOfStream(pieces[i], true);
            const Stream& list = At(pieces.front());
            for (std::size_t i = 0; IsList(list.Type()) && i < list.mChildren.size(); ++i)
                mExpected[name + " item " + std::to_string(i)] = TextOfStream(Now(list.mChildren[i]), true);
        }
    }

    // --- Reading
    std::string ReadStream(FF_Document* iDocument, Sys_TypedInStream& ioIn, Cmn_Int16 iType,
                           Reading& ioReading)
    {
        const FF_StreamHeaderReader header(iDocument, ioIn, iType,
                                           FF_StreamHeaderReader::EUseExtendedTOC(iDocument != nullptr));
        const Cmn_Int16 type = header.GetStreamType();
        if (type == cForeign) return ioIn.ReadInt32() == 1234 ? "foreign" : "another number";
        // As a reader that asks for its own types. What repair or a copy puts in sequence may be a table.
        if (type < 20 || type >= 60) throw Cmn_Exception(Cmn_eMessage_UnexpectedStreamType);
        std::string text = "(";
        if (IsList(type)) {
            FF_StreamListReader list(iDocument, ioIn);
            for (Cmn_Int32 i = 0; i < list.GetNumItems(); ++i)
                text += ReadStream(iDocument, ioIn, 0, ioReading);
        }
        const Cmn_Int32 number = ioIn.ReadInt32() - 1;
        const bool isRight = number >= 0 && number < Size() && ioIn.ReadString() == TextOf(number) &&
                             header.GetVersion() == VersionOf(number) && type == At(number).Type();
        // Repair may have had to give a stream another key.
        const bool hasKey = isRight && mIsUndamaged && iDocument != nullptr;
        EXPECT_TRUE(!hasKey || Key(iDocument->GetCurrentContext()) == At(number).mKey) << number;
        while (isRight && header.IsMoreLeft())
            text += ReadStream(iDocument, ioIn, 0, ioReading);
        text += ")" + std::to_string(number);
        if (!isRight) ioReading.mDiffers += "stream " + std::to_string(type) + " reads as " + text;
        ioReading.mNumbers.insert(number);
        return text;
    }
    // By every entry of the table, the items of lists by seeking too, then from the first stream
    // to the table without it.
    Reading Read(const char* iPath)
    {
        Reading reading;
        reading.Try("open", [&] {
            Document document(Sys_Store::eOpenFlag_Read, 0, iPath);
            for (FF_Document::TOC::Entry entry = 0; entry < document.GetTOC().GetNumKeys(); ++entry) {
                for (Cmn_Int32 i = 0; i < document.GetTOC().GetNumValues(entry); ++i)
                    ReadValue(document, entry, i, reading);
                SeekItems(document, entry, reading);
            }
            reading.Try("in sequence", [&] {
                Sys_TypedInStream in = document.MakeTypedInStream();
                in.SetPosition(document.GetEncryptionType() == 0 ? 49 : 50);
                for (int i = 0; in.GetPosition() < Cmn_Int64{document.GetTOCOffset()}; ++i)
                    reading.mTexts["#" + std::to_string(i)] = ReadStream(nullptr, in, 0, reading);
            });
        });
        return reading;
    }
    void ReadValue(FF_Document& ioDocument, FF_Document::TOC::Entry iEntry, Cmn_Int32 iValue,
                   Reading& ioReading)
    {
        Key key = ioDocument.GetTOC().GetKey(iEntry);
        const FF_Document::TOCValue value = ioDocument.GetTOC().GetValue(iEntry, iValue);
        const std::string name = key.Dump();
        const Cmn_Int16 type = iValue == 0 ? key.GetContexts().back().GetStreamType() : Cmn_Int16{0};
        if (iValue == 0)
            key.GetContexts().pop_back();
        else
            key.GetContexts().back().SetListIndex(iValue);
        if (value.GetLocal() == nullptr) {
            if (ioReading.mComplaint.empty()) ioReading.mComplaint = name + " is lost";
            return;
        }
        int piece = 0;
        for (const Cmn_UInt32 offset : value.GetLocal()->GetOffsets()) {
            const std::string what = iValue == 0 ? name + " piece " + std::to_string(piece++)
                                                 : name + " item " + std::to_string(iValue - 1);
            ioReading.Try(what, [&] {
                Sys_TypedInStream in = ioDocument.MakeTypedInStream();
                const FF_StSetStreamContext context(ioDocument, key);
                in.SetPosition(offset);
                ioReading.mTexts.try_emplace(what, ReadStream(&ioDocument, in, type, ioReading));
            });
        }
    }
    void SeekItems(FF_Document& ioDocument, FF_Document::TOC::Entry iEntry, Reading& ioReading)
    {
        Key key = ioDocument.GetTOC().GetKey(iEntry);
        const Cmn_Int16 type = key.GetContexts().back().GetStreamType();
        const std::string name = key.Dump() + " item ";
        Sys_TypedInStream in = ioDocument.MakeTypedInStream();
        if (!IsList(type) || type == cForeign || !ioDocument.SeekToStream(key, in)) return;
        key.GetContexts().pop_back();
        ioReading.Try(name, [&] {
            const FF_StSetStreamContext context(ioDocument, key);
            const FF_StreamHeaderReader header(&ioDocument, in, type, FF_StreamHeaderReader::eUseExtendedTOC);
            FF_StreamListReader list(&ioDocument, in);
            const Cmn_Int32 numValues = ioDocument.GetTOC().GetNumValues(iEntry);
            for (Cmn_Int32 i = std::min(list.GetNumItems(), numValues - 1) - 1; i >= 0; --i)
                ioReading.Try(name, [&] {
                    list.SeekToListEntry(i);
                    const std::string text = ReadStream(&ioDocument, in, 0, ioReading);
                    if (ioReading.mTexts.try_emplace(name + std::to_string(i), text).first->second != text)
                        ioReading.mDiffers += name + std::to_string(i) + " sought is " + text;
                });
        });
    }

    // --- Damage
    static constexpr const char* cHits[] = {
        "bit flipped",       "byte set",           "noise",   "zeros",   "cut off",
        "table cut off",     "inserted",           "removed", "doubled", "frames swapped",
        "frame copied over", "header copied over", "two hits"};
    enum EHit { eBit, eByte, eNoise, eZeros, eCut, eTable, eInsert, eRemove, eDouble, eSwap, eCopy, eHeader };
    static constexpr int cTwoHits = eHeader + 1;
    struct Frame
    {
        std::size_t mBegin = 0;
        std::size_t mEnd = 0;
        Cmn_Int16 mType = 0;
    };
    // A stream, the header stream or the table.
    Frame PickFrame()
    {
        const int which = Below(mStreams.size() + 2);
        const std::size_t data = mType == 0 ? 19 : 20;
        if (which == Size()) return {mTable, mPlain.size(), -1};
        if (which > Size()) return {data, data + 30, -2};
        const Stream& stream = At(which);
        return {static_cast<std::size_t>(stream.mBegin), static_cast<std::size_t>(stream.mEnd),
                stream.Type()};
    }
    // Two apart from each other in a file of iSize, the first of them first; false where luck finds none.
    bool PickFrames(std::size_t iSize, bool iEqual, Frame& oFirst, Frame& oSecond)
    {
        for (int tries = 0; tries < 60; ++tries) {
            oFirst = PickFrame();
            oSecond = PickFrame();
            const bool isEqual = oFirst.mEnd - oFirst.mBegin == oSecond.mEnd - oSecond.mBegin;
            if (oFirst.mEnd <= oSecond.mBegin && oSecond.mEnd <= iSize && (isEqual || !iEqual)) return true;
        }
        return false;
    }
    // Every hit puts other bytes in the place of a stretch.
    void Hit(int iHit, Bytes& ioFile)
    {
        auto from = static_cast<std::size_t>(Below(ioFile.size()));
        std::size_t to = from + 1 + static_cast<std::size_t>(Below(Below(2) == 0 ? 20 : 512));
        if (iHit == eBit || iHit == eByte) to = from + 1;
        if (iHit == eTable) from = mTable;
        if (iHit == eCut || iHit == eTable) to = ioFile.size();
        from = std::min(from, ioFile.size());
        to = std::min(to, ioFile.size());
        const auto part = [&](std::size_t a, std::size_t b) {
            return Bytes(ioFile.data() + std::min(a, ioFile.size()),
                         ioFile.data() + std::min(b, ioFile.size()));
        };
        const bool isFilled = iHit == eByte || iHit == eNoise || iHit == eZeros || iHit == eInsert;
        Bytes bytes(isFilled ? to - from : 0);
        Frame a;
        Frame b;
        if (iHit == eBit) bytes = part(from, to);
        if (iHit == eBit && !bytes.empty()) bytes.front() ^= static_cast<std::uint8_t>(1 << Below(8));
        if (iHit == eByte || iHit == eNoise || (iHit == eInsert && Below(2) == 0))
            std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(Below(256)); });
        if (iHit == eDouble) {
            a = Below(2) == 0 ? PickFrame() : Frame{from, to};
            bytes = part(a.mBegin, a.mEnd);
            if (Below(2) == 0) from = std::min(a.mEnd, ioFile.size());
        }
        if (iHit == eInsert || iHit == eDouble) to = from;
        if (iHit >= eSwap && iHit <= eHeader) {
            if (!PickFrames(ioFile.size(), iHit == eCopy || (iHit == eSwap && Below(3) != 0), a, b)) return;
            if (iHit != eSwap && Below(2) == 0) std::swap(a, b);
            from = iHit == eSwap ? a.mBegin : b.mBegin;
            if (iHit == eHeader)
                a.mEnd = a.mBegin + cStreamHeader + (Below(2) == 0 && a.mType > 0 ? 2u : 0u); // and its type
            to = iHit == eSwap ? b.mEnd : from + a.mEnd - a.mBegin;
            bytes = part(a.mBegin, a.mEnd);
        }
        if (iHit == eSwap) {
            Bytes swapped = part(b.mBegin, b.mEnd);
            for (const Bytes& more : {part(a.mEnd, b.mBegin), bytes})
                swapped.insert(swapped.end(), more.begin(), more.end());
            bytes = std::move(swapped);
        }
        Bytes file = part(0, from);
        for (const Bytes& more : {bytes, part(to, ioFile.size())})
            file.insert(file.end(), more.begin(), more.end());
        ioFile = std::move(file);
    }

    // --- What has to hold
    void Found(unsigned iRun, int iHit, const std::string& iWhat)
    {
        const std::string kind = std::string(cHits[iHit]) + ": " + iWhat.substr(0, iWhat.find(':'));
        if (++mFindings[kind] <= 3) ADD_FAILURE() << "run " << iRun << ", " << cHits[iHit] << ": " << iWhat;
    }
    bool IsSuperseded(int iNumber, const std::set<int>& iReached) const
    {
        return mSuperseded.contains(iNumber) &&
               std::any_of(iReached.upper_bound(iNumber), iReached.end(),
                           [&](int i) { return At(i).Name() == At(iNumber).Name(); });
    }
    static bool IsTold(const std::vector<FF_Fault>& iFaults, const std::string& iWords)
    {
        return std::any_of(iFaults.begin(), iFaults.end(),
                           [&](const FF_Fault& f) { return f.mText.find(iWords) != std::string::npos; });
    }
    // Whether a report says of a stream, or of one around it, that it may be an older one, or
    // may have had another key.
    static bool IsOlderTold(const std::vector<FF_Fault>& iFaults, const std::string& iName)
    {
        const std::string name = "stream " + iName;
        return std::any_of(iFaults.begin(), iFaults.end(), [&](const FF_Fault& fault) {
            if (fault.mText.ends_with("other keys")) {
                const std::string key = fault.mText.substr(0, fault.mText.find(','));
                return name.find(key.substr(key.find_last_of(" /") + 1)) != std::string::npos;
            }
            const bool isOlder = fault.mText.starts_with("expected the newest ");
            if (!isOlder && fault.mText.find(" was written in place of ") == std::string::npos) return false;
            for (std::size_t at = 0; (at = fault.mText.find("stream ", at)) != std::string::npos; ++at)
                if (IsInside(name, fault.mText.substr(at, fault.mText.find(',', at) - at))) return true;
            return false;
        });
    }
    void Run(unsigned iRun)
    {
        if (iRun % 64 == 0 || mStreams.empty()) MakeDocument(iRun / 64);
        mRandom.seed(iRun);
        const int hit = Below(cTwoHits + 1);
        const bool isRaw = hit < eSwap && Below(2) == 0;
        Bytes file = isRaw ? mFile : mPlain;
        for (int left = hit == cTwoHits ? 2 : 1; left > 0; --left)
            Hit(hit == cTwoHits ? Below(cTwoHits) : hit, file);
        if (!isRaw) Mask(file, mType, mRawKey);
        mFiles.SetFiles({{cPath, file}});
        mFiles.ClearLog();
        const auto found = [&](const std::string& iWhat) { Found(iRun, hit, iWhat); };
        CheckReading(found);
        Mask(file, mType, mRawKey);
        CheckRepair(file, found);
        const std::string reports = TakeReports();
        if (!reports.empty()) found("asserts: " + reports);
    }
    template <class Report>
    void CheckReading(const Report& iFound)
    {
        const Reading reading = Read(cPath);
        const std::string faults = Text(FF_DocumentCheck::Check(Sys_FileLoc(cPath)));
        std::size_t numRight = 0;
        for (const auto& [where, text] : reading.mTexts) {
            const auto expected = mExpected.find(where);
            const bool isInSequence = where[0] == '#';
            const bool isRight = isInSequence ? mInSequence.contains(text)
                                              : expected != mExpected.end() && expected->second == text;
            numRight += isRight && !isInSequence;
            if (!isRight)
                iFound("silently different: " + where + " is " + text + " for " +
                       (expected == mExpected.end() ? "nothing" : expected->second));
        }
        if (!reading.mDiffers.empty()) iFound("silently different: " + reading.mDiffers);
        const bool isComplete = reading.mComplaint.empty() && numRight == mExpected.size();
        mNumComplete += isComplete;
        if (faults.empty() && !isComplete) iFound("check calls it good: " + reading.mComplaint);
    }
    template <class Report>
    void CheckRepair(const Bytes& iPlain, const Report& iFound)
    {
        const FF_DocumentRepair::Report report =
            FF_DocumentRepair::Repair(Sys_FileLoc(cPath), Sys_FileLoc(cRepaired));
        const std::string faults = Text(FF_DocumentCheck::Check(Sys_FileLoc(cRepaired)));
        if (!faults.empty()) iFound("check refuses what repair wrote: " + faults);
        const Reading reading = Read(cRepaired);
        if (!reading.mDiffers.empty()) iFound("repaired file is different: " + reading.mDiffers);
        if (!reading.mDamage.empty()) iFound("repaired file does not read: " + reading.mDamage);

        Bytes plain = mFiles.GetBytes(cRepaired);
        Mask(plain, plain[18], plain[19]);
        const std::string repaired(plain.begin(), plain.end());
        for (const FF_StreamInfo& stream : report.mStreams) {
            if (stream.mStreamType == 0 || stream.mStreamType == cForeign) continue;
            const auto written = mNumbers.find(SmallDocument::WithoutPlace(repaired.substr(
                static_cast<std::size_t>(stream.mPosition), static_cast<std::size_t>(stream.mSize))));
            if (written == mNumbers.end())
                iFound("copied what was never written: stream " + std::to_string(stream.mStreamType));
            else if (!reading.mNumbers.contains(written->second) &&
                     !IsSuperseded(written->second, reading.mNumbers))
                iFound("copied stream is not reachable: " + At(written->second).Name());
        }
        const std::string_view after(reinterpret_cast<const char*>(iPlain.data()), iPlain.size());
        std::map<std::string, int> newest;
        for (int number = 0; number < Size(); ++number) {
            // What begins among the bytes that have no mask is masked in part.
            constexpr std::size_t cFirstMasked = 20;
            if (after.find(Image(number), cFirstMasked) == std::string_view::npos) continue;
            ++mNumSurvived;
            const std::string name = At(number).Name();
            newest[name] = std::max(newest[name], number);
            if (reading.mNumbers.contains(number) || IsSuperseded(number, reading.mNumbers)) continue;
            iFound("whole stream is not reachable: " + name);
        }
        for (const auto& [name, number] : newest) {
            const auto text = reading.mTexts.find(name + " piece 0");
            if (text == reading.mTexts.end() || !mPieces.contains(name)) continue; // nobody reads by that key
            const int read = std::atoi(text->second.substr(text->second.rfind(')') + 1).c_str());
            const bool isTold = IsTold(report.mLost, name) || IsOlderTold(report.mLost, name);
            if (read < number && mSuperseded.contains(read) && !isTold)
                iFound("superseded version: " + name + " reads as " + text->second + ", newest is " +
                       std::to_string(number));
        }
    }

    std::mt19937 mRandom;
    std::unique_ptr<FF_Document> mDocument;
    std::unique_ptr<Sys_TypedOutStream> mOut;
    std::vector<Stream> mStreams;
    std::set<int> mSuperseded;
    std::map<std::string, int> mNumbers;             // by the bytes of the stream, wherever it stands
    std::map<std::string, std::vector<int>> mPieces; // what is registered under each key
    std::map<std::string, std::string> mExpected;    // as Reading::texts
    std::set<std::string> mInSequence;
    Bytes mFile;
    Bytes mPlain;
    int mType = 0;
    unsigned mRawKey = 0;
    std::size_t mTable = 0;
    std::map<std::string, int> mFindings;
    int mNumComplete = 0;
    bool mIsUndamaged = false;
    int mNumSurvived = 0;
};

unsigned FromEnvironment(const char* iName, unsigned iElse)
{
    const char* const text = std::getenv(iName);
    return text == nullptr ? iElse : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

TEST_F(DamageTest, NoDamageIsReadAsAnotherValueAndAllThatIsWholeIsRepaired)
{
    const unsigned first = FromEnvironment("KORA_DAMAGE_FIRST", 0);
    const unsigned count = FromEnvironment("KORA_DAMAGE_RUNS", 2000);
    MakeDocument(first / 64);
    for (unsigned run = first; run - first < count; ++run)
        Run(run);
    std::printf("%u runs: %d read complete, %d streams survived whole\n", count, mNumComplete, mNumSurvived);
}

} // namespace
