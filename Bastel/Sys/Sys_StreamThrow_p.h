// Sys_ThrowFrom: throws with the offset and what the stream, or the file, knows of itself.
#pragma once

#include "Bastel/Cmn/Cmn_Exception.h"

template <class Exception, class Stream>
[[noreturn]] void Sys_ThrowFrom(const Stream& iStream, Cmn_Int64 iOffset)
{
    Exception exception(iOffset);
    iStream.Explain(exception);
    throw exception;
}

template <class Stream>
[[noreturn]] void Sys_ThrowFrom(const Stream& iStream, Cmn_EMessage iMessage, Cmn_Int64 iOffset)
{
    Cmn_Exception exception(iMessage, iOffset);
    iStream.Explain(exception);
    throw exception;
}
