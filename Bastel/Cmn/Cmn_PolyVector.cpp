#include "Bastel/Cmn/Cmn_PolyVector.h"

void Cmn_PolyVectorImpl::ReportIndex() { Cmn_ASSERT_TEXT(false, "iIndex < size()"); }
