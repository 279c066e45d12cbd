// Saves two documents by turns under the name given, until it is killed. A byte on standard output says that it began.
#include "FF/SmallDocument.h"
#include "Kora/FF/FF_SafeSave.h"

#include <unistd.h>

int main(int, char** iArguments)
{
    bool said = false;
    for (bool second = true;; second = !second) {
        FF_SafeSave save(Sys_FileLoc(iArguments[1]), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
        SmallDocument::Write(save.GetDocument(), second ? "second" : "first", second ? 100000 : 0);
        save.Commit();
        if (!said && write(STDOUT_FILENO, "s", 1) != 1) return 1;
        said = true;
    }
}
