// kora_document: a document of the C interface, being read or being written.
//
// Invariants: the open streams are those of the document itself, innermost last; each ends before the ones around it.
// Throws:     C_Error with KORA_REFUSED for what is out of turn, before anything is changed.
#pragma once

#include "Bastel/Sys/Sys_MemoryFile.h"
#include "Kora/C/C_Handle_p.h"
#include "Kora/FF/Document/FF_SafeSave.h"
#include "Kora/FF/Document/FF_StSetStreamContext.h"
#include "Kora/FF/Document/FF_StreamHeader.h"
#include "Kora/FF/Document/FF_StreamList.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct kora_document : C_Handle
{
    static constexpr EKind cKind = eKind_Document;

    // A stream that is open; what stands last is the innermost part and goes first.
    struct Reading
    {
        std::optional<FF_StSetStreamContext> mWay; // of one that was jumped to
        Cmn_Int64 mBefore = 0;                     // the position where that was
        std::optional<FF_StreamHeaderReader> mHeader;
        std::optional<FF_StreamListReader> mList;
    };
    // Streams of one type at one place. Where a key leads into them, there is one alone: the table would take the
    // others for it.
    struct Place
    {
        int mCount = 0;       // that have begun
        bool mHasKey = false; // one of them, or what is inside
    };
    using Places = std::map<Cmn_Int16, Place>;
    struct Writing
    {
        Place* mPlace = nullptr; // its own
        Places mInside;          // of the item that has begun, where it is a list
        std::optional<FF_StreamHeaderWriter> mHeader;
        std::optional<FF_StreamListWriter> mList;
        Cmn_Int32 mCount = 0;     // of items that a list was said to have
        Cmn_Int32 mItems = 0;     // that were begun
        Cmn_Int64 mItemStart = 0; // of the last one
    };

    kora_document()
        : C_Handle(cKind, &C_Delete<kora_document>)
    {
    }
    ~kora_document();

    void Open(const char* iPath);
    void Open(std::string iBytes);
    void Create(const char* iPath);
    void CreateInMemory();
    void Commit();
    const std::string& GetBytes() const;

    // The document while it is read, or written.
    FF_Document& ToRead() const;
    FF_Document& ToWrite() const;
    // iWrite writes values. Where it stops among them, nobody may take the document for a whole one.
    template <class Write>
    void WriteValues(const Write& iWrite)
    {
        const Cmn_Int64 before = mOut->GetPosition();
        try {
            iWrite(*mOut);
        } catch (...) {
            if (mOut->GetPosition() != before) mState = eState_Spoiled;
            throw;
        }
    }
    // The innermost open stream, which has to be there.
    Reading& GetReading();
    Writing& GetWriting();

    std::vector<std::unique_ptr<Reading>> mReading;
    std::vector<std::unique_ptr<Writing>> mWriting;
    Places mOutermost;
    std::optional<Sys_TypedInStream> mIn;   // while it is read
    std::optional<Sys_TypedOutStream> mOut; // while it is written

private:
    enum EState { eState_Read, eState_Write, eState_Spoiled, eState_Done };

    void Begin(FF_Document& ioDocument, Sys_Store::EOpenFlag iFlag);
    void CloseStreams();

    EState mState = eState_Done;
    std::unique_ptr<Sys_MemoryFile> mMemory;
    std::unique_ptr<FF_SafeSave> mSave;
    std::unique_ptr<FF_Document> mOwn; // of a file that is read, or of one in memory
};
