#include "Kora/Ndo/Ndo_State.h"

Ndo_State::~Ndo_State() = default;
