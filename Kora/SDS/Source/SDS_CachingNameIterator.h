// SDS_CachingNameIterator: walks a list of nodes that it gathers when it is reset, so that what changes
// meanwhile does not disturb the walk. All of its nodes are kept alive until it is reset or destroyed.
#pragma once

#include "Kora/SDS/Source/SDS_NameIterator.h"

struct SDS_ConnectionRecord;

class KORA_API SDS_CachingNameIterator : public SDS_NameIterator
{
public:
    ~SDS_CachingNameIterator() override;

    ESDSError First() override;
    ESDSError Next() override;
    void* Item() override;
    ESDSError Reset(SDS_Name* iName) override;

protected:
    // iHolds false: the nodes are not held; for a walk under the dispatcher's section during
    // which none can be freed.
    explicit SDS_CachingNameIterator(bool iHolds = true);

    struct Entry
    {
        SDS_Name* mName;
        Entry* mNext;
        // While a closure is walked: what is left of the node's connections, and the entry
        // that it was reached from.
        SDS_ConnectionRecord* mRest;
        Entry* mFrom;
    };

    // Gathers the nodes of a walk from iName.
    virtual ESDSError Set(SDS_Name* iName) = 0;

    // Puts a node at the front; null when there is no memory, or its references are at their limit.
    Entry* Push(SDS_Name* iName);
    void FreeConnectionList();

    Entry* mHead = nullptr;

private:
    bool Hold(SDS_Name& ioName) const;
    void LetGo(SDS_Name& ioName) const;

    const bool mHolds;
    Entry* mCurrent = nullptr;
};
