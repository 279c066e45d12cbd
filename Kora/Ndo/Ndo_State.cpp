#include "Kora/Ndo/Ndo_State.h"

Ndo_State::~Ndo_State() = default;

std::size_t Ndo_State::NdoGetByteCount() const noexcept { return 0; }
