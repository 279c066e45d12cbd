#include "Kora/Time/Values/Time_Typed.h"

// The limits of typed times are built before the first test, as a host's start-up does.
[[maybe_unused]] static const bool sIsStarted = (Time_Typed::Init(), true);
