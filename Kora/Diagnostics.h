// Kora/Diagnostics.h: what tells a host that something went wrong: assertions, exceptions, the trace.
#pragma once

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/Sys/Sys_Trace.h"
#include "Kora/Sys/Sys_TraceBinder.h"
