#include "Bastel/Cmn/Cmn_XMLNode.h"

#include <array>
#include <charconv>

namespace {

// Appends iText with XML's own characters spelt out and what XML cannot hold replaced.
void AppendEscaped(std::string& ioText, std::string_view iText)
{
    for (const char c : iText) {
        switch (c) {
        case '&':
            ioText += "&amp;";
            break;
        case '<':
            ioText += "&lt;";
            break;
        case '>':
            ioText += "&gt;";
            break;
        case '"':
            ioText += "&quot;";
            break;
        case '\t':
        case '\n':
            ioText += c;
            break;
        case '\r':
            ioText += "&#13;";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20)
                ioText += "\xEF\xBF\xBD";
            else
                ioText += c;
        }
    }
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

Cmn_XMLNode& Cmn_XMLNode::AddChild(Cmn_XMLNode iChild)
{
    mChildren.push_back(std::move(iChild));
    return mChildren.back();
}

void Cmn_XMLNode::AddValue(std::string iName, Cmn_Int64 iValue)
{
    AddValue(std::move(iName), std::to_string(iValue));
}

void Cmn_XMLNode::AddValue(std::string iName, bool iValue)
{
    AddValue(std::move(iName), std::string(iValue ? "true" : "false"));
}

void Cmn_XMLNode::AddValue(std::string iName, double iValue)
{
    std::array<char, 32> text;
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), iValue);
    AddValue(std::move(iName), std::string(text.data(), error == std::errc() ? end : text.data()));
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
    Write(text, 0);
    return text;
}

void Cmn_XMLNode::Write(std::string& ioText, int iLevel) const
{
    const std::string indent(static_cast<std::size_t>(iLevel) * 2, ' ');
    ioText += indent + '<' + mName;
    for (const auto& [name, value] : mAttributes) {
        ioText += ' ' + name + "=\"";
        AppendEscaped(ioText, value);
        ioText += '"';
    }
    if (mText.empty() && mChildren.empty()) {
        ioText += "/>\n";
        return;
    }
    ioText += '>';
    AppendEscaped(ioText, mText);
    if (!mChildren.empty()) {
        ioText += '\n';
        for (const Cmn_XMLNode& child : mChildren)
            child.Write(ioText, iLevel + 1);
        ioText += indent;
    }
    ioText += "</" + mName + ">\n";
}
