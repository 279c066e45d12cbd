// FF_SafeSave: writes a document beside an older one and puts it in its place in one step.
//
//   FF_SafeSave save(location, eFF_EncryptionType_None, eTextEncoding_Utf8, false);
//   … write to save.GetDocument() …
//   save.Commit();
//
// Whatever happens at whatever moment, crash, full disk, an exception, the location holds the old document or the new
// one, whole. The new one is written to a file of a fixed name beside it (cSuffix), which is overwritten when a crash
// left one behind; two saves of one document at a time are refused. A symbolic link stays, and the file that it names
// is replaced. On Windows nobody may have the old document open.
// Threads: one at a time.
#pragma once

#include "Kora/FF/FF_Document.h"

class KORA_API FF_SafeSave
{
public:
    static constexpr char cSuffix[] = ".kora-save";

    // Opens the new document. Throws as FF_Document::Open does.
    FF_SafeSave(const Sys_FileLoc& iLocation, EFF_EncryptionType iType, ETextEncoding iEncoding,
                bool iRepairText);
    // Without a Commit that returned, the new document is removed and the old one stays.
    virtual ~FF_SafeSave();
    FF_SafeSave(const FF_SafeSave&) = delete;
    FF_SafeSave& operator=(const FF_SafeSave&) = delete;

    FF_Document& GetDocument() { return *mDocument; }
    // Writes the table, waits for the disk, closes, renames, and waits for the folder. When it throws, the old document
    // is still in its place, with one exception: when only the wait for the folder failed, the new one is, and a crash of the
    // whole system may yet bring the old one back. A Commit that threw before that may be tried again; after one that went
    // through another asserts. While stream headers are open, or when the host has closed the document, it asserts and
    // throws Sys_StreamWriteException.
    void Commit();

private:
    std::string GetTemporary() const { return mDocument->GetFileLoc().GetPath(); }

    std::string mTarget;
    std::unique_ptr<FF_Document> mDocument;
    bool mIsWritten = false; // the new document is complete, on the disk and closed
    bool mCommitted = false;
};
