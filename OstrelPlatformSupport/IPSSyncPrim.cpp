#include "OstrelPlatformSupport/IPSSyncPrim.h"

#include <utility>

IPSSyncPrim::IPSSyncPrim(std::string iName)
    : mName(std::move(iName))
{
}

IPSSyncPrim::~IPSSyncPrim() = default;
