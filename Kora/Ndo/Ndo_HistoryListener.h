// Ndo_HistoryListener: is told that a history has changed, such as to bring the Undo menu and the
// title's star up to date.
//
// Ownership: the host's, who removes it from the history before it dies.
#pragma once

#include "Export/Kora_API.h"

class Ndo_History;

class KORA_API Ndo_HistoryListener
{
public:
    virtual ~Ndo_HistoryListener();
    // Called when a change of the history is complete: it may ask, change the history again, and remove
    // itself or others. What it throws ends here, as an assertion ("a listener threw an exception").
    virtual void HistoryChanged(Ndo_History& ioHistory) = 0;

protected:
    Ndo_HistoryListener() = default;
    Ndo_HistoryListener(const Ndo_HistoryListener&) = default;
    Ndo_HistoryListener& operator=(const Ndo_HistoryListener&) = default;
};
