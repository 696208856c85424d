#pragma once

#include <windows.h>

namespace tvn
{

/// The one blocking primitive of the transport: waits until one of `count` (1 or 2) handles is
/// signalled, and dispatches the calling thread's window messages meanwhile, so that windows stay
/// alive and calls into a single-threaded apartment are served.
///
/// `timeout` in milliseconds, INFINITE for none; messages never lengthen it, but a message that is
/// being dispatched when it ends is finished first. Returns what MsgWaitForMultipleObjects returns
/// for the handles: WAIT_OBJECT_0 plus the index of the first signalled one, WAIT_TIMEOUT, or
/// WAIT_FAILED with the thread's last error set. A WM_QUIT that arrives is put back for the
/// caller's own message loop when the wait ends.
DWORD WaitPumping(DWORD count, const HANDLE* handles, DWORD timeout);

/// The same for one handle.
DWORD WaitPumping(HANDLE handle, DWORD timeout);

}  // namespace tvn
