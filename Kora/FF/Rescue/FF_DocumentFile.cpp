#include "Kora/FF/Rescue/FF_DocumentFile_p.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/FF/Format/FF_MaskGuess_p.h"
#include "Kora/FF/Format/FF_ScrambleKernels_p.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

using namespace FF_Format;

namespace {

// A header stream holds four bytes; room for what later versions append, and a bound for what
// is summed to try a layout.
constexpr Cmn_Int64 cMaxHeaderBody = 4096;
constexpr Cmn_Int64 cEverything = std::numeric_limits<Cmn_Int64>::max();

std::string Found(const std::string& iWhat, Cmn_Int64 iExpected, Cmn_Int64 iFound)
{
    return "expected " + iWhat + " " + std::to_string(iExpected) + ", found " + std::to_string(iFound);
}

void ThrowLastErrorOf(const Sys_File& iFile)
{
    Sys_ThrowIfOSErr(iFile.GetLastError(), iFile.GetFileLoc().GetPath());
}

Cmn_Int64 OpenedLength(Sys_File& ioFile)
{
    ioFile.Open(Sys_FileSystem::eAccess_Read);
    const Cmn_Int64 length = ioFile.GetLength();
    if (length == 0) ThrowLastErrorOf(ioFile);
    return std::min(length, cMaxFileSize);
}

} // namespace

std::string FF_SumText(const std::string& iWhat, Cmn_UInt32 iExpected, Cmn_UInt32 iFound)
{
    char sums[40];
    std::snprintf(sums, sizeof sums, " %08X, found %08X", unsigned{iExpected}, unsigned{iFound});
    return "expected " + iWhat + sums;
}

FF_DocumentFile::FF_DocumentFile(const Sys_FileLoc& iLocation)
    : mFile(iLocation)
    , mWindow([this](Cmn_Int64 p, void* o, std::size_t n) { return ReadPlain(p, o, n); }, OpenedLength(mFile))
{
    Front front{};
    const std::size_t count = ReadPlain(0, front.data(), front.size());
    CheckFront(front, count);
    const Layout own = {front[cMaskTypePosition], front[cRawKeyPosition], front[cSwapFlagPosition] != 0};
    if (count <= cMaskTypePosition) return;
    FindLayout(front, own);
    CheckLayout(own);
    if (mIsReadable) CheckHeaderStream();
}

int FF_DocumentFile::Layout::CountDifferences(const Layout& iOther) const
{
    return int{mType != iOther.mType} + int{mType != eFF_EncryptionType_None && mRawKey != iOther.mRawKey} +
           int{mSwap != iOther.mSwap};
}

std::size_t FF_DocumentFile::ReadPlain(Cmn_Int64 iPosition, void* oBytes, std::size_t iCount)
{
    const std::size_t count = mFile.ReadAt(iPosition, oBytes, iCount);
    if (count < iCount) ThrowLastErrorOf(mFile);
    FF_Scramble(mLayout.mType, mKey, oBytes, count, iPosition);
    return count;
}

void FF_DocumentFile::SetLayout(const Layout& iLayout)
{
    mLayout = iLayout;
    mKey = iLayout.mRawKey;
    FF_ScrambleKey(mLayout.mType, mKey);
    mWindow.Forget();
}

bool FF_DocumentFile::PeekAt(Cmn_Int64 iPosition, Sys_StdStreamHeaderInfo& oHeader)
{
    if (iPosition < mLayout.GetData() || iPosition > mWindow.GetLength()) return false;
    // Most places that are tried hold no header: these cost no exception.
    const auto& magic = Sys_StdStreamHeaderFields::cMagic;
    const std::span<const Cmn_UInt8> bytes = mWindow.At(iPosition, magic.size());
    if (bytes.size() < magic.size() || std::memcmp(bytes.data(), magic.data(), magic.size()) != 0)
        return false;
    Sys_TypedInStream typed(mWindow, mLayout.mSwap);
    typed.SetPosition(iPosition);
    return Sys_StdStreamHeaderReader::Peek(typed, oHeader) && oHeader.mIsComplete;
}

