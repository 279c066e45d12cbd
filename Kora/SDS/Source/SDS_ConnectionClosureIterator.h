// SDS_ConnectionClosureIterator: a node and all that can be reached from it through connections, each once.
//
// Nodes are discovered depth first, each node's newest connection before the older ones, and walked in the
// reverse of that: the node that the walk began with comes last.
#pragma once

#include "Kora/SDS/Source/SDS_CachingNameIterator.h"

class KORA_API SDS_ConnectionClosureIterator : public SDS_CachingNameIterator
{
public:
    // How nodes are kept while the walk lasts.
    enum class Walk {
        eHeld,
        // The dispatcher's: without holds, so that nodes at the limit of their references can still be
        // rebuilt and parted; and past no node whose rebuild waits already.
        eUnheld,
        eUnheldUnqueued
    };
    // Without a node yet: Reset gives it one.
    explicit SDS_ConnectionClosureIterator(Walk iWalk = Walk::eHeld);
    ~SDS_ConnectionClosureIterator() override;

protected:
    ESDSError Set(SDS_Name* iName) override;

private:
    ESDSError WalkConnections(SDS_Name* iName);
    Entry* Visit(SDS_Name* iName, Entry* iFrom);

    const bool mSkipsQueued;
};
