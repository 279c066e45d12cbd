#include "Bastel/Cmn/Cmn_XMLNode.h"

#include "Bastel/Cmn/Cmn_Utf8.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

enum class Place { eText, eAttribute };

// The characters of XML 1.0.
constexpr bool IsXMLCharacter(char32_t iCharacter)
{
    if (iCharacter < 0x20) return iCharacter == '\t' || iCharacter == '\n' || iCharacter == '\r';
    return iCharacter != 0xFFFE && iCharacter != 0xFFFF;
}

// What must not stand as it is, or null. Readers turn \r, and white space in attributes, into something else.
const char* EscapeOf(char32_t iCharacter, Place iPlace)
{
    switch (iCharacter) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\r':
        return "&#13;";
    case '\t':
        return iPlace == Place::eAttribute ? "&#9;" : nullptr;
    case '\n':
        return iPlace == Place::eAttribute ? "&#10;" : nullptr;
    default:
        return nullptr;
    }
}

constexpr bool IsPlain(char iByte)
{
    return iByte >= ' ' && iByte <= '~' && iByte != '&' && iByte != '<' && iByte != '>' && iByte != '"';
}

void AppendEscaped(std::string& ioText, std::string_view iText, Place iPlace)
{
    while (!iText.empty()) {
        // Nearly all texts are numbers and plain names, which go over in one piece.
        const auto plain =
            static_cast<std::size_t>(std::find_if_not(iText.begin(), iText.end(), IsPlain) - iText.begin());
        ioText.append(iText, 0, plain);
        iText.remove_prefix(plain);
        if (iText.empty()) break;
        const char32_t character = Cmn_TakeUtf8(iText);
        if (const char* const escape = EscapeOf(character, iPlace))
            ioText += escape;
        else
            Cmn_AppendUtf8(ioText, IsXMLCharacter(character) ? character : cCmn_ReplacementCharacter);
    }
}

// The shortest text that reads back as the same number.
std::string ShortestText(double iValue)
{
    std::array<char, 32> text; // 24 characters at most
    char* const end = std::to_chars(text.data(), text.data() + text.size(), iValue).ptr;
    return std::string(text.data(), end);
}

} // namespace

Cmn_XMLNode::Cmn_XMLNode(std::string iName)
    : mName(std::move(iName))
{
}

const Cmn_XMLNode* Cmn_XMLNode::FindChild(std::string_view iName) const
{
    for (const Cmn_XMLNode& child : mChildren)
        if (child.mName == iName) return &child;
    return nullptr;
}

void Cmn_XMLNode::AddAttribute(std::string iName, std::string iValue)
{
    mAttributes.emplace_back(std::move(iName), std::move(iValue));
}

void Cmn_XMLNode::AddAttribute(std::string iName, double iValue)
{
    AddAttribute(std::move(iName), ShortestText(iValue));
}

Cmn_XMLNode& Cmn_XMLNode::AddChild(Cmn_XMLNode iChild)
{
    constexpr std::size_t cUsual = 8; // so that the first ones are not moved again and again
    if (mChildren.empty()) mChildren.reserve(cUsual);
    mChildren.push_back(std::move(iChild));
    return mChildren.back();
}

void Cmn_XMLNode::AddValue(std::string iName, bool iValue)
{
    AddValue(std::move(iName), std::string(iValue ? "true" : "false"));
}

void Cmn_XMLNode::AddValue(std::string iName, double iValue)
{
    AddValue(std::move(iName), ShortestText(iValue));
}

void Cmn_XMLNode::AddValue(std::string iName, std::string iValue)
{
    Cmn_XMLNode child(std::move(iName));
    child.mText = std::move(iValue);
    AddChild(std::move(child));
}

std::string Cmn_XMLNode::ToString(bool iWithDeclaration) const
{
    std::string text = iWithDeclaration ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" : "";
    AppendTo(text, 0);
    return text;
}

void Cmn_XMLNode::AppendTo(std::string& ioText, int iLevel) const
{
    const auto indent = static_cast<std::size_t>(iLevel) * 2;
    ioText.append(indent, ' ');
    ioText += '<';
    ioText += mName;
    for (const auto& [name, value] : mAttributes) {
        ioText += ' ';
        ioText += name;
        ioText += "=\"";
        AppendEscaped(ioText, value, Place::eAttribute);
        ioText += '"';
    }
    if (mText.empty() && mChildren.empty()) {
        ioText += "/>\n";
        return;
    }
    ioText += '>';
    AppendEscaped(ioText, mText, Place::eText);
    if (!mChildren.empty()) {
        ioText += '\n';
        for (const Cmn_XMLNode& child : mChildren)
            child.AppendTo(ioText, iLevel + 1);
        ioText.append(indent, ' ');
    }
    ioText += "</";
    ioText += mName;
    ioText += ">\n";
}
