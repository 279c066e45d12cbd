#include "Kora/Ndo/Ndo_Action.h"

#include "Kora/Ndo/Ndo_Manager.h"

Ndo_Action::~Ndo_Action() = default;

bool Ndo_Action::AutoDeleteOnFail() { return true; }

void Ndo_Action::LogAction()
{
    if (Do())
        Ndo_gManager.LogAction(this);
    else if (AutoDeleteOnFail())
        delete this;
}

std::size_t Ndo_Action::GetByteCount() const noexcept { return 0; }
