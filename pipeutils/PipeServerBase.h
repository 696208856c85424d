#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "pipeutils/Overlapped.h"

namespace tvn
{

/// What one server end of a pipe has beyond the modes and sizes that all of them share.
struct PipeEndOptions
{
    DWORD openMode = 0;  ///< further flags, such as FILE_FLAG_FIRST_PIPE_INSTANCE
    DWORD pipeMode = 0;  ///< further flags, such as PIPE_REJECT_REMOTE_CLIENTS
    SECURITY_ATTRIBUTES* security = nullptr;  ///< borrowed for the call; null for the default
};

/// Makes the server ends of the system's named pipes, which all have the same modes and sizes, and
/// starts overlapped connects on them.
class PipeServerBase
{
  public:
    virtual ~PipeServerBase() = default;

  protected:
    /// Makes one server end of the pipe `name`, which the caller owns. INVALID_HANDLE_VALUE on
    /// failure. With `allowAllToAccessPipe` any account may open the pipe; the handle is then
    /// inheritable. `error` receives the last error of the last system call, also after success.
    static HANDLE CreatePipe(const char* name, BOOL allowAllToAccessPipe, DWORD& error);

    /// The same with explicit options, and without a log line.
    static HANDLE CreatePipe(const char* name, const PipeEndOptions& options, DWORD& error);

    /// Starts waiting for a client on `hPipe` with a block created for it. TRUE when a client is
    /// connected already or the connect is pending: the block's event is, or will be, signalled.
    /// FALSE on failure, with its code in `error`. Throws AssertException on a thread that did not
    /// create the block.
    static BOOL ConnectPipe(HANDLE hPipe, const boost::shared_ptr<Overlapped>& overlapped,
                            DWORD& error);

    /// Waits up to `timeout` milliseconds (INFINITE: no limit) for a client; `hInterrupt`,
    /// optional, is an event that ends the wait. TRUE once a client is connected, FALSE on
    /// time-out, interrupt or failure; `error` is the code of a failure.
    static BOOL ConnectPipe(HANDLE hPipe, DWORD timeout, HANDLE hInterrupt, DWORD& error);
};

}  // namespace tvn
