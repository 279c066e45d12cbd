#include "OstrelPlatformSupport/PSThread.h"

#include "OstrelPlatformSupport/PSCriticalSection_p.h"

#include <utility>

std::unique_ptr<IPSSyncPrim> PSThread::CreateCriticalSection(std::string iName) const
{
    return std::make_unique<PSCriticalSection>(std::move(iName));
}

std::unique_ptr<PSEvent> PSThread::CreateAutoResetEvent(std::string iName) const
{
    return std::make_unique<PSEvent>(std::move(iName));
}
