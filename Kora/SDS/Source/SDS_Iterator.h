// SDS_Iterator: walks a sequence of things, forward, as far as the kind of walk allows.
//
//   for (iterator.Reset(name); iterator.Valid(); iterator.Next())
//   Use(static_cast<SDS_Name*>(iterator.Item()));
//
// Moves that a kind does not have return eSDSErr_NotSupported. Next past the last item succeeds and leaves
// the iterator invalid; the one after that returns eSDSErr_IteratorDone.
//
// Threads: as SDS_NameRegistry.
#pragma once

#include "Export/Kora_API.h"
#include "Kora/SDS/FicInterface/SDS_Error.h"

class KORA_API SDS_Iterator
{
public:
    virtual ~SDS_Iterator();
    SDS_Iterator(const SDS_Iterator&) = delete;
    SDS_Iterator& operator=(const SDS_Iterator&) = delete;

    // To the first item.
    virtual ESDSError First();
    // To the last item, in walks that have one.
    virtual ESDSError Last();
    // To the item behind.
    virtual ESDSError Next();
    // To the item before, in walks that have one.
    virtual ESDSError Previous();
    // True while there is a current item.
    virtual bool Valid();
    // There is no current item any more.
    virtual void Invalidate();
    // The current item; null when there is none.
    virtual void* Item() = 0;

protected:
    SDS_Iterator() = default;

    bool mValid = false;
};
