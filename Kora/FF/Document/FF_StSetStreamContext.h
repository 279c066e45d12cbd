// FF_StSetStreamContext: makes a key's path the document's open streams for a scope.
//
// Reading what SeekToStream found: set the context to the key without its last level, then
// open a stream header reader.
#pragma once

#include "Kora/FF/Document/FF_Document.h"

class KORA_API_NODISCARD FF_StSetStreamContext
{
public:
    // The document must outlive the scope. The current stream start becomes that of the key's innermost
    // stream where the table has it, 0 otherwise.
    FF_StSetStreamContext(FF_Document& iDocument, const FF_Document::TOCKey& iKey);
    virtual ~FF_StSetStreamContext();
    FF_StSetStreamContext(const FF_StSetStreamContext&) = delete;
    FF_StSetStreamContext& operator=(const FF_StSetStreamContext&) = delete;

private:
    FF_Document& mDocument;
    std::vector<FF_Document::Context> mBefore;
    Cmn_UInt32 mStartBefore;
};
