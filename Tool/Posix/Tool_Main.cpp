// The command's entry point: arguments are UTF-8 already and streams know no text mode.
#include "Tool/Tool_Command.h"

int main(int iCount, char** iArguments) { return Tool_Main({iArguments + 1, iArguments + iCount}); }