// False unless a sound header stands where the header stream belongs and its body has the right
// sum and holds an offset.
bool FF_DocumentFile::ReadHeaderStream(Sys_StdStreamHeaderInfo& oHeader, Cmn_Int64& oTOC)
{
    if (!PeekAt(mLayout.GetData(), oHeader) || oHeader.mName != cStreamName) return false;
    const Cmn_Int64 size = oHeader.mEnd - oHeader.mBody;
    if (size < Cmn_Int64{sizeof(Cmn_UInt32)} || size > cMaxHeaderBody) return false;
    if (mWindow.SumOf(oHeader.mBody, size) != oHeader.mBodySum) return false;
    Sys_TypedInStream typed(mWindow, mLayout.mSwap);
    typed.SetPosition(oHeader.mBody);
    oTOC = Cmn_Int64{typed.ReadUInt32()};
    return true;
}

bool FF_DocumentFile::IsTOC(Cmn_Int64 iPosition)
{
    Sys_StdStreamHeaderInfo header;
    if (!PeekAt(iPosition, header) || header.mName != cStreamName || header.mEnd - header.mBody < 2)
        return false;
    Sys_TypedInStream typed(mWindow, mLayout.mSwap);
    typed.SetPosition(header.mBody);
    return typed.ReadInt16() == FF_Document::cTOCStreamType;
}

// How far a layout makes sense of the file; cNone when not even the first header is one. Where that header is
// masked, or stands where only plain files have it, it is everything. Mask type 5, and any type with key 0,
// leave it unmasked: there the gapless row of outermost headers, and the table where the header stream says
// that it is, tell how likely a key is.
Cmn_Int64 FF_DocumentFile::HowFarItLeads(const Layout& iLayout)
{
    constexpr Cmn_Int64 cToTable = Cmn_Int64{1} << 40; // more than any row
    SetLayout(iLayout);
    Sys_StdStreamHeaderInfo header;
    Cmn_Int64 toc = cNone;
    const bool hasHeaderStream = ReadHeaderStream(header, toc);
    Cmn_Int64 end = hasHeaderStream ? header.mEnd : mLayout.GetData() + cHeaderStreamSize;
    if (!hasHeaderStream && !PeekAt(end, header)) return cNone;
    const bool isPlain = iLayout.mType == eFF_EncryptionType_None;
    if (isPlain || (mKey != 0 && iLayout.mType != eFF_EncryptionType_Block93)) return cEverything;
    const bool leadsToTOC = hasHeaderStream && toc >= end && IsTOC(toc);
    while (end != toc && PeekAt(end, header))
        end = header.mEnd;
    if (leadsToTOC) return end == toc ? cEverything : end + cToTable;
    return end;
}

// Whether a magic stands where the header stream or the first stream begins: most layouts
// are refused by that alone.
bool FF_DocumentFile::LooksRight(const Front& iFront, const Layout& iLayout)
{
    const auto& magic = Sys_StdStreamHeaderFields::cMagic;
    Cmn_UInt8 key = iLayout.mRawKey;
    FF_ScrambleKey(iLayout.mType, key);
    for (const Cmn_Int64 at : {iLayout.GetData(), iLayout.GetData() + cHeaderStreamSize}) {
        std::array<Cmn_UInt8, 4> bytes;
        std::copy_n(iFront.data() + at, bytes.size(), bytes.data());
        FF_Scramble(iLayout.mType, key, bytes.data(), bytes.size(), at);
        if (std::memcmp(bytes.data(), magic.data(), bytes.size()) == 0) return true;
    }
    return false;
}

