// A library to be found at run time.
#include "Export/Kora_API.h"

extern "C" KORA_API int OstrelTestTwice(int iValue) { return 2 * iValue; }
