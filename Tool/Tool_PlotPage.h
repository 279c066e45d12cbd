// Tool_PlotPage: the sheet that a plot is drawn on: SVG that needs nothing else and follows a viewer's light or
// dark scheme.
//
// Units: tenths of a pixel from the top left corner; sizes of the page are whole pixels.
// Names of classes are those of the style: "title", "grid", "axis", "curve", "area", "mark", and for what a
// change is of "tempo", "meter", "key", "lock", with "cut" for a meter that cuts a bar short.
#pragma once

#include "Bastel/Cmn/Cmn_XMLNode.h"

#include <initializer_list>
#include <string>
#include <utility>

// A place in whole pixels as tenths: "64", "64.5".
std::string Tool_PlotPixels(Cmn_Int64 iTenths);

class Tool_PlotPage
{
public:
    using Attributes = std::initializer_list<std::pair<const char*, std::string>>;

    Tool_PlotPage(Cmn_Int64 iWidth, Cmn_Int64 iHeight, const std::string& iTitle);

    // Class and text may be empty. The reference holds until the next of its parent's children comes.
    static Cmn_XMLNode& Add(Cmn_XMLNode& ioParent, const char* iName, const std::string& iClass,
                            Attributes iAttributes);
    static void AddLine(Cmn_XMLNode& ioParent, const std::string& iClass, Cmn_Int64 iX1, Cmn_Int64 iY1,
                        Cmn_Int64 iX2, Cmn_Int64 iY2);
    static void AddText(Cmn_XMLNode& ioParent, const std::string& iClass, Cmn_Int64 iX, Cmn_Int64 iY,
                        const std::string& iText);
    // A group that tells a text to whoever points at it.
    static Cmn_XMLNode& AddTold(Cmn_XMLNode& ioParent, const std::string& iText);

    Cmn_XMLNode& Root() { return mSvg; }
    std::string ToString() const { return mSvg.ToString(true); }

private:
    Cmn_XMLNode mSvg;
};
