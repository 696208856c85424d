#pragma once

#include <windows.h>

namespace tvn
{

/// The one blocking primitive of the transport: waits until one of `count` (1 to 3) handles is
/// signalled, and dispatches the calling thread's window messages meanwhile, so that windows stay
/// responsive and calls into a single-threaded apartment are served.
///
/// `timeout` in milliseconds, INFINITE for none. Posted messages never extend it, but a message
/// that is being dispatched when it expires is finished first, and so are all messages that other
/// threads send meanwhile. Messages that an earlier wait has left in the queue are dispatched too.
/// Returns WAIT_OBJECT_0 plus the index of the first signalled handle, WAIT_TIMEOUT when none is
/// signalled in time, or WAIT_FAILED with the thread's last error set. A WM_QUIT that arrives is
/// reposted for the caller's own message loop when the wait ends.
DWORD WaitPumping(DWORD count, const HANDLE* handles, DWORD timeout);

/// The same for one handle.
DWORD WaitPumping(HANDLE handle, DWORD timeout);

/// Waits in this way for the event of an operation. `hInterrupt` and `further`, either of which may
/// be invalid, are events that end the wait. True when the operation's event is signalled, false on
/// time-out or when one of the others is. Throws Win32Exception when the wait fails.
bool WaitForEvent(HANDLE event, DWORD timeout, HANDLE hInterrupt, HANDLE further = nullptr);

}  // namespace tvn
