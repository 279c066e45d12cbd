// Cmn_XMLNode: a tree of named nodes with attributes, values and children, written as UTF-8 XML.
//
// Written only; nothing in the house reads XML back. Doubles are written in the shortest form that reads
// back to the same value, bools as "true" and "false". Names must be XML names; texts may hold anything:
// what XML cannot hold (control characters, bytes that are not UTF-8) is written as U+FFFD, and an XML
// reader gets back the rest.
//
// Threads: none inside.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <concepts>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class KORA_API Cmn_XMLNode
{
public:
    // A node without attributes, text and children.
    explicit Cmn_XMLNode(std::string iName);

    const std::string& GetName() const { return mName; }
    const std::string& GetText() const { return mText; }
    const std::vector<Cmn_XMLNode>& GetChildren() const { return mChildren; }
    const std::vector<std::pair<std::string, std::string>>& GetAttributes() const { return mAttributes; }
    // The first child of that name, or null.
    [[nodiscard]] const Cmn_XMLNode* FindChild(std::string_view iName) const;

    void SetText(std::string iText) { mText = std::move(iText); }
    // Behind those that are there; whether the name is there already is not asked.
    void AddAttribute(std::string iName, std::string iValue);
    void AddAttribute(std::string iName, double iValue);
    // Takes the child; the reference holds until the next child is added.
    Cmn_XMLNode& AddChild(Cmn_XMLNode iChild);

    // A child that holds one value as text: <iName>iValue</iName>.
    template <std::integral Integer>
    void AddValue(std::string iName, Integer iValue)
    {
        AddValue(std::move(iName), std::to_string(iValue));
    }
    void AddValue(std::string iName, bool iValue);
    void AddValue(std::string iName, double iValue);
    void AddValue(std::string iName, std::string iValue);
    void AddValue(std::string iName, const char* iValue) { AddValue(std::move(iName), std::string(iValue)); }

    // The node as text, two blanks a level, each line ended by "\n". With a
    // declaration it is a whole document.
    [[nodiscard]] std::string ToString(bool iWithDeclaration = false) const;
    // The same at the end of a text, inside iLevel nodes.
    void AppendTo(std::string& ioText, int iLevel) const;

private:
    std::string mName;
    std::string mText;
    std::vector<std::pair<std::string, std::string>> mAttributes;
    std::vector<Cmn_XMLNode> mChildren;
};
