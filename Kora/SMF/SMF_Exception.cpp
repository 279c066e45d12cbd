#include "Kora/SMF/SMF_Exception.h"

#include <utility>

SMF_Exception::SMF_Exception(std::string iText, Cmn_Int64 iOffset)
    : Cmn_Exception(Cmn_eMessage_ReadError, iOffset)
    , mText(std::move(iText))
{
}

SMF_Exception::~SMF_Exception() = default;

const char* SMF_Exception::what() const noexcept { return mText.c_str(); }
