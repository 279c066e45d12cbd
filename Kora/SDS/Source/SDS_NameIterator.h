// SDS_NameIterator: an iterator over nodes; its items are SDS_Name*, which it keeps alive
// while it stands on them.
#pragma once

#include "Kora/SDS/Source/SDS_Iterator.h"

struct SDS_Name;

class KORA_API SDS_NameIterator : public SDS_Iterator
{
public:
    ~SDS_NameIterator() override;

    // Begins a walk from a node; null: a walk without items. eSDSErr_OutOfMemory, and an invalid iterator,
    // when there is no memory or a node's references are at their limit.
    virtual ESDSError Reset(SDS_Name* iName) = 0;
};
