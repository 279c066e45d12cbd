// SDS_ConnectionClosureIterator: a node and all that can be reached from it through connections, each once.
//
// Nodes are discovered depth first, each node's newest connection before the older ones, and walked in the reverse of
// that: the node that the walk began with comes last.
#pragma once

#include "Kora/SDS/Source/SDS_CachingNameIterator.h"

class KORA_API SDS_ConnectionClosureIterator : public SDS_CachingNameIterator
{
public:
    explicit SDS_ConnectionClosureIterator(bool iHolds = true);
    ~SDS_ConnectionClosureIterator() override;

protected:
    ESDSError Set(SDS_Name* iName) override;

private:
    ESDSError WalkConnections(SDS_Name* iName);
    Entry* Visit(SDS_Name* iName, Entry* iFrom);
};
