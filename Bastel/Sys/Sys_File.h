// Sys_File: one open file of the system, without a buffer.
//
// Read and Write go on from a position of the file's own; ReadAt and WriteAt leave it alone.
//
// Units:     bytes from the start of the file.
// Throws:    Open, SetLength and Sync: Cmn_Exception (Cmn_eMessage_OSError) with the code, the reason and the
//            file. The transfers return how many bytes went; fewer than asked is the end of the file or a
//            failure, and GetLastError tells which.
// Ownership: closes itself. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_FileLoc.h"
#include "Bastel/Sys/Sys_FileSystem.h"

class Cmn_Exception;

class KORA_API Sys_File
{
public:
    // Closed at first; nothing is looked for yet. iSystem: where Open finds the file; null is the file system that is
    // in force then.
    explicit Sys_File(Sys_FileLoc iLocation, Sys_FileSystem* iSystem = nullptr);
    ~Sys_File();
    Sys_File(const Sys_File&) = delete;
    Sys_File& operator=(const Sys_File&) = delete;

    // Opening an open file asserts and leaves it as it is.
    void Open(Sys_FileSystem::EAccess iAccess);
    // Works on what iSystem has open, in place of opening the location, which only names the file from then
    // on. Close gives the handle back to its owner, who keeps it open as long. Asserts as Open does.
    void Borrow(Sys_FileSystem& iSystem, Sys_FileSystem::Handle iHandle);
    // Nothing where it is closed. A failure to close is kept in GetLastError: what must
    // be on the disk was synced.
    void Close() noexcept;
    bool IsOpen() const { return mHandle != Sys_FileSystem::cNoHandle; }
    const Sys_FileLoc& GetFileLoc() const { return mLocation; }

    // From the position on, which moves; how many bytes there were. Fewer are the file's end or a failure
    // (GetLastError).
    std::size_t Read(void* oBytes, std::size_t iCount);
    // The same for writing; fewer are a failure.
    std::size_t Write(const void* iBytes, std::size_t iCount);
    Cmn_Int64 GetPosition() const { return mPosition; }
    void SetPosition(Cmn_Int64 iPosition); // negative asserts and changes nothing

    // As Read, at a place; the position stays.
    std::size_t ReadAt(Cmn_Int64 iPosition, void* oBytes, std::size_t iCount);
    // As Write, at a place; the position stays.
    std::size_t WriteAt(Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount);

    // 0 where it cannot be had.
    Cmn_Int64 GetLength();
    void SetLength(Cmn_Int64 iLength);
    // Returns when the file's bytes and length are on the disk.
    void Sync();
    // The code for the last request of this file, 0 when it went well.
    Cmn_Int32 GetLastError() const { return mLastError; }
    // Adds to an exception about the file its name, and the system's reason where there is one.
    void Explain(Cmn_Exception& ioException) const;

private:
    void ThrowIf(Cmn_Int32 iError);

    Sys_FileLoc mLocation;
    Sys_FileSystem* mWanted;           // null is the one in force
    Sys_FileSystem* mSystem = nullptr; // the one that opened it
    Sys_FileSystem::Handle mHandle = Sys_FileSystem::cNoHandle;
    bool mIsBorrowed = false;
    Cmn_Int64 mPosition = 0;
    Cmn_Int32 mLastError = 0;
};
