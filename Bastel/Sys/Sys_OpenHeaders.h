// Sys_OpenHeaders: the stream headers that are being written, outermost first, with the
// running sum of each body.
//
// Every output stream has one. Header writers open and close on it; the stream hands it the bytes of the
// innermost body in order. At a child's end the parent's sum takes the child's final header and combines with
// the child's body sum by its length: nothing is read again, whatever is nested in what.
//
// Invariants: (1) headers close in the opposite order of opening  (2) the innermost sum covers its
//             body up to where the stream last handed bytes over, each enclosing one covers its body
//             up to the next header inside.
// Threads:    its stream's.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <cstddef>
#include <vector>

class KORA_API Sys_OpenHeaders
{
public:
    Sys_OpenHeaders();
    ~Sys_OpenHeaders();
    Sys_OpenHeaders(const Sys_OpenHeaders&) = delete;
    Sys_OpenHeaders& operator=(const Sys_OpenHeaders&) = delete;

    bool IsEmpty() const { return mLevels.empty(); }
    // Whether a position that was written lies in an open stream, its header included.
    bool IsInside(Cmn_Int64 iPosition) const
    {
        return !mLevels.empty() && iPosition >= mLevels.front().mStart;
    }
    // Where the innermost header starts.
    Cmn_Int64 GetStart() const { return mLevels.back().mStart; }

    // The innermost stream becomes a list, and opens an item of it: 1 for the first, 0 between items.
    // Nothing without an open header. The headers opened directly inside carry the index; repair puts them
    // back in their place by it.
    void SetIsList();
    void SetListIndex(Cmn_UInt32 iIndex);
    bool IsList() const { return !mLevels.empty() && mLevels.back().mIsList; }
    Cmn_UInt32 GetListIndex() const { return mLevels.empty() ? 0 : mLevels.back().mListIndex; }

    // Before the header is written: its own bytes, from iStart to iBody, are handed over like all others
    // and left out of the sum.
    void Open(Cmn_Int64 iStart, Cmn_Int64 iBody);
    // The next bytes of the innermost stream, in order; nothing without an open header.
    void Add(const void* iBytes, std::size_t iCount);
    // Sum of the innermost body as handed over so far.
    Cmn_UInt32 GetBodySum() const { return mLevels.back().mSum; }
    // Closes the innermost header: iHeader is the header as it finally stands, iBodySize
    // the bytes that it frames.
    void Close(const void* iHeader, std::size_t iHeaderSize, Cmn_UInt32 iBodySize);
    // Closes the innermost header as if it had never been opened.
    void Abandon();
    // Bytes inside an open body were replaced: iOld and iNew are its bytes at iPosition, iCount each.
    // Asserts and does nothing unless they lie within what the sums cover and outside all closed headers,
    // which is the caller's to know.
    void Replace(Cmn_Int64 iPosition, const void* iOld, const void* iNew, std::size_t iCount);

private:
    struct Level
    {
        Cmn_Int64 mStart = 0;
        Cmn_Int64 mBody = 0;
        // the sum covers [body, covered); below body while the header is being handed over
        Cmn_Int64 mCovered = 0;
        Cmn_UInt32 mSum = 0;
        Cmn_UInt32 mListIndex = 0;
        bool mIsList = false;
    };
    std::vector<Level> mLevels;
};
