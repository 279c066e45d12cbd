#include "Bastel/Cmn/Cmn_XMLNode.h"

#include <gtest/gtest.h>

#include <limits>

TEST(XMLNode, WritesATreeAsAnIndentedDocument)
{
    Cmn_XMLNode map("MeterMap");
    map.AddAttribute("version", "2");
    map.AddValue("smallest", std::numeric_limits<Cmn_Int64>::min());
    map.AddValue("count", Cmn_UInt32{4294967295});
    map.AddValue("isDefault", true);
    map.AddValue("tenth", 0.1);
    map.AddValue("tiny", -5e-324);
    map.AddValue("largest", std::numeric_limits<double>::max());
    map.AddValue("name", "Bb major");
    Cmn_XMLNode& change = map.AddChild(Cmn_XMLNode("Change"));
    change.AddAttribute("tick", "0");
    change.AddChild(Cmn_XMLNode("Empty"));
    EXPECT_EQ(map.ToString(true), R"(<?xml version="1.0" encoding="UTF-8"?>
<MeterMap version="2">
  <smallest>-9223372036854775808</smallest>
  <count>4294967295</count>
  <isDefault>true</isDefault>
  <tenth>0.1</tenth>
  <tiny>-5e-324</tiny>
  <largest>1.7976931348623157e+308</largest>
  <name>Bb major</name>
  <Change tick="0">
    <Empty/>
  </Change>
</MeterMap>
)");
    EXPECT_TRUE(map.FindChild("Change") == &change && map.FindChild("change") == nullptr);
}

TEST(XMLNode, AnyTextComesOutAsWellFormedXML)
{
    constexpr struct
    {
        const char* mWhat;
        const char* mText;
        const char* mAsText;
        const char* mAsAttribute;
    } cCases[] = {
        {"markup", "a<b>&\"c\"]]>", "a&lt;b&gt;&amp;&quot;c&quot;]]&gt;",
         "a&lt;b&gt;&amp;&quot;c&quot;]]&gt;"},
        {"white space, which readers of attributes change", "a\tb\nc", "a\tb\nc", "a&#9;b&#10;c"},
        {"carriage return, which every reader changes", "a\r\n", "a&#13;\n", "a&#13;&#10;"},
        {"characters of all lengths", "aé♭𝄞", "aé♭𝄞", "aé♭𝄞"},
        {"control characters", "\x01\x1F\x7F", "\uFFFD\uFFFD\x7F", "\uFFFD\uFFFD\x7F"},
        {"not characters of XML", "\uFFFE\uFFFF", "\uFFFD\uFFFD", "\uFFFD\uFFFD"},
        {"bytes that are not UTF-8", "a\xFF<\xE2\x99", "a\uFFFD&lt;\uFFFD", "a\uFFFD&lt;\uFFFD"},
    };
    for (const auto& c : cCases) {
        Cmn_XMLNode node("n");
        node.SetText(c.mText);
        EXPECT_EQ(node.ToString(), std::string("<n>") + c.mAsText + "</n>\n") << c.mWhat;
        Cmn_XMLNode attribute("n");
        attribute.AddAttribute("a", c.mText);
        EXPECT_EQ(attribute.ToString(), std::string("<n a=\"") + c.mAsAttribute + "\"/>\n") << c.mWhat;
    }
}
