#include "Bastel/Cmn/Cmn_Exception.h"

#include "Bastel/I18N/I18N_Utils.h"
#include "Bastel/Sys/Sys_OSErrorText.h"

#include <utility>

Cmn_Exception::Cmn_Exception(Cmn_EMessage iMessage, Cmn_Int64 iOffset, std::string iFile)
    : std::runtime_error(I18N_Utils::GetString(iMessage))
    , mMessage(iMessage)
    , mOffset(iOffset)
    , mFile(std::move(iFile))
{
}

Cmn_Exception::~Cmn_Exception() = default;

std::string Cmn_Exception::Describe() const
{
    std::string line = mFile.empty() ? std::string() : mFile + ": ";
    // The system's own words need no announcement that it is the system's.
    const bool isSystems = mMessage == Cmn_eMessage_OSError && mOSError != 0;
    if (!isSystems) line += what();
    if (!mReason.empty()) line += ": " + mReason;
    if (!isSystems && mOSError != 0) line += ": ";
    if (mOSError != 0) line += Sys_OSErrorText(mOSError);
    if (mOffset != cNoOffset) line += " (byte " + std::to_string(mOffset) + ")";
    return line;
}

Cmn_DocumentTooOldException::Cmn_DocumentTooOldException(Cmn_Int64 iOffset)
    : Cmn_Exception(Cmn_eMessage_DocumentTooOld, iOffset)
{
}

Cmn_DocumentTooOldException::~Cmn_DocumentTooOldException() = default;

Cmn_DocumentTooNewException::Cmn_DocumentTooNewException(Cmn_Int64 iOffset)
    : Cmn_Exception(Cmn_eMessage_DocumentTooNew, iOffset)
{
}

Cmn_DocumentTooNewException::~Cmn_DocumentTooNewException() = default;

Sys_StreamReadException::Sys_StreamReadException(Cmn_Int64 iOffset, std::string iReason)
    : Cmn_Exception(Cmn_eMessage_ReadError, iOffset)
{
    SetReason(std::move(iReason));
}

Sys_StreamReadException::~Sys_StreamReadException() = default;

Sys_StreamWriteException::Sys_StreamWriteException(Cmn_Int64 iOffset)
    : Cmn_Exception(Cmn_eMessage_WriteError, iOffset)
{
}

Sys_StreamWriteException::~Sys_StreamWriteException() = default;

namespace {

class OSErrException : public Cmn_Exception
{
public:
    OSErrException(Cmn_Int32 iError, std::string iFile)
        : Cmn_Exception(Cmn_eMessage_OSError, cNoOffset, std::move(iFile))
        , mText(std::string(Cmn_Exception::what()) + " (" + std::to_string(iError) + ")")
    {
        SetOSError(iError);
    }
    const char* what() const noexcept override { return mText.c_str(); }

private:
    std::string mText;
};

} // namespace

void Sys_ThrowIfOSErr(Cmn_Int32 iError, std::string iFile)
{
    if (iError != 0) throw OSErrException(iError, std::move(iFile));
}
