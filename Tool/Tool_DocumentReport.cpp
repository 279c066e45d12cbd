#include "Tool/Tool_DocumentReport.h"

#include "Bastel/Sys/Sys_File.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Rescue/FF_DocumentCheck.h"
#include "Tool/Tool_Document.h"
#include "Tool/Tool_InputError.h"

#include <algorithm>
#include <nlohmann/json.hpp>

using JsonValue = nlohmann::ordered_json; // keeps the order in which keys are written

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

// Rows of cells as text, each column as wide as its widest cell; the first iRight columns flush right.
std::string Aligned(const std::vector<std::vector<std::string>>& iRows, std::size_t iRight)
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
        text += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
    }
    return text;
}

} // namespace

std::string Tool_DocumentReport::Entry::Name() const
{
    return mKey +
           (mIsItem       ? ", item " + Number(mValue - 1)
            : mValue != 0 ? ", value " + Number(mValue)
                          : std::string()) +
           (mPiece == 0 ? "" : ", piece " + Number(mPiece));
}

Tool_DocumentReport::Tool_DocumentReport(FF_Document& ioDocument, std::string iFile)
    : mFile(std::move(iFile))
    , mFormatVersion(FirstByteOf(*ioDocument.GetInFile()))
    , mIsBigEndian(ioDocument.IsSwapped())
    , mType(ioDocument.GetEncryptionType())
    , mTOCOffset(ioDocument.GetTOCOffset())
    , mSize(ioDocument.GetInFile()->GetLength())
{
    for (FF_StreamInfo& info : FF_DocumentCheck::ListStreams(ioDocument))
        mStreams.push_back({std::move(info), {}});
    Attach(EntriesOf(ioDocument));
}

std::vector<Tool_DocumentReport::Entry> Tool_DocumentReport::EntriesOf(const FF_Document& iDocument)
{
    const FF_Document::TOC& toc = iDocument.GetTOC();
    std::vector<Entry> entries;
    for (FF_Document::TOC::Entry key = 0; key < toc.GetNumKeys(); ++key)
        for (Cmn_Int32 i = 0; i < toc.GetNumValues(key); ++i) {
            const FF_Document::TOCValue value = toc.GetValue(key, i);
            Entry entry{toc.GetKey(key).Dump(),
                        i,
                        0,
                        cNoOffset,
                        i > 0 && toc.IsList(key),
                        value.GetLocation().Dump(),
                        value.GetDisplayInfo().GetText()};
            const FF_Document::LocalLocation* const local = value.GetLocal();
            if (local == nullptr || local->GetOffsets().empty()) entries.push_back(entry);
            if (local == nullptr) continue;
            for (const Cmn_UInt32 offset : local->GetOffsets()) {
                entry.mOffset = offset;
                entries.push_back(entry);
                ++entry.mPiece;
            }
        }
    return entries;
}

void Tool_DocumentReport::Attach(std::vector<Entry> iEntries)
{
    // Streams stand in the order of the file.
    for (Entry& entry : iEntries) {
        const auto stream =
            std::lower_bound(mStreams.begin(), mStreams.end(), entry.mOffset,
                             [](const Stream& s, Cmn_Int64 iOffset) { return s.mInfo.mPosition < iOffset; });
        const bool isNamed = stream != mStreams.end() && stream->mInfo.mPosition == entry.mOffset;
        (isNamed ? stream->mEntries : mWithoutStream).push_back(std::move(entry));
    }
}

std::string Tool_DocumentReport::Header() const
{
    return Tool_Printable(mFile) + "\nformat version " + Number(mFormatVersion) + ", " +
           (mIsBigEndian ? "big-endian" : "little-endian") + ", " + Tool_ScramblingText(mType) + ", " +
           Number(mSize) + " bytes, table of contents at byte " + Number(mTOCOffset) + "\n\n";
}

std::string Tool_DocumentReport::Table() const
{
    std::vector<std::vector<std::string>> rows = {
        {"position", "size", "version", "stream", "key", "description"}};
    for (const Stream& stream : mStreams) {
        const FF_StreamInfo& info = stream.mInfo;
        std::string keys;
        std::string descriptions;
        for (const Entry& entry : stream.mEntries) {
            keys += (keys.empty() ? "" : "; ") + entry.Name();
            if (entry.mPiece == 0) // pieces share one
                descriptions += (descriptions.empty() ? "" : "; ") + entry.mDescription;
        }
        rows.push_back({Number(info.mPosition), Number(info.mSize), Number(info.mVersion),
                        std::string(static_cast<std::size_t>(info.mDepth) * 2, ' ') + LabelOf(info),
                        keys.empty() ? "-" : keys, Tool_Printable(descriptions)});
    }
    std::string table = Header() + Aligned(rows, 3);
    if (mWithoutStream.empty()) return table;
    rows = {{"position", "entry without a stream", "location", "description"}};
    for (const Entry& entry : mWithoutStream)
        rows.push_back({entry.mOffset == cNoOffset ? "-" : Number(entry.mOffset), entry.Name(),
                        entry.mLocation, Tool_Printable(entry.mDescription)});
    return table + '\n' + Aligned(rows, 1);
}

std::string Tool_DocumentReport::Json() const
{
    const auto entryJson = [](const Entry& iEntry) {
        JsonValue json = {{"key", iEntry.mKey},
                          {"value", iEntry.mValue},
                          {"piece", iEntry.mPiece},
                          {"description", iEntry.mDescription}};
        return json;
    };
    JsonValue streams = JsonValue::array();
    for (const Stream& stream : mStreams) {
        const FF_StreamInfo& info = stream.mInfo;
        JsonValue entries = JsonValue::array();
        for (const Entry& entry : stream.mEntries)
            entries.push_back(entryJson(entry));
        streams.push_back({{"position", info.mPosition},
                           {"size", info.mSize},
                           {"depth", info.mDepth},
                           {"type", info.mStreamType},
                           {"typeName", Tool_StreamTypeName(info.mStreamType)},
                           {"name", info.mName},
                           {"version", info.mVersion},
                           {"isList", info.mIsList},
                           {"listIndex", info.mListIndex},
                           {"entries", std::move(entries)}});
    }
    JsonValue withoutStream = JsonValue::array();
    for (const Entry& entry : mWithoutStream) {
        withoutStream.push_back(entryJson(entry));
        withoutStream.back()["location"] = entry.mLocation;
        withoutStream.back()["position"] =
            entry.mOffset == cNoOffset ? JsonValue() : JsonValue(entry.mOffset);
    }
    const JsonValue document = {{"file", mFile},
                                {"formatVersion", mFormatVersion},
                                {"byteOrder", mIsBigEndian ? "big-endian" : "little-endian"},
                                {"scrambling", static_cast<int>(mType)},
                                {"size", mSize},
                                {"tocOffset", mTOCOffset},
                                {"streams", std::move(streams)},
                                {"entriesWithoutStream", std::move(withoutStream)}};
    // Names that are no UTF-8 are shown with replacement characters.
    return document.dump(2, ' ', false, JsonValue::error_handler_t::replace) + '\n';
}
