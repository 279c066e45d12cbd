// Tool_JsonWriter: one JSON object as text, written as it is made, so that a million rows take no memory.
//
// The bytes are those that the JSON library gives for the whole object: two blanks a level, names in the order in
// which they come, text that is no UTF-8 with replacement characters, doubles in their shortest form.
// Indents are given by the caller, which knows the levels by heart.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <concepts>
#include <iosfwd>
#include <string>
#include <string_view>

class Tool_JsonWriter
{
public:
    // The first value of every object that the command writes. It grows when a name goes, or comes to mean
    // something else; new names alone leave it. docs/json has the schemas.
    static constexpr Cmn_Int64 cVersion = 1;

    explicit Tool_JsonWriter(std::ostream& oOut)
        : mOut(oOut)
    {
    }

    void Add(int iIndent, const char* iName, std::string_view iText);
    void Add(int iIndent, const char* iName, Cmn_Int64 iValue);
    void AddBool(int iIndent, const char* iName, bool iValue);
    void AddDouble(int iIndent, const char* iName, double iValue);
    void AddNull(int iIndent, const char* iName);

    // What opens is closed at the same indentation; empty where nothing was added. iName is null for the
    // element of a list.
    void Open(int iIndent, const char* iName, char iBracket);
    void Close(int iIndent, char iBracket);

    // Hands on what there is once it is much: after each row. Flush hands on all, at the end.
    void FlushIfMuch();
    void Flush();

private:
    void Begin(int iIndent, const char* iName);

    std::ostream& mOut;
    std::string mText;
    bool mHasBegun = false;
    bool mIsFirst = false;
};
