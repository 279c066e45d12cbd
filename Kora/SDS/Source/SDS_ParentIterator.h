// SDS_ParentIterator: a node, its parent, and so on up to the root.
#pragma once

#include "Kora/SDS/Source/SDS_NameIterator.h"

class KORA_API SDS_ParentIterator : public SDS_NameIterator
{
public:
    ~SDS_ParentIterator() override;

    ESDSError Next() override;
    void* Item() override;
    ESDSError Reset(SDS_Name* iName) override;

private:
    ESDSError MoveTo(SDS_Name* iName);

    SDS_Name* mName = nullptr; // referenced, or null
};
