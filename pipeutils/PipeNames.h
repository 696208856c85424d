#pragma once

#include <windows.h>

#include "basicslib/ComString.h"

namespace tvn
{

/// Name of the one-time pipe on which the instance that was started with `pipeUuid` calls back.
/// Names are truncated at 511 characters. All operations here throw when there is no memory.
ComString CallbackPipeName(const ComString& pipeUuid);

/// Name of the command pipe of the instance whose window handle has this 32-bit value. The name
/// holds it as a signed number.
ComString InstancePipeName(DWORD pipeHwnd);

/// Name of the runner service's pipe.
ComString RunnerPipeName();

/// A new identifier that can be part of a pipe name: a UUID in its usual text form, in lower case,
/// with underscores for hyphens.
ComString CreateUuidString();

}  // namespace tvn
