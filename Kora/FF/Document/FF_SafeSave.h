// FF_SafeSave: writes a document beside an older one and puts it in its place in one step.
//
//   FF_SafeSave save(location);
//   … write to save.GetDocument() …
//   save.Commit();
//
// Whatever happens at whatever moment, crash, full disk, an exception, the location holds the old document or
// the new one, whole. However many save and read it at a time, threads or processes, each finds one whole
// document; a save that returned is in its place until a later one replaces it, and of two at a time either
// may be the later one. Writers of the document (FF_Document opened to write) and saves keep one another out:
// a save of a document that is open for writing is refused when it begins, or when it ends.
//
// The new one is written to a file of its own in the same folder (cPrefix), with no more rights than the old
// one's owner has to it, and locked until it is in place. A save that was killed leaves its file, which the
// next save of the same document removes. In its place it has the old one's owner, permissions, access list
// and extended attributes, as far as the system lets us, and never more rights where not (GetNotKept); a
// document that was not there before has a new file's. A write-protected document, one without any right to
// write or that the caller may not write, is refused. A symbolic link stays, and the file that it names is
// replaced, or made (Windows refuses a link that leads nowhere). Of several hard links the one that was named
// gets the new document, the others keep the old one.
//
// File systems without locks: saves of one document at a time are each whole, but nothing keeps writers out,
// and what dead ones left stays. Windows: while somebody reads the old document it can be replaced from
// Windows 10 on; before, and under Wine, a save waits a moment for its readers and is refused then. Alternate
// streams stay with the old file, and GetNotKept does not tell.
// Threads: one at a time for each save.
#pragma once

#include "Bastel/Sys/Sys_SafeFile.h"
#include "Kora/FF/Document/FF_Document.h"

// Not in the exported class, so that every module has it as a constant of its own.
struct FF_SavePrefix
{
    // What the names of the files begin with that saves write.
    static constexpr char cPrefix[] = ".kora-save-";
};

class KORA_API FF_SafeSave : public FF_SavePrefix
{
public:
    // Opens the new document. Throws as FF_Document::Open does, and Cmn_Exception with a code of
    // Sys_FileSystem::EError (GetOSError) where the old one is in use or write-protected, or there is no such
    // folder. All exceptions of a save and its document name the location as it was given.
    explicit FF_SafeSave(const Sys_FileLoc& iLocation, const FF_DocumentOptions& iOptions = {});
    // The same with each option spelt out.
    FF_SafeSave(const Sys_FileLoc& iLocation, EFF_EncryptionType iType, ETextEncoding iEncoding,
                bool iRepairText);
    // Without a Commit that returned, the new document is removed and the old one stays.
    virtual ~FF_SafeSave();
    FF_SafeSave(const FF_SafeSave&) = delete;
    FF_SafeSave& operator=(const FF_SafeSave&) = delete;

    // Its location is the one that was given. Closed by the host, it is lost: Commit refuses.
    FF_Document& GetDocument() { return *mDocument; }
    // Writes the table, waits for the disk, closes, renames, and waits for the folder. When it throws, the
    // old document is still in its place, with one exception, Cmn_eMessage_InPlaceUnsynced: only the wait for
    // the folder failed, the new one is in place, and a crash of the whole system may yet bring the old one
    // back. A Commit that threw before that may be tried again; after one that went through another asserts.
    // While stream headers are open, or when the host has closed the document, it asserts and throws
    // Sys_StreamWriteException.
    void Commit();
    // What of the old document's file could not be kept: Sys_FileSystem::ENotKept, 0 before
    // Commit and when all was.
    Cmn_UInt32 GetNotKept() const { return mFile.GetNotKept(); }

private:
    void WriteOut();

    Sys_FileLoc mLocation;
    Sys_SafeFile mFile;
    std::unique_ptr<FF_Document> mDocument; // of that file
    bool mIsWritten = false;                // the new document is complete, on the disk and closed
};
