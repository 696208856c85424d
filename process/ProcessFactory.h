#pragma once

#include "process/IProcessFactory.h"
#include "process/InstancesMgr.h"
#include "process/Process.h"

namespace tvn
{

/// Processes and instances of this machine, handled directly.
using ProcessFactory = ProcessFactoryOf<Process, InstancesMgr>;

}  // namespace tvn
