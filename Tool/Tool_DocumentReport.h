// Tool_DocumentReport: what is in a document: its header, its streams as a tree, and
// the entries that name them.
//
// The streams come from a walk over the headers of the file, the entries from its table of contents; a stream
// that no entry names and an entry that names no stream are both shown.
#pragma once

#include "Kora/FF/Document/FF_Document.h"
#include "Kora/FF/Rescue/FF_StreamInfo.h"

#include <string>
#include <vector>

class Tool_DocumentReport
{
public:
    // The document is open; iFile is the name that the report shows. Throws what reading a document throws.
    Tool_DocumentReport(FF_Document& ioDocument, std::string iFile);

    // A header, then a row for each stream in the order of the file, what it holds indented below it.
    std::string Table() const;
    // One object, indented by 2, with a newline at its end.
    std::string Json() const;

private:
    // One piece of one value of a key, or a value that has none in this file.
    struct Entry
    {
        std::string mKey; // "4[1]/7"
        Cmn_Int32 mValue;
        Cmn_Int32 mPiece;
        Cmn_Int64 mOffset; // cNoOffset without a piece
        bool mIsItem;      // value i + 1 of a list: item i
        std::string mLocation;
        std::string mDescription;
        std::string Name() const; // "4[1]/7", "4, item 2", "4, piece 1"
    };
    struct Stream
    {
        FF_StreamInfo mInfo;
        std::vector<Entry> mEntries;
    };
    static constexpr Cmn_Int64 cNoOffset = -1;

    static std::vector<Entry> EntriesOf(const FF_Document& iDocument);
    void Attach(std::vector<Entry> iEntries);
    std::string Header() const;

    std::string mFile;
    Cmn_Int64 mFormatVersion;
    bool mIsBigEndian;
    EFF_EncryptionType mType;
    Cmn_Int64 mTOCOffset;
    Cmn_Int64 mSize;
    std::vector<Stream> mStreams;
    std::vector<Entry> mWithoutStream;
};
