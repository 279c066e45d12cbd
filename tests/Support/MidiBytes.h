// MidiBytes: MIDI files spelled out in tests.
//
// Bytes("'MThd 00000006 0001 0002 01E0") joins tokens: hexadecimal digits are bytes, a word
// behind ' is its letters.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <sstream>
#include <string>
#include <vector>

namespace MidiBytes {
inline std::string Bytes(const std::string& iText)
{
    std::istringstream tokens(iText);
    std::string token;
    std::string bytes;
    while (tokens >> token) {
        if (token.front() == '\'')
            bytes += token.substr(1);
        else
            for (std::size_t i = 0; i + 1 < token.size(); i += 2)
                bytes += static_cast<char>(std::stoi(token.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

inline std::string BigEndian(Cmn_Int64 iValue, int iBytes)
{
    std::string bytes;
    for (int i = iBytes - 1; i >= 0; --i)
        bytes += static_cast<char>(iValue >> (8 * i) & 0xFF);
    return bytes;
}

inline std::string VariableLength(Cmn_Int64 iValue)
{
    std::string bytes(1, static_cast<char>(iValue & 0x7F));
    for (Cmn_Int64 rest = iValue >> 7; rest > 0; rest >>= 7)
        bytes.insert(bytes.begin(), static_cast<char>(0x80 | (rest & 0x7F)));
    return bytes;
}

inline std::string Chunk(const std::string& iType, const std::string& iBody)
{
    return iType + BigEndian(static_cast<Cmn_Int64>(iBody.size()), 4) + iBody;
}

// A file whose tracks are given without their end-of-track events, which follow the last event at once.
inline std::string File(int iDivision, const std::vector<std::string>& iTracks)
{
    std::string file =
        Chunk("MThd", BigEndian(iTracks.size() == 1 ? 0 : 1, 2) +
                          BigEndian(static_cast<Cmn_Int64>(iTracks.size()), 2) + BigEndian(iDivision, 2));
    for (const std::string& track : iTracks)
        file += Chunk("MTrk", track + Bytes("00FF2F00"));
    return file;
}

inline std::string Tempo(Cmn_Int64 iDelta, int iMicroseconds)
{
    return VariableLength(iDelta) + Bytes("FF5103") + BigEndian(iMicroseconds, 3);
}
inline std::string Meter(Cmn_Int64 iDelta, int iNumerator, int iPower)
{
    return VariableLength(iDelta) + Bytes("FF5804") + BigEndian(iNumerator, 1) + BigEndian(iPower, 1) +
           Bytes("1808");
}
inline std::string Key(Cmn_Int64 iDelta, int iSharps, int iMode)
{
    return VariableLength(iDelta) + Bytes("FF5902") + BigEndian(iSharps, 1) + BigEndian(iMode, 1);
}
inline std::string Text(Cmn_Int64 iDelta, const std::string& iText)
{
    return VariableLength(iDelta) + Bytes("FF01") + VariableLength(static_cast<Cmn_Int64>(iText.size())) +
           iText;
}
} // namespace MidiBytes
