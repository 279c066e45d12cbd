#include "Tool/Tool_JsonWriter.h"

#include "Tool/Tool_Text.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

using JsonValue = nlohmann::ordered_json;

namespace {

// As the JSON library writes it: names that are no UTF-8 with replacement characters.
void AppendJson(std::string_view iText, std::string& ioText)
{
    const auto isPlain = [](char c) { return c >= ' ' && c < '\x7F' && c != '"' && c != '\\'; };
    if (std::all_of(iText.begin(), iText.end(), isPlain))
        ioText.append("\"").append(iText).append("\"");
    else
        ioText += JsonValue(iText).dump(-1, ' ', false, JsonValue::error_handler_t::replace);
}

} // namespace

void Tool_JsonWriter::Add(int iIndent, const char* iName, std::string_view iText)
{
    Begin(iIndent, iName);
    AppendJson(iText, mText);
}

void Tool_JsonWriter::Add(int iIndent, const char* iName, Cmn_Int64 iValue)
{
    Begin(iIndent, iName);
    Tool_AppendInteger(iValue, mText);
}

void Tool_JsonWriter::AddBool(int iIndent, const char* iName, bool iValue)
{
    Begin(iIndent, iName);
    mText += iValue ? "true" : "false";
}

void Tool_JsonWriter::AddDouble(int iIndent, const char* iName, double iValue)
{
    Begin(iIndent, iName);
    mText += JsonValue(iValue).dump();
}

void Tool_JsonWriter::AddNull(int iIndent, const char* iName)
{
    Begin(iIndent, iName);
    mText += "null";
}

void Tool_JsonWriter::Open(int iIndent, const char* iName, char iBracket)
{
    Begin(iIndent, iName);
    mText += iBracket;
    mIsFirst = true;
}

void Tool_JsonWriter::Close(int iIndent, char iBracket)
{
    if (!mIsFirst) mText.append("\n").append(static_cast<std::size_t>(iIndent), ' ');
    mText += iBracket;
    mIsFirst = false;
}

void Tool_JsonWriter::FlushIfMuch()
{
    constexpr std::size_t cMuch = 65536;
    if (mText.size() > cMuch) Flush();
}

void Tool_JsonWriter::Flush()
{
    mOut.write(mText.data(), static_cast<std::streamsize>(mText.size()));
    mText.clear();
}

void Tool_JsonWriter::Begin(int iIndent, const char* iName)
{
    if (mHasBegun) mText.append(mIsFirst ? "\n" : ",\n").append(static_cast<std::size_t>(iIndent), ' ');
    mHasBegun = true;
    mIsFirst = false;
    if (iName != nullptr) mText.append("\"").append(iName).append("\": ");
}
