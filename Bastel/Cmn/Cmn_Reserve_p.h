// Cmn_Reserve: room in a vector for what is about to come, before anything is changed.
#pragma once

#include <algorithm>
#include <cstddef>

// For iCount elements in all. Grows by doubling, as pushing back does: reserve alone would move everything again for
// each one more.
template <class Vector>
void Cmn_Reserve(Vector& ioVector, std::size_t iCount)
{
    if (ioVector.capacity() < iCount) ioVector.reserve((std::max)(iCount, 2 * ioVector.capacity()));
}
