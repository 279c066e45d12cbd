#include "Bastel/Cmn/Cmn_PolyVector.h"

bool Cmn_PolyVectorImpl::CheckIndex(std::size_t iIndex, std::size_t iSize)
{
    return Cmn_ASSERT_TEXT(iIndex < iSize, "iIndex < size()");
}
