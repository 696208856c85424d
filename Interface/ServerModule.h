#pragma once

#include "comserver/Module.h"

namespace tvn
{

/// The COM module of this DLL, one for the process.
extern comserver::Module g_module;

}  // namespace tvn
