#include "Bastel/I18N/I18N_Utils.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

TEST(I18N, EveryIdentifierOfTheTableHasItsText)
{
    int count = 0;
#define KORA_STRING(iID, iText)                                                                              \
    EXPECT_EQ(I18N_Utils::GetString(iID), iText);                                                            \
    ++count;
#include "Bastel/I18N/Strings.def"
#undef KORA_STRING
    EXPECT_GE(count, 42);
}

TEST(I18N, AnyOtherIdentifierIsEmpty)
{
    using Limits = std::numeric_limits<Cmn_Int32>;
    // The last two rows are those of "Samples" once bits are dropped.
    for (const Cmn_Int32 id : {Limits::min(), -1, 0, 1, 1340, 1344, 1345, 1376, 3000, 0xFFFF, Limits::max(),
                               0x10000 + 1341, 1341 - 0x10000})
        EXPECT_EQ(I18N_Utils::GetString(id), "") << id;
}
