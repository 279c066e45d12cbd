// Thrown: what a call throws, so that tests can claim its message, offset and file in one line.
#pragma once

#include "Bastel/Cmn/Cmn_Exception.h"

// The library's exception that the call throws; one with message 0 when it throws none.
template <class Call>
Cmn_Exception Thrown(const Call& iCall)
{
    try {
        iCall();
    } catch (const Cmn_Exception& exception) {
        return exception;
    }
    return Cmn_Exception(Cmn_EMessage());
}
