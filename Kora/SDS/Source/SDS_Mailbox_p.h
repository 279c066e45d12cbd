// SDS_Mailbox: the place of a latest listener's newest token, and the flag that says
// whether the task has been told.
//
//   producer                              consumer, for each notice in its queue
//   before = content ⇄ new token          told = false
//   give `before` back                    take the content
//   told ⇄ true: was false? queue notice
//
// All of it is sequentially consistent. A producer that finds `told` true comes before the consumer's `told =
// false`, so the consumer takes its token; one that finds it false queues a notice of its own.
//
// Shared words: the content is exchanged by producers and the consumer; `told` is set by producers, cleared
// by the consumer, and whoever turns it true owns the notice until it is queued.
#pragma once

#include "Kora/SDS/Source/SDS_InterleavingPoint_p.h"

template <template <class> class TAtomic, class TElement>
class SDS_BasicMailbox
{
public:
    // Leaves ioElement; returns the one that it replaces. oQueueNotice: whether the notice is to be queued.
    TElement* Post(TElement* ioElement, bool& oQueueNotice)
    {
        TElement* const before = mContent.exchange(ioElement);
        SDS_InterleavingPoint();
        oQueueNotice = !mTold.exchange(true);
        return before;
    }

    // What the notice leads to; null when it was taken already.
    TElement* Take()
    {
        mTold.store(false);
        SDS_InterleavingPoint();
        return mContent.exchange(nullptr);
    }

    bool IsEmpty() const { return mContent.load() == nullptr && !mTold.load(); }

private:
    TAtomic<TElement*> mContent{nullptr};
    TAtomic<bool> mTold{false};
};
