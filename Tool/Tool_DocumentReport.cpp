#include "Tool/Tool_DocumentReport.h"

#include "Bastel/Sys/Sys_File.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Rescue/FF_DocumentCheck.h"
#include "Tool/Tool_Document.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_JsonWriter.h"
#include "Tool/Tool_Progress.h"
#include "Tool/Tool_Text.h"

#include <algorithm>
#include <optional>
#include <ostream>
#include <span>
#include <tuple>

namespace {

// The version that the file has, not the one that this library writes.
Cmn_Int64 FirstByteOf(Sys_File& ioFile)
{
    Cmn_UInt8 byte = 0;
    ioFile.ReadAt(0, &byte, 1);
    return byte;
}

std::string Number(Cmn_Int64 iValue) { return std::to_string(iValue); }

// "meter map (16)", "type 7", "\"Meter\"" for headers that are no document streams.
std::string LabelOf(const FF_StreamInfo& iInfo)
{
    const std::string item =
        iInfo.mListIndex == 0 ? "" : "item " + Number(Cmn_Int64{iInfo.mListIndex} - 1) + ": ";
    const std::string list = iInfo.mIsList ? ", a list" : "";
    if (iInfo.mStreamType == FF_Document::cNoStreamType) return item + Tool_Quoted(iInfo.mName) + list;
    const std::string name = Tool_StreamTypeName(iInfo.mStreamType);
    const std::string number = Number(iInfo.mStreamType);
    return item + (name.empty() ? "type " + number : name + " (" + number + ')') + list;
}

// Rows of cells as text, each column as wide as its widest cell; the first iRight columns flush right. The first row is a
// heading.
std::string Aligned(const std::vector<std::vector<std::string>>& iRows, std::size_t iRight, Tool_Style iStyle)
{
    std::vector<std::size_t> widths(iRows.front().size(), 0);
    for (const auto& row : iRows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    std::string text;
    for (const auto& row : iRows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string fill(widths[i] - row[i].size(), ' ');
            line += (i == 0 ? "" : "  ") + (i < iRight ? fill + row[i] : row[i] + fill);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += (text.empty() ? iStyle.Heading(line) : line) + '\n';
    }
    return text;
}

} // namespace

class Tool_DocumentReport::Json : public Tool_JsonWriter
{
public:
    Json(const Tool_DocumentReport& iReport, std::ostream& oOut)
        : Tool_JsonWriter(oOut)
        , mReport(iReport)
    {
    }

    void AddPiece(int iIndent, const Piece& iPiece)
    {
        if (iPiece.mEntry != mKeyOf) {
            mKeyOf = iPiece.mEntry;
            mKey = mReport.mDocument.GetTOC().GetKey(iPiece.mEntry).Dump();
        }
        Add(iIndent, "key", mKey);
        Add(iIndent, "value", iPiece.mValue);
        Add(iIndent, "piece", iPiece.mPiece);
        Add(iIndent, "description", mReport.DescriptionOf(iPiece));
    }
    void AddStream(const FF_StreamInfo& iInfo, std::span<const Piece> iPieces)
    {
        Open(4, nullptr, '{');
        Add(6, "position", iInfo.mPosition);
        Add(6, "size", iInfo.mSize);
        Add(6, "depth", iInfo.mDepth);
        Add(6, "type", iInfo.mStreamType);
        Add(6, "typeName", Tool_StreamTypeName(iInfo.mStreamType));
        Add(6, "name", iInfo.mName);
        Add(6, "version", iInfo.mVersion);
        AddBool(6, "isList", iInfo.mIsList);
        Add(6, "listIndex", Cmn_Int64{iInfo.mListIndex});
        Open(6, "entries", '[');
        for (const Piece& piece : iPieces) {
            Open(8, nullptr, '{');
            AddPiece(10, piece);
            Close(8, '}');
        }
        Close(6, ']');
        Close(4, '}');
        FlushIfMuch();
    }

private:
    const Tool_DocumentReport& mReport;
    FF_Document::TOC::Entry mKeyOf = FF_Document::TOC::cNone;
    std::string mKey;
};

Tool_DocumentReport::Tool_DocumentReport(FF_Document& ioDocument, std::string iFile)
    : mDocument(ioDocument)
    , mFile(std::move(iFile))
    , mFormatVersion(FirstByteOf(*ioDocument.GetInFile()))
    , mSize(ioDocument.GetInFile()->GetLength())
{
}

std::vector<Tool_DocumentReport::Piece> Tool_DocumentReport::SortedPieces() const
{
    const FF_Document::TOC& toc = mDocument.GetTOC();
    std::vector<Piece> pieces;
    std::vector<Cmn_UInt32> offsets;
    for (FF_Document::TOC::Entry entry = 0; entry < toc.GetNumKeys(); ++entry)
        for (Cmn_Int32 value = 0; value < toc.GetNumValues(entry); ++value) {
            toc.GetOffsets(entry, value, offsets);
            if (offsets.empty()) pieces.push_back({cNoOffset, entry, value, 0});
            Cmn_Int32 piece = 0;
            for (const Cmn_UInt32 offset : offsets)
                pieces.push_back({Cmn_Int64{offset}, entry, value, piece++});
        }
    std::sort(pieces.begin(), pieces.end());
    return pieces;
}

template <class Visit>
std::vector<Tool_DocumentReport::Piece> Tool_DocumentReport::ForEachStream(const Visit& iStream) const
{
    std::vector<Piece> pieces = SortedPieces();
    auto at = pieces.begin();                    // those before it were passed
    auto left = at;                              // and those before this one are at no stream
    const Tool_StWork reading("reading", mFile); // all of it, before the first stream is visited
    std::optional<Tool_StWork> listing;
    FF_DocumentCheck::ForEachStream(mDocument, [&](const FF_StreamInfo& iInfo) {
        if (!listing) listing.emplace("listing", mFile, mSize);
        listing->At(iInfo.mPosition);
        for (; at != pieces.end() && at->mOffset < iInfo.mPosition; ++at)
            *left++ = *at;
        const auto from = at;
        while (at != pieces.end() && at->mOffset == iInfo.mPosition)
            ++at;
        iStream(iInfo, std::span<const Piece>(from, at));
    });
    pieces.erase(std::move(at, pieces.end(), left), pieces.end());
    std::sort(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) {
        return std::tie(a.mEntry, a.mValue, a.mPiece) < std::tie(b.mEntry, b.mValue, b.mPiece);
    });
    return pieces;
}

