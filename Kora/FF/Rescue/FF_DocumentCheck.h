// FF_DocumentCheck: what is wrong in a document, and which streams it holds.
//
// Walks the nested stream headers of the file itself, so that it sees what a table of contents does not tell.
// Memory:  a small multiple of the file's size at most. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_FileLoc.h"
#include "Kora/FF/Document/FF_Document.h"
#include "Kora/FF/Rescue/FF_StreamInfo.h"

#include <functional>

class KORA_API FF_DocumentCheck
{
public:
    // Every byte of the file header, every header, size, sum, and entry of the table; faults in the order of
    // the file, none for a file that a writer has finished. Throws Cmn_Exception (Cmn_eMessage_OSError) where
    // the file cannot be read; a document that does not open is a fault. Of damage in nested streams the
    // innermost damaged one is named.
    //
    // Bytes behind the table are a fault, too, though a harmless one: a crash at the very end of a Flush
    // leaves them, no reader looks at them, and the next Flush cuts them off.
    //
    // Not noticed, since they change nothing: a byte-swap flag of 2 instead of 1, and, where the raw key is
    // 0, another masked type. Streams that no entry names are no fault.
    [[nodiscard]] static std::vector<FF_Fault> Check(const Sys_FileLoc& iLocation);
    // All streams up to the table in the order of the file, a stream before what it holds; the header
    // stream and the table are not among them. The document is open, and what was not flushed is not seen.
    // Throws as reading does: bytes that are no stream, or a body sum that is wrong, are a
    // Sys_StreamReadException with the offset.
    [[nodiscard]] static std::vector<FF_StreamInfo> ListStreams(FF_Document& iDocument);
    // The same one after the other, in memory that does not grow with them: all bodies are held against their
    // sums before the first is visited. iVisit may seek and read in the document.
    static void ForEachStream(FF_Document& iDocument,
                              const std::function<void(const FF_StreamInfo&)>& iVisit);
};
