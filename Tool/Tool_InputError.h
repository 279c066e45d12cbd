// Tool_InputError: input that cannot be understood, told in one line: where it is, what it
// holds, what was expected.
//
// what() is that line without the command's name: "song.mid: byte 8: format 2, expected 0 or 1".
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <stdexcept>
#include <string>
#include <string_view>

class Tool_InputError : public std::runtime_error
{
public:
    // iOffset counts bytes from 0, iLine counts lines from 1.
    static Tool_InputError InFile(std::string_view iFile, std::string_view iText);
    static Tool_InputError AtByte(std::string_view iFile, Cmn_Int64 iOffset, std::string_view iText);
    static Tool_InputError AtLine(std::string_view iSource, Cmn_Int64 iLine, std::string_view iText);

private:
    using std::runtime_error::runtime_error;
};

// A value as a message shows it: between double quotes, bytes outside printable ASCII as \xNN, at most 40
// bytes of it and then "...", so that a message stays one short line whatever the input holds.
std::string Tool_Quoted(std::string_view iText);

// A name or a text as it is, but on one line: control characters as \xNN.
std::string Tool_Printable(std::string_view iText);
