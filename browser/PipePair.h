#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "basicslib/Handle.h"

namespace browser
{

/// Both ends of a pipe between this program and a browser that it is about to start.
struct PipePair
{
    boost::shared_ptr<tvn::Handle> own;       ///< for overlapped I/O
    boost::shared_ptr<tvn::Handle> browsers;  ///< can be inherited
};

/// Makes a pipe that nobody else can connect to. `direction`: PIPE_ACCESS_OUTBOUND for what the
/// browser reads, PIPE_ACCESS_INBOUND for what it writes. Throws BrowserError when the system has
/// none to give.
PipePair NewPipePair(DWORD direction);

}  // namespace browser
