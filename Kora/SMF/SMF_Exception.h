// SMF_Exception: a MIDI file that cannot be understood, or maps that no MIDI file can hold.
//
// what() says what was met and what was expected: "format 2, expected 0 or 1". GetOffset() is the byte of
// the file, from 0, or cNoOffset for what stands in no file; Describe() joins them: "song.mid: format 2,
// expected 0 or 1 (byte 8)".
#pragma once

#include "Bastel/Cmn/Cmn_Exception.h"

class KORA_API SMF_Exception : public Cmn_Exception
{
public:
    // iOffset is the byte of the file, cNoOffset for what stands in none.
    explicit SMF_Exception(std::string iText, Cmn_Int64 iOffset = cNoOffset);
    ~SMF_Exception() override;

    const char* what() const noexcept override;

private:
    std::string mText;
};
