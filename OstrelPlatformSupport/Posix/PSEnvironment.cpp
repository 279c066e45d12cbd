#include "OstrelPlatformSupport/PSEnvironment_p.h"

#include <cstdlib>

std::string PSGetEnvironment(const std::string& iName)
{
    const char* const value = std::getenv(iName.c_str());
    return value != nullptr ? value : "";
}
