#include "Bastel/Cmn/Cmn_RefCount.h"

#include "Bastel/Cmn/Cmn_Assert.h"

Cmn_RefCountObject::~Cmn_RefCountObject() = default;

void Cmn_RefCountObject::Release() const
{
    // Release and acquire: the thread that deletes sees what the others wrote through their references.
    const Cmn_Int32 before = mCount.fetch_sub(1, std::memory_order_acq_rel);
    if (!Cmn_ASSERT_TEXT(before > 0, "mCount > 0")) {
        mCount.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    if (before == 1) delete this;
}
