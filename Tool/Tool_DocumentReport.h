// Tool_DocumentReport: what is in a document: its header, its streams as a tree, and
// the entries that name them.
//
// The streams come from a walk over the headers of the file, the entries from its table of contents; a stream
// that no entry names and an entry that names no stream are both shown.
#pragma once

#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Rescue/FF_StreamInfo.h"
#include "Tool/Tool_Console.h"

#include <iosfwd>
#include <string>
#include <vector>

class Tool_DocumentReport
{
public:
    // The document is open and must outlive it; iFile is the name that the report shows.
    Tool_DocumentReport(FF_Document& ioDocument, std::string iFile);

    // Both throw what reading a document throws.
    // A header, then a row for each stream in the order of the file, what it holds indented below it.
    std::string Table(Tool_Style iStyle = {}) const;
    // One object, indented by 2, with a newline at its end; in memory for the pieces of the
    // table alone, 16 bytes each.
    void WriteJson(std::ostream& oOut) const;

private:
    // One piece of one value of a key, or a value that has none in this file. Ascends by
    // place, then as the table does.
    struct Piece
    {
        Cmn_Int64 mOffset; // cNoOffset without a place
        FF_Document::TOC::Entry mEntry;
        Cmn_Int32 mValue;
        Cmn_Int32 mPiece;
        auto operator<=>(const Piece&) const = default;
    };
    class Json;
    static constexpr Cmn_Int64 cNoOffset = -1;

    std::vector<Piece> SortedPieces() const;
    // Calls ioStream(info, its pieces) for each stream; returns the pieces that are at
    // none, as the table has them.
    template <class Visit>
    std::vector<Piece> ForEachStream(const Visit& iStream) const;
    std::string NameOf(const Piece& iPiece) const; // "4[1]/7", "4, item 2", "4, piece 1"
    std::string DescriptionOf(const Piece& iPiece) const;
    std::string LocationOf(const Piece& iPiece) const;
    std::string Header() const;

    FF_Document& mDocument;
    std::string mFile;
    Cmn_Int64 mFormatVersion;
    Cmn_Int64 mSize;
};