// The raw keys of a mask type that may lead to a magic. The masks of types 1 to 4 tell theirs: at an odd
// place the mask byte is the raw key times an odd number. Type 5 leaves the first block of a file as it is: a
// file of one block reads alike with any key, a longer one is tried with all.
std::vector<Cmn_UInt8> FF_DocumentFile::GetKeys(const Front& iFront, Cmn_UInt8 iType, Cmn_UInt8 iOwnKey) const
{
    std::vector<Cmn_UInt8> keys;
    if (iType == eFF_EncryptionType_None ||
        (iType == eFF_EncryptionType_Block93 && GetLength() <= Cmn_Int64{cMaskBlock}))
        return {iOwnKey};
    if (iType == eFF_EncryptionType_Block93) {
        for (int key = 0; key < 256; ++key)
            keys.push_back(static_cast<Cmn_UInt8>(key));
        return keys;
    }
    for (const Cmn_Int64 magic : {cRawKeyPosition + 1, cRawKeyPosition + 1 + cHeaderStreamSize}) {
        const std::size_t odd = static_cast<std::size_t>(magic) + 1;
        const auto mask = static_cast<unsigned>(iFront[odd] ^ Sys_StdStreamHeaderFields::cMagic[1]);
        const auto factor = static_cast<Cmn_UInt8>(odd * FF_ScrambleMultiplier(iType));
        keys.push_back(static_cast<Cmn_UInt8>(mask * FF_InverseOfOdd(factor)));
    }
    return keys;
}

// Those that look right, those that differ from the file's own in the fewest bytes first.
std::vector<FF_DocumentFile::Layout> FF_DocumentFile::GetLayouts(const Front& iFront,
                                                                 const Layout& iOwn) const
{
    std::vector<Layout> layouts;
    for (Cmn_UInt8 type = eFF_EncryptionType_None; type <= eFF_EncryptionType_Block93; ++type)
        for (const Cmn_UInt8 key : GetKeys(iFront, type, iOwn.mRawKey)) {
            if (!LooksRight(iFront, {type, key, false})) continue;
            for (const bool swap : {false, true})
                layouts.push_back({type, key, swap});
        }
    std::stable_sort(layouts.begin(), layouts.end(), [&](const Layout& a, const Layout& b) {
        return a.CountDifferences(iOwn) < b.CountDifferences(iOwn);
    });
    return layouts;
}

// The layout in which the most streams are whole, wherever they stand; oNumWhole is
// cNone where none is in any.
FF_DocumentFile::Layout FF_DocumentFile::GuessLayout(const Layout& iElse, Cmn_Int64& oNumWhole)
{
    FF_StreamWindow raw([this](Cmn_Int64 iPosition, void* oBytes,
                               std::size_t iCount) { return mFile.ReadAt(iPosition, oBytes, iCount); },
                        GetLength());
    std::vector<Layout> layouts = {iElse, {iElse.mType, iElse.mRawKey, !iElse.mSwap}};
    for (const FF_Mask& mask : FF_GuessMasks(raw, iElse.mType))
        for (const bool swap : {iElse.mSwap, !iElse.mSwap})
            layouts.push_back({mask.mType, mask.mRawKey, swap});
    Layout best = iElse;
    oNumWhole = cNone;
    for (const Layout& layout : layouts) {
        const Cmn_Int64 count = CountWhole(layout);
        if (count == 0 || count <= oNumWhole) continue;
        oNumWhole = count;
        best = layout;
    }
    return best;
}

// One more where the header stream is among them, which stands elsewhere in plain files.
Cmn_Int64 FF_DocumentFile::CountWhole(const Layout& iLayout)
{
    SetLayout(iLayout);
    Cmn_Int64 count = 0;
    for (const FF_Frame& frame :
         FF_FindFrames(mWindow, iLayout.mSwap, 0, GetLength(), eMovedFrames_Take).mFrames)
        if (frame.mIsWhole) count += frame.mHeader.mStart == iLayout.GetData() ? 2 : 1;
    return count;
}

