// TimePrinters: GoogleTest prints every class that has a Dump() through it.
#pragma once

#include <concepts>
#include <ostream>
#include <string>

template <class T>
requires requires(const T& iValue)
{
    {
        iValue.Dump()
        } -> std::convertible_to<std::string>;
}
void PrintTo(const T& iValue, std::ostream* oStream) { *oStream << iValue.Dump(); }
