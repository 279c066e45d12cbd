// Cmn_DoublyLinkedList: objects strung together by links of their own, so that linking allocates nothing.
//
//   mFirstP ─▶ [ link ] ⇄ [ link ] ⇄ [ sentinel ]      the sentinel's next is null: that is how a walk ends
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
    Cmn_DoublyLinkedListLink* GetNext() const { return mNextP; }

protected:
    Cmn_DoublyLinkedListLink() = default;
    Cmn_DoublyLinkedListLink(const Cmn_DoublyLinkedListLink&) {}
    Cmn_DoublyLinkedListLink& operator=(const Cmn_DoublyLinkedListLink&) { return *this; }
    ~Cmn_DoublyLinkedListLink() = default;

private:
    template <class T>
    friend class Cmn_DoublyLinkedList;

    Cmn_DoublyLinkedListLink* mNextP = nullptr;
    Cmn_DoublyLinkedListLink* mPreviousP = nullptr;
};

// T derives from Cmn_DoublyLinkedListLink.
template <class T>
class Cmn_DoublyLinkedList
{
public:
    using Link = Cmn_DoublyLinkedListLink;

    Cmn_DoublyLinkedList() = default;
    Cmn_DoublyLinkedList(const Cmn_DoublyLinkedList&) = delete;
    Cmn_DoublyLinkedList& operator=(const Cmn_DoublyLinkedList&) = delete;

    bool IsEmpty() const { return mFirstP == &mSentinel; }
    // Null when empty.
    T* GetFirst() const { return ObjectOf(mFirstP); }
    // The object behind iObject: null behind the last one, and for an object that is not linked.
    [[nodiscard]] static T* GetNext(const T& iObject)
    {
        Link* const nextP = static_cast<const Link&>(iObject).mNextP;
        return nextP != nullptr ? ObjectOf(nextP) : nullptr;
    }

    // iObject is in no list.
    void PushBack(T& ioObject)
    {
        Link& link = ioObject;
        link.mNextP = &mSentinel;
        link.mPreviousP = mSentinel.mPreviousP;
        (link.mPreviousP != nullptr ? link.mPreviousP->mNextP : mFirstP) = &link;
        mSentinel.mPreviousP = &link;
    }

    // iObject is in this list.
    void Remove(T& ioObject)
    {
        Link& link = ioObject;
        (link.mPreviousP != nullptr ? link.mPreviousP->mNextP : mFirstP) = link.mNextP;
        link.mNextP->mPreviousP = link.mPreviousP;
        link.mNextP = nullptr;
        link.mPreviousP = nullptr;
    }

private:
    struct Sentinel : Link
    {
    };

    static T* ObjectOf(Link* iLinkP) { return iLinkP->mNextP != nullptr ? static_cast<T*>(iLinkP) : nullptr; }

    Sentinel mSentinel;
    Link* mFirstP = &mSentinel;
};
