// Changes the environment of the test program; null removes the variable.
#pragma once

void SetTestEnvironment(const char* iName, const char* iValue);
