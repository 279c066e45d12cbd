// ESDSError: what the operations on names and tokens return.
//
// The values go over the boundary of the library and are fixed.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

enum [[nodiscard]] ESDSError : Cmn_Int32{
    eSDSErr_None = 0,
    eSDSErr_OutOfMemory = -9006,   // no memory, a count at its limit, or no place for a result
    eSDSErr_NameTooLong = -9105,   // a name of more than 31 characters
    eSDSErr_PathTooLong = -9106,   // a path of 1024 characters or more, given or to be written
    eSDSErr_NameNotFound = -9107,  // no such node; or FreeName of one that is not reserved
    eSDSErr_NotSupported = -9108,  // the iterator does not move that way
    eSDSErr_IteratorDone = -9109,  // Next on an iterator that is not valid
    eSDSErr_InvalidName = -9110,   // a token, a rebuild or a handle without a node
    eSDSErr_InvalidTask = -9111,   // no task
    eSDSErr_TokenPoolFull = -9113, // no cell for a copy; the listeners before have theirs
};
