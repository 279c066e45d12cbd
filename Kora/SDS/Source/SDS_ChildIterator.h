// SDS_ChildIterator: the live children of a node, the newest first.
//
// The node is held from Reset until the walk moves past the last child, and one without children until the
// next Reset or the end of the iterator.
#pragma once

#include "Kora/SDS/Source/SDS_NameIterator.h"

class KORA_API SDS_ChildIterator : public SDS_NameIterator
{
public:
    ~SDS_ChildIterator() override;

    ESDSError Next() override;
    void* Item() override;
    ESDSError Reset(SDS_Name* iName) override;

private:
    void LetGo();

    // Each referenced, or null.
    SDS_Name* mParent = nullptr;
    SDS_Name* mChild = nullptr;
};
