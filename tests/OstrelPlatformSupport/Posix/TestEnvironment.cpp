#include "OstrelPlatformSupport/TestEnvironment.h"

#include <cstdlib>

void SetTestEnvironment(const char* iName, const char* iValue)
{
    if (iValue != nullptr)
        setenv(iName, iValue, 1);
    else
        unsetenv(iName);
}
