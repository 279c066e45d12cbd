// SmallDocument: a document of a little of everything, written, and read back as text in every way there is.
#pragma once

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_Crc32C.h"
#include "Kora/FF/Document/FF_Document.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Document/FF_StSetStreamContext.h"
#include "Kora/FF/Document/FF_StreamHeader.h"
#include "Kora/FF/Document/FF_StreamList.h"
#include "Kora/FF/Rescue/FF_DocumentCheck.h"
#include "Kora/FF/Rescue/FF_DocumentRepair.h"

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace SmallDocument {
enum EType : Cmn_Int16 {
    eSong = 100,
    eTrack,
    eRegion,
    eClips = 110,
    eClip,
    eNotes,
    ePieces = 120,
    eBulk = 130
};

inline FF_Document Make(const std::string& iPath, int iType = 0)
{
    return {Sys_FileLoc(iPath), static_cast<EFF_EncryptionType>(iType), eTextEncoding_Utf8, false};
}

// Registers the stream and writes it around what iBody writes.
template <class Body>
void Stream(FF_Document& ioDocument, Sys_TypedOutStream& ioOut, Cmn_Int16 iType, const Body& iBody)
{
    FF_Document::AddTOCEntry(&ioDocument, static_cast<Cmn_UInt64>(ioOut.GetPosition()), iType,
                             "type " + std::to_string(iType));
    const FF_StreamHeaderWriter header(&ioDocument, ioOut, iType, 3);
    iBody();
}

// Nested streams, a list whose items hold streams, and a stream in two pieces; all hold the word.
inline void Write(FF_Document& ioDocument, std::string_view iWord, std::size_t iBulk = 0)
{
    Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
    ioDocument.SeekToEnd(out);
    Stream(ioDocument, out, eSong, [&] {
        out.WriteString(iWord);
        Stream(ioDocument, out, eTrack, [&] {
            Stream(ioDocument, out, eRegion, [&] { out.WriteString(iWord); });
            out.WriteFloat64(120.5);
        });
        out.WriteBool(true);
    });
    Stream(ioDocument, out, eClips, [&] {
        FF_StreamListWriter list(&ioDocument, out, 2);
        for (int i = 0; i < 2; ++i) {
            list.AddListEntry(i, iWord);
            const FF_StreamHeaderWriter item(&ioDocument, out, eClip, 1);
            Stream(ioDocument, out, eNotes, [&] { out.WriteInt32(i); });
        }
    });
    for (int piece = 0; piece < 2; ++piece)
        Stream(ioDocument, out, ePieces, [&] { out.WriteString(iWord); });
    if (iBulk > 0) Stream(ioDocument, out, eBulk, [&] { out.WriteString(std::string(iBulk, 'b')); });
}

inline std::string TakeBytes(Sys_TypedInStream& ioIn, Cmn_Int64 iCount)
{
    std::string bytes(static_cast<std::size_t>(iCount), '\0');
    ioIn.ReadBytes(bytes.data(), bytes.size());
    return bytes;
}

inline void ReadStream(const FF_StreamHeaderReader& iHeader, Sys_TypedInStream& ioIn, std::string& ioText)
{
    ioText +=
        "  " + std::to_string(iHeader.GetStreamType()) + " v" + std::to_string(iHeader.GetVersion()) + " ";
    const std::string bytes = TakeBytes(ioIn, iHeader.GetBytesLeft());
    ioText += std::to_string(bytes.size()) + " bytes, sum " +
              std::to_string(Sys_Crc32C(0, bytes.data(), bytes.size())) + "\n";
}

// By key: every entry of the table, its values, its first piece, and the items of lists, last first.
inline void ReadByKey(FF_Document& ioDocument, std::string& ioText)
{
    const FF_Document::TOC& toc = ioDocument.GetTOC();
    Sys_TypedInStream in = ioDocument.MakeTypedInStream();
    for (FF_Document::TOC::Entry entry = 0; entry < toc.GetNumKeys(); ++entry) {
        FF_Document::TOCKey key = toc.GetKey(entry);
        std::string line = key.Dump() + ":";
        for (Cmn_Int32 i = 0; i < toc.GetNumValues(entry); ++i) {
            const FF_Document::TOCValue value = toc.GetValue(entry, i);
            line += " " + value.GetLocation().Dump() + " " + value.GetDisplayInfo().GetText();
        }
        ioText += line + "\n";
        if (key.GetContexts().empty() || !ioDocument.SeekToStream(key, in)) continue;
        const Cmn_Int16 type = key.GetContexts().back().GetStreamType();
        key.GetContexts().pop_back();
        const FF_StSetStreamContext context(ioDocument, key);
        const FF_StreamHeaderReader header(&ioDocument, in, type, FF_StreamHeaderReader::eUseExtendedTOC);
        if (!toc.IsList(entry)) {
            ReadStream(header, in, ioText);
            continue;
        }
        FF_StreamListReader list(&ioDocument, in);
        // A list of more items than are registered is a broken promise of its writer;
        // asking for those asserts.
        for (Cmn_Int32 i = std::min(list.GetNumItems(), toc.GetNumValues(entry) - 1) - 1; i >= 0; --i) {
            list.SeekToListEntry(i);
            ReadStream(FF_StreamHeaderReader(&ioDocument, in, 0, FF_StreamHeaderReader::eUseExtendedTOC), in,
                       ioText);
        }
    }
}

// From the first stream to the table, without either.
inline void ReadInSequence(FF_Document& ioDocument, std::string& ioText)
{
    constexpr Cmn_Int64 cFileHeader = 19;
    constexpr Cmn_Int64 cHeaderStream = 30;
    Sys_TypedInStream in = ioDocument.MakeTypedInStream();
    in.SetPosition(cFileHeader + (ioDocument.GetEncryptionType() == eFF_EncryptionType_None ? 0 : 1) +
                   cHeaderStream);
    while (in.GetPosition() < static_cast<Cmn_Int64>(ioDocument.GetTOCOffset()))
        ReadStream(FF_StreamHeaderReader(nullptr, in, 0), in, ioText);
}

// What was read before something was refused, and the complaint, which is empty when nothing was.
struct Reading
{
    std::string mText;
    std::string mComplaint;
    bool mNamesFile = true;
};

inline Reading Read(const std::string& iPath)
{
    Reading result;
    try {
        FF_Document document = Make(iPath);
        document.Open(Sys_Store::eOpenFlag_Read);
        ReadByKey(document, result.mText);
        ReadInSequence(document, result.mText);
    } catch (const Cmn_Exception& exception) {
        result.mComplaint = exception.Describe();
        result.mNamesFile = !exception.GetFile().empty();
    }
    return result;
}

// A stream without what tells where it stands: the sums of its headers, and the first one's list index.
inline std::string WithoutPlace(const std::string& iStream)
{
    std::string result = iStream;
    const auto blank = [&](std::size_t iFrom, std::size_t iCount) {
        for (std::size_t i = iFrom; i < std::min(iFrom + iCount, result.size()); ++i)
            result[i] = '\0';
    };
    for (std::size_t at = 0; (at = iStream.find("KSH3", at)) < iStream.size() - 4; ++at) {
        const std::size_t behindName = at + 5 + static_cast<unsigned char>(iStream[at + 4]);
        if (at == 0) blank(behindName + 2, 4);
        blank(behindName + 12, 8);
    }
    return result;
}

// The application's streams of a document, nested ones too, wherever they stand.
inline std::multiset<std::string> Pieces(const std::string& iPath)
{
    FF_Document document = Make(iPath);
    document.Open(Sys_Store::eOpenFlag_Read);
    Sys_TypedInStream in = document.MakeTypedInStream();
    std::multiset<std::string> pieces;
    for (const FF_StreamInfo& stream : FF_DocumentCheck::ListStreams(document)) {
        if (stream.mStreamType < eSong) continue;
        in.SetPosition(stream.mPosition);
        pieces.insert(WithoutPlace(TakeBytes(in, stream.mSize)));
    }
    return pieces;
}
} // namespace SmallDocument
