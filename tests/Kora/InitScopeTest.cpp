#include "Kora/Kora_InitScope.h"
#include "Kora/Time/Values/Time_Typed.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>

static_assert(!std::is_copy_constructible_v<Kora_InitScope> && !std::is_move_constructible_v<Kora_InitScope>,
              "one scope, one Init");

namespace {

void ThrowInAScope()
{
    const Kora_InitScope scope;
    throw std::runtime_error("a host's own");
}

} // namespace

TEST(KoraInitScope, EveryWayOutFreesWhatItsWayInStarted)
{
    const Cmn_Int32 before = Kora_Init::sInitializedCount;
    {
        const Kora_InitScope outer;
        EXPECT_EQ(Kora_Init::sInitializedCount, before + 1);
        EXPECT_GT(Time_Typed::MaxTime(Time_eType_Samples).AsInt64(), 0) << "limits stand inside";
        {
            const Kora_InitScope inner;
            EXPECT_EQ(Kora_Init::sInitializedCount, before + 2);
            Kora_Init::Init(); // a plain pair in between
            EXPECT_THROW(ThrowInAScope(), std::runtime_error);
            EXPECT_EQ(Kora_Init::sInitializedCount, before + 3);
            Kora_Init::Free();
        }
        EXPECT_EQ(Kora_Init::sInitializedCount, before + 1);
    }
    EXPECT_EQ(Kora_Init::sInitializedCount, before);
}
