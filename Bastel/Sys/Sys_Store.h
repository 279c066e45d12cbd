// Sys_Store: something that is opened, written out and closed: the base of documents.
//
// States:  closed → Open → open → Close → closed. A failed Open leaves it closed.
// Threads: one at a time.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

class KORA_API Sys_Store
{
public:
    // What a store is opened for.
    enum EOpenFlag : Cmn_Int32 {
        eOpenFlag_Closed = 0,
        eOpenFlag_Read = 1,
        eOpenFlag_ReadWrite = 2,       // an existing store; the only writer
        eOpenFlag_New = 3,             // a new store in place of what was there; the only writer
        eOpenFlag_ReadWriteShared = 4, // as 2, beside writers of other processes that the host keeps apart
    };

    virtual ~Sys_Store();

    // Passes on what OpenImpl throws. Opening an open store, or with a flag that is none of 1 to 4,
    // asserts and does nothing.
    void Open(EOpenFlag iFlag);
    // Does not flush: what was not flushed is not promised. Closing a closed store is nothing.
    void Close();
    bool IsOpen() const { return mFlag != eOpenFlag_Closed; }
    bool IsWritable() const { return mFlag > eOpenFlag_Read; }
    EOpenFlag GetOpenFlag() const { return mFlag; }

    // Makes what was written so far last.
    virtual void Flush() = 0;

protected:
    Sys_Store() = default;
    virtual void OpenImpl(EOpenFlag iFlag) = 0;
    // Destructors of derived classes close: by the time that the base is destroyed it is too late.
    virtual void CloseImpl() = 0;

private:
    EOpenFlag mFlag = eOpenFlag_Closed;
};
