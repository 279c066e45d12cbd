// Arguments are UTF-8 already.
#include "refresh-service/RefreshCommand.h"

int main(int iCount, char** iArguments) { return RefreshCommand({iArguments + 1, iArguments + iCount}); }
