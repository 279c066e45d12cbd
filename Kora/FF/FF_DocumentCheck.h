// FF_DocumentCheck, FF_DocumentRepair: what is wrong in a document, and what can still be had of one.
//
// Both walk the nested stream headers of the file itself, so that they see what a table of contents does not tell.
// Memory:  a small multiple of the file's size at most. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_FileLoc.h"
#include "Kora/FF/FF_Document.h"

// One stream header found in a file.
struct FF_StreamInfo
{
    Cmn_Int16 streamType = 0; // 0 for headers that are no document streams, such as those of maps
    std::string name;         // of the standard header: "Z", "Meter" …
    Cmn_Int16 version = 0;
    Cmn_Int64 position = 0;
    Cmn_Int64 size = 0; // header and body
    Cmn_UInt32 listIndex = 0;
    bool isList = false;
    int depth = 0; // 0 for the outermost
};

struct FF_Fault
{
    Cmn_Int64 offset = 0;
    std::string text; // what was expected there: "header sum", "offset of a stream" …
};

class KORA_API FF_DocumentCheck
{
public:
    // Every header, size, sum, and entry of the table; faults in the order of the file. Throws what opening the
    // file throws where it is no readable file at all; a document that does not open is a fault.
    static std::vector<FF_Fault> Check(const Sys_FileLoc& iLocation);
    // All streams in the order of the file, a stream before what it holds. The document is open; throws as reading does.
    static std::vector<FF_StreamInfo> ListStreams(FF_Document& iDocument);
};

class KORA_API FF_DocumentRepair
{
public:
    struct Report
    {
        Cmn_Int32 recovered = 0;          // streams, nested ones included
        Cmn_Int32 withoutDescription = 0; // of them
        bool hadTOC = false;              // an old table with a right sum lent descriptions and pieces
        std::vector<FF_StreamInfo> streams;
        std::vector<FF_Fault>
            lost; // stretches of the file that hold no whole stream, with what seems to have been there
    };
    // Writes what is wholly there to iTo, with a new table of contents, by a safe save. Outermost streams that are whole are
    // taken as they are; of a damaged one what is whole inside is taken, as outermost streams under the same keys.
    // The key of a nested stream is rebuilt from the types and list indexes of the headers around it. Throws where iFrom
    // cannot be read or iTo not be written; never for damage.
    static Report Repair(const Sys_FileLoc& iFrom, const Sys_FileLoc& iTo);
};
