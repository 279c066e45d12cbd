#include "Tool/Tool_StandardInput.h"

#include <sys/stat.h>
#include <unistd.h>

bool Tool_IsStandardInput(const std::string& iName)
{
    struct stat named;
    struct stat input;
    return stat(iName.c_str(), &named) == 0 && fstat(STDIN_FILENO, &input) == 0 &&
           named.st_dev == input.st_dev && named.st_ino == input.st_ino;
}
