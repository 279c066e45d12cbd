#include "OstrelPlatformSupport/TestEnvironment.h"

#include <windows.h>

void SetTestEnvironment(const char* iName, const char* iValue) { SetEnvironmentVariableA(iName, iValue); }
