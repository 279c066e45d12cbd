#include "Tool/Tool_Png.h"

#include "Tool/Tool_InputError.h"

std::string Tool_PngOf(const std::string&, const std::string& iName)
{
    throw Tool_InputError::InFile(iName,
                                  "PNG pictures are made on Linux alone, expected a name that ends in .svg");
}
