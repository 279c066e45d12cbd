// Cmn_DoublyLinkedList: objects strung together by links of their own, so that linking allocates nothing.
//
//   mFirst ─▶ [ link ] ⇄ [ link ] ⇄ [ sentinel ]      the sentinel's next is null: that is how a walk ends
//
// Invariants: (1) an empty list's first is its sentinel  (2) the first link's previous is null
//             (3) an unlinked link has null on both sides.
// Threads:    none inside.
// Ownership:  never owns what is linked; who links an object unlinks it before either of the two dies.
#pragma once

// What a class derives from to be linked. A copy of a linked object is not linked itself.
class Cmn_DoublyLinkedListLink
{
public:
    // Null when unlinked or at the end of a walk: the sentinel's own next.
    Cmn_DoublyLinkedListLink* GetNext() const { return mNext; }

protected:
    Cmn_DoublyLinkedListLink() = default;
    Cmn_DoublyLinkedListLink(const Cmn_DoublyLinkedListLink&) {}
    Cmn_DoublyLinkedListLink& operator=(const Cmn_DoublyLinkedListLink&) { return *this; }
    ~Cmn_DoublyLinkedListLink() = default;

private:
    template <class T>
    friend class Cmn_DoublyLinkedList;

    Cmn_DoublyLinkedListLink* mNext = nullptr;
    Cmn_DoublyLinkedListLink* mPrevious = nullptr;
};

// T derives from Cmn_DoublyLinkedListLink.
template <class T>
class Cmn_DoublyLinkedList
{
public:
    // What elements derive from.
    using Link = Cmn_DoublyLinkedListLink;

    Cmn_DoublyLinkedList() = default;
    Cmn_DoublyLinkedList(const Cmn_DoublyLinkedList&) = delete;
    Cmn_DoublyLinkedList& operator=(const Cmn_DoublyLinkedList&) = delete;

    bool IsEmpty() const { return mFirst == &mSentinel; }
    // Null when empty.
    T* GetFirst() const { return ObjectOf(mFirst); }
    // The object behind iObject: null behind the last one, and for an object that is not linked.
    [[nodiscard]] static T* GetNext(const T& iObject)
    {
        Link* const nextP = static_cast<const Link&>(iObject).mNext;
        return nextP != nullptr ? ObjectOf(nextP) : nullptr;
    }

    // iObject is in no list.
    void PushBack(T& ioObject)
    {
        Link& link = ioObject;
        link.mNext = &mSentinel;
        link.mPrevious = mSentinel.mPrevious;
        (link.mPrevious != nullptr ? link.mPrevious->mNext : mFirst) = &link;
        mSentinel.mPrevious = &link;
    }

    // iObject is in this list.
    void Remove(T& ioObject)
    {
        Link& link = ioObject;
        (link.mPrevious != nullptr ? link.mPrevious->mNext : mFirst) = link.mNext;
        link.mNext->mPrevious = link.mPrevious;
        link.mNext = nullptr;
        link.mPrevious = nullptr;
    }

private:
    struct Sentinel : Link
    {
    };

    static T* ObjectOf(Link* iLink) { return iLink->mNext != nullptr ? static_cast<T*>(iLink) : nullptr; }

    Sentinel mSentinel;
    Link* mFirst = &mSentinel;
};
