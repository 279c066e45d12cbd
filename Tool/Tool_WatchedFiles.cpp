#include "Tool/Tool_WatchedFiles.h"

#include "Tool/Tool_Progress.h"

Cmn_Int32 Tool_WatchedFiles::Open(const std::string& iPath, EAccess iAccess, Handle& oHandle)
{
    const Cmn_Int32 error = mOther.Open(iPath, iAccess, oHandle);
    if (error == 0 && iAccess == eAccess_Read && mOther.GetLength(oHandle, mLength) == 0) mRead = oHandle;
    return error;
}

Cmn_Int32 Tool_WatchedFiles::ReadAt(Handle iHandle, Cmn_Int64 iPosition, void* oBytes, std::size_t iCount,
                                    std::size_t& oCount)
{
    const Cmn_Int32 error = mOther.ReadAt(iHandle, iPosition, oBytes, iCount, oCount);
    if (iHandle == mRead) Tool_StWork::ReadTo(iPosition + static_cast<Cmn_Int64>(oCount), mLength);
    return error;
}
