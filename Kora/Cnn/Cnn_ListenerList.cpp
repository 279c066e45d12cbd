#include "Kora/Cnn/Cnn_ListenerList.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Cnn/Cnn_ListenerMessage.h"
#include "Kora/Cnn/Cnn_ListenerMessageReceiver.h"

#include <algorithm>

namespace {

void Tell(Cnn_ListenerMessageReceiver& ioReceiver, const Cnn_ListenerMessage& iMessage)
{
    bool threw = false;
    try {
        ioReceiver.ReceiveMessage(iMessage);
    } catch (...) {
        threw = true;
    }
    Cmn_ASSERT_TEXT(!threw, "a receiver threw an exception");
}

} // namespace

Cnn_ListenerListBase::Cnn_ListenerListBase(std::type_index iMessageClassInfo)
    : mMessageClassInfo(iMessageClassInfo)
{
}

Cnn_ListenerListBase::Cnn_ListenerListBase(const Cnn_ListenerListBase&) = default;

Cnn_ListenerListBase& Cnn_ListenerListBase::operator=(const Cnn_ListenerListBase& iOther)
{
    mListeners = iOther.mListeners;
    mMessageClassInfo = iOther.mMessageClassInfo;
    ++mChangeCount;
    return *this;
}

Cnn_ListenerListBase::~Cnn_ListenerListBase() = default;

void Cnn_ListenerListBase::Add(Cnn_ListenerMessageReceiver* iListenerP, EPriority iPriority)
{
    if (!Cmn_ASSERT(iListenerP != 0)) return;
    Cmn_ASSERT(iListenerP->GetMessageClassInfo() == mMessageClassInfo);
    mListeners.insert(iPriority == kPriorityHigh ? mListeners.begin() : mListeners.end(), iListenerP);
    ++mChangeCount;
}

void Cnn_ListenerListBase::Remove(Cnn_ListenerMessageReceiver* iListenerP)
{
    const auto found = std::find(mListeners.begin(), mListeners.end(), iListenerP);
    if (found == mListeners.end()) return;
    mListeners.erase(found);
    ++mChangeCount;
}

void Cnn_ListenerListBase::Broadcast(const Cnn_ListenerMessage& iMessage) const
{
    // The end is taken once. An index, and the look at the size, keep a list that
    // changes all the same in bounds.
    const std::size_t end = mListeners.size(), changes = mChangeCount;
    for (std::size_t at = 0; at < end && at < mListeners.size(); ++at)
        Tell(*mListeners[at], iMessage);
    Cmn_ASSERT_TEXT(mChangeCount == changes, "listeners unchanged during a broadcast");
}