std::string Tool_DocumentReport::NameOf(const Piece& iPiece) const
{
    const FF_Document::TOC& toc = mDocument.GetTOC();
    const bool isItem = iPiece.mValue > 0 && toc.IsList(iPiece.mEntry);
    return toc.GetKey(iPiece.mEntry).Dump() +
           (isItem               ? ", item " + Number(iPiece.mValue - 1)
            : iPiece.mValue != 0 ? ", value " + Number(iPiece.mValue)
                                 : std::string()) +
           (iPiece.mPiece == 0 ? "" : ", piece " + Number(iPiece.mPiece));
}

std::string Tool_DocumentReport::DescriptionOf(const Piece& iPiece) const
{
    return mDocument.GetTOC().GetValue(iPiece.mEntry, iPiece.mValue).GetDisplayInfo().GetText();
}

std::string Tool_DocumentReport::LocationOf(const Piece& iPiece) const
{
    return mDocument.GetTOC().GetValue(iPiece.mEntry, iPiece.mValue).GetLocation().Dump();
}

std::string Tool_DocumentReport::Header() const
{
    return Tool_Printable(mFile) + "\nformat version " + Number(mFormatVersion) + ", " +
           (mDocument.IsSwapped() ? "big-endian" : "little-endian") + ", " +
           Tool_ScramblingText(mDocument.GetEncryptionType()) + ", " + Number(mSize) +
           " bytes, table of contents at byte " + Number(mDocument.GetTOCOffset()) + "\n\n";
}

std::string Tool_DocumentReport::Table(Tool_Style iStyle) const
{
    std::vector<std::vector<std::string>> rows = {
        {"position", "size", "version", "stream", "key", "description"}};
    const auto withoutStream = ForEachStream([&](const FF_StreamInfo& iInfo, std::span<const Piece> iPieces) {
        std::string keys;
        std::string descriptions;
        for (const Piece& piece : iPieces) {
            keys += (keys.empty() ? "" : "; ") + NameOf(piece);
            if (piece.mPiece == 0) // pieces share one
                descriptions += (descriptions.empty() ? "" : "; ") + DescriptionOf(piece);
        }
        rows.push_back({Number(iInfo.mPosition), Number(iInfo.mSize), Number(iInfo.mVersion),
                        std::string(static_cast<std::size_t>(iInfo.mDepth) * 2, ' ') + LabelOf(iInfo),
                        keys.empty() ? "-" : keys, Tool_Printable(descriptions)});
    });
    std::string table = Header() + Aligned(rows, 3, iStyle);
    if (withoutStream.empty()) return table;
    rows = {{"position", "entry without a stream", "location", "description"}};
    for (const Piece& piece : withoutStream)
        rows.push_back({piece.mOffset == cNoOffset ? "-" : Number(piece.mOffset), NameOf(piece),
                        LocationOf(piece), Tool_Printable(DescriptionOf(piece))});
    return table + '\n' + Aligned(rows, 1, iStyle);
}

void Tool_DocumentReport::WriteJson(std::ostream& oOut) const
{
    Json json(*this, oOut);
    json.Open(0, nullptr, '{');
    json.Add(2, "version", Tool_JsonWriter::cVersion);
    json.Add(2, "file", mFile);
    json.Add(2, "formatVersion", mFormatVersion);
    json.Add(2, "byteOrder", mDocument.IsSwapped() ? "big-endian" : "little-endian");
    json.Add(2, "scrambling", mDocument.GetEncryptionType());
    json.Add(2, "size", mSize);
    json.Add(2, "tocOffset", Cmn_Int64{mDocument.GetTOCOffset()});
    json.Open(2, "streams", '[');
    const auto withoutStream = ForEachStream(
        [&](const FF_StreamInfo& iInfo, std::span<const Piece> iPieces) { json.AddStream(iInfo, iPieces); });
    json.Close(2, ']');
    json.Open(2, "entriesWithoutStream", '[');
    for (const Piece& piece : withoutStream) {
        json.Open(4, nullptr, '{');
        json.AddPiece(6, piece);
        json.Add(6, "location", LocationOf(piece));
        if (piece.mOffset == cNoOffset)
            json.AddNull(6, "position");
        else
            json.Add(6, "position", piece.mOffset);
        json.Close(4, '}');
    }
    json.Close(2, ']');
    json.Close(0, '}');
    json.Flush();
    oOut << '\n';
}
