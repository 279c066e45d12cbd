// Tool_Command: the kora command as a function of its arguments and streams.
//
// Output:  nothing is written before all input is understood, but for convert, which answers lines as they
//          come; lines end in "\n" alone on every platform. Streams are taken to be binary.
// Errors:  one line on the error stream, of several bad files one each: "kora: " and what is wrong where.
// Globals: sets Time_Globals' sample rate, frame rate and timecode format to what the arguments ask for.
#pragma once

#include "Tool/Tool_Terminals.h"

#include <iosfwd>
#include <string>
#include <vector>

enum Tool_EExit {
    Tool_eExit_Good = 0,
    Tool_eExit_BadInput = 1,
    Tool_eExit_WrongUsage = 2,
};

// iArguments leaves out the command's own name; all text is UTF-8. The library is initialised
// for as long as the command uses it.
Tool_EExit Tool_RunCommand(const std::vector<std::string>& iArguments, std::istream& iIn, std::ostream& oOut,
                           std::ostream& oErr, const Tool_Terminals& iTerminals = {});
// The same over the process's own streams: what each platform's main calls.
int Tool_Main(const std::vector<std::string>& iArguments);
