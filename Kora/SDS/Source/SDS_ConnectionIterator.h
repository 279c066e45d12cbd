// SDS_ConnectionIterator: the nodes that are directly connected with one, the oldest connection first.
#pragma once

#include "Kora/SDS/Source/SDS_CachingNameIterator.h"

class KORA_API SDS_ConnectionIterator : public SDS_CachingNameIterator
{
public:
    ~SDS_ConnectionIterator() override;

protected:
    ESDSError Set(SDS_Name* iName) override;
};
