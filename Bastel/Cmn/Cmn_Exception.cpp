#include "Bastel/Cmn/Cmn_Exception.h"

#include "Bastel/I18N/I18N_Utils.h"

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
    std::string line = mFile.empty() ? std::string(what()) : mFile + ": " + what();
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

Sys_StreamReadException::Sys_StreamReadException(Cmn_Int64 iOffset)
    : Cmn_Exception(Cmn_eMessage_ReadError, iOffset)
{
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
    explicit OSErrException(Cmn_Int32 iError)
        : Cmn_Exception(Cmn_eMessage_OSError)
        , mText(std::string(Cmn_Exception::what()) + " (" + std::to_string(iError) + ")")
    {
    }
    const char* what() const noexcept override { return mText.c_str(); }

private:
    std::string mText;
};

} // namespace

void Sys_ThrowIfOSErr(Cmn_Int32 iError)
{
    if (iError != 0) throw OSErrException(iError);
}
