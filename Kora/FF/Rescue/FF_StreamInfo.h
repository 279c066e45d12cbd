// FF_StreamInfo, FF_Fault: what a walk over a document's stream headers finds, and what it finds wrong.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <string>

// One stream header found in a file. Headers are found by their bytes: a body is searched for the magic, and
// what follows it is taken for a nested stream when its header sum is right for the place where it stands and
// it ends within the body. A copy of a stream that an application keeps as plain data inside a body fits its
// old place alone, and is none.
struct FF_StreamInfo
{
    Cmn_Int16 mStreamType = 0; // 0 for headers that are no document streams, such as those of maps
    std::string mName;         // of the standard header: "Z", "Meter" …
    Cmn_Int16 mVersion = 0;
    Cmn_Int64 mPosition = 0;
    Cmn_Int64 mSize = 0; // header and body
    Cmn_UInt32 mListIndex = 0;
    bool mIsList = false;
    int mDepth = 0; // 0 for the outermost; headers more than 64 deep are taken for plain data
};

// Something wrong, or lost, at a place of a file.
struct FF_Fault
{
    Cmn_Int64 mOffset = 0;
    std::string mText; // one line: "expected a stream header, found 12 bytes that are none"
};
