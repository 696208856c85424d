#pragma once

#include "instance/ICommands.h"
#include "instance/InstanceArguments.h"
#include "instance/InstanceWindow.h"

namespace instance
{

/// Runs an instance: serves the command pipe that `window` names, reports to whoever started the
/// process, and dispatches messages until `InstanceWindow::Quit`. The process then ends with 0, or
/// with 1 when the pipe cannot be served or the starter is no longer there. Neither returns nor
/// throws: other threads use `commands`, and what it refers to, as long as the process lives. Call
/// it on the thread that made `window`.
[[noreturn]] void RunInstance(const InstanceArguments& arguments, const InstanceWindow& window,
                              ICommands& commands) noexcept;

}  // namespace instance
