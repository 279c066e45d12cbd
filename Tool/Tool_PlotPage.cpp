#include "Tool/Tool_PlotPage.h"

namespace {

constexpr char cStyle[] =
    "text { font: 12px system-ui, 'Segoe UI', 'DejaVu Sans', sans-serif; fill: #57606a } "
    ".page { fill: #ffffff } .title { font-size: 20px; font-weight: 600; fill: #1f2328 } "
    ".grid { stroke: #d8dee4 } .axis { stroke: #8c959f } .end { text-anchor: end } "
    ".curve { stroke: #0969da; stroke-width: 2; fill: none } .area { fill: #0969da; fill-opacity: 0.1 } "
    ".tempo { fill: #0550ae; font-weight: 600 } .mark { stroke-dasharray: 3 5 } .meter { stroke: #1a7f37 } "
    ".key { stroke: #8250df; stroke-dashoffset: -2 } .lock { stroke: #9a6700; stroke-dashoffset: -4 } "
    ".cut { stroke: #bc4c00 } text.meter { fill: #116329; stroke: none } text.key { fill: #6639ba; stroke: "
    "none } text.lock { fill: #7d4e00; stroke: none } text.cut { fill: #953800; stroke: none } "
    "@media (prefers-color-scheme: dark) { text { fill: #9198a1 } .page { fill: #0d1117 } "
    ".title { fill: #f0f6fc } .grid { stroke: #2a313c } .axis { stroke: #656c76 } .curve { stroke: #4493f8 } "
    ".area { fill: #4493f8; fill-opacity: 0.16 } .tempo { fill: #79c0ff } .meter { stroke: #3fb950 } "
    ".key { stroke: #ab7df8 } .lock { stroke: #d29922 } .cut { stroke: #f0883e } text.meter { fill: #56d364 "
    "} "
    "text.key { fill: #d2a8ff } text.lock { fill: #e3b341 } text.cut { fill: #ffa657 } }";

} // namespace

std::string Tool_PlotPixels(Cmn_Int64 iTenths)
{
    std::string text = std::to_string(iTenths / 10);
    if (iTenths % 10 != 0) text.append(1, '.').append(std::to_string(iTenths % 10));
    return text;
}

Tool_PlotPage::Tool_PlotPage(Cmn_Int64 iWidth, Cmn_Int64 iHeight, const std::string& iTitle)
    : mSvg("svg")
{
    const std::string width = std::to_string(iWidth);
    const std::string height = std::to_string(iHeight);
    mSvg.AddAttribute("xmlns", "http://www.w3.org/2000/svg");
    mSvg.AddAttribute("viewBox", "0 0 " + width + ' ' + height);
    mSvg.AddAttribute("width", width);
    mSvg.AddAttribute("height", height);
    mSvg.AddAttribute("role", "img");
    mSvg.AddValue("title", iTitle);
    mSvg.AddValue("style", cStyle);
    Add(mSvg, "rect", "page", {{"width", width}, {"height", height}});
}

Cmn_XMLNode& Tool_PlotPage::Add(Cmn_XMLNode& ioParent, const char* iName, const std::string& iClass,
                                Attributes iAttributes)
{
    Cmn_XMLNode node(iName);
    if (!iClass.empty()) node.AddAttribute("class", iClass);
    for (const auto& [name, value] : iAttributes)
        node.AddAttribute(name, value);
    return ioParent.AddChild(std::move(node));
}

void Tool_PlotPage::AddLine(Cmn_XMLNode& ioParent, const std::string& iClass, Cmn_Int64 iX1, Cmn_Int64 iY1,
                            Cmn_Int64 iX2, Cmn_Int64 iY2)
{
    Add(ioParent, "line", iClass,
        {{"x1", Tool_PlotPixels(iX1)},
         {"y1", Tool_PlotPixels(iY1)},
         {"x2", Tool_PlotPixels(iX2)},
         {"y2", Tool_PlotPixels(iY2)}});
}

void Tool_PlotPage::AddText(Cmn_XMLNode& ioParent, const std::string& iClass, Cmn_Int64 iX, Cmn_Int64 iY,
                            const std::string& iText)
{
    Add(ioParent, "text", iClass, {{"x", Tool_PlotPixels(iX)}, {"y", Tool_PlotPixels(iY)}}).SetText(iText);
}

Cmn_XMLNode& Tool_PlotPage::AddTold(Cmn_XMLNode& ioParent, const std::string& iText)
{
    Cmn_XMLNode& group = Add(ioParent, "g", "", {});
    group.AddValue("title", iText);
    return group;
}
