#pragma once

#include "process/IProcessFactory.h"
#include "runner/RunnerInstancesMgr.h"
#include "runner/RunnerProcess.h"

namespace tvn
{

/// Processes and instances handled through the runner service.
using RunnerProcessFactory = ProcessFactoryOf<RunnerProcess, RunnerInstancesMgr>;

}  // namespace tvn