void FF_DocumentFile::FindLayout(const Front& iFront, const Layout& iOwn)
{
    Layout best = iOwn;
    if (best.mType > eFF_EncryptionType_Block93) best.mType = eFF_EncryptionType_None;
    Cmn_Int64 farthest = cNone;
    for (const Layout& layout : GetLayouts(iFront, iOwn)) {
        const Cmn_Int64 far = HowFarItLeads(layout);
        if (far <= farthest) continue;
        farthest = far;
        best = layout;
        if (far == cEverything) break;
    }
    if (farthest == cNone) best = GuessLayout(best, farthest);
    SetLayout(best);
    mIsReadable = farthest != cNone || iOwn.mType <= eFF_EncryptionType_Block93;
    mFirst = std::min(mLayout.GetData() + cHeaderStreamSize, mWindow.GetLength());
}

void FF_DocumentFile::CheckFront(const Front& iFront, std::size_t iCount)
{
    if (iCount <= cMaskTypePosition)
        AddFault(static_cast<Cmn_Int64>(iCount),
                 "expected a file header of 19 bytes, found " + std::to_string(iCount));
    if (iCount > 0 && iFront[0] != cVersion) AddFault(0, Found("format version", cVersion, iFront[0]));
    for (std::size_t i = 1; i < std::min<std::size_t>(iCount, cSwapFlagPosition); ++i)
        if (iFront[i] != static_cast<Cmn_UInt8>(cSignature[i - cSignaturePosition])) {
            AddFault(static_cast<Cmn_Int64>(i),
                     "expected the signature " + std::string(cSignature) + ", found other bytes");
            break;
        }
}

void FF_DocumentFile::CheckLayout(const Layout& iOwn)
{
    if (!mIsReadable)
        return AddFault(cMaskTypePosition,
                        "expected an encryption type from 0 to 5, found " + std::to_string(iOwn.mType));
    if (mLayout.mSwap != iOwn.mSwap)
        AddFault(cSwapFlagPosition, Found("byte-swap flag", mLayout.mSwap ? 1 : 0, iOwn.mSwap ? 1 : 0));
    if (mLayout.mType != iOwn.mType)
        AddFault(cMaskTypePosition, Found("encryption type", mLayout.mType, iOwn.mType));
    if (mLayout.mType != eFF_EncryptionType_None && mLayout.mRawKey != iOwn.mRawKey)
        AddFault(cRawKeyPosition, Found("key byte", mLayout.mRawKey, iOwn.mRawKey));
}

void FF_DocumentFile::CheckHeaderStream()
{
    Sys_StdStreamHeaderInfo header;
    const Cmn_Int64 data = mLayout.GetData();
    if (!PeekAt(data, header) || header.mName != cStreamName)
        return AddFault(std::min(data, GetLength()),
                        "expected the header stream, found no sound header of one");
    if (header.mVersion != cHeaderStreamVersion)
        AddFault(data, Found("version of the header stream", cHeaderStreamVersion, header.mVersion));
    const Cmn_Int64 size = header.mEnd - header.mBody;
    if (size < Cmn_Int64{sizeof(Cmn_UInt32)} || size > cMaxHeaderBody)
        return AddFault(header.mBody,
                        "expected a TOC offset of 4 bytes, found " + std::to_string(size) + " bytes");
    const Cmn_UInt32 sum = mWindow.SumOf(header.mBody, size);
    if (sum != header.mBodySum)
        return AddFault(header.mBody, FF_SumText("body sum of the header stream", header.mBodySum, sum));
    // Not before: where another stream's header has got here, its size leads past whole streams.
    mFirst = header.mEnd;
    Cmn_Int64 toc = cNone;
    ReadHeaderStream(header, toc);
    mToldTOC = toc;
    if (toc < mFirst || toc >= mWindow.GetLength())
        return AddFault(header.mBody, "expected a TOC offset from " + std::to_string(mFirst) + " to " +
                                          std::to_string(mWindow.GetLength() - 1) + ", found " +
                                          std::to_string(toc));
    if (IsTOC(toc))
        mTOC = toc;
    else
        AddFault(toc, "expected the table of contents, found no sound header of one");
}
