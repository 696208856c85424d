#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <vector>

#include "basicslib/ComString.h"

namespace tvn
{

/// One browser process, handled locally or through the runner service. Objects are always held by
/// shared pointer; destroying one never ends the process. Results are status codes: `sOk` when
/// done, a negative one otherwise. Time-outs are milliseconds, INFINITE for none. Used by one
/// thread.
class IProcess
{
  public:
    /// Starts the program `appPath` with the argument text `cmdLine`; under the account `user` of
    /// `domain` with `password` when `user` is not empty, else under the caller's. On success the
    /// object holds the new process.
    virtual int Start(ComString appPath, ComString cmdLine, ComString user, ComString domain,
                      ComString password, DWORD timeoutMs) = 0;

    /// Ends the process at once, without waiting until it has ended.
    virtual int Terminate(DWORD timeoutMs) = 0;

    /// Empties `processes` and fills it with one object per running process whose executable's file
    /// name equals `name`, ignoring case. Independent of the object's own process.
    virtual int GetProcessesByName(ComString name,
                                   std::vector<boost::shared_ptr<IProcess>>& processes,
                                   DWORD timeoutMs) = 0;

    /// The process id, 0 when the object holds no process.
    virtual DWORD GetPid() = 0;

    /// Waits for the end of the process: `sOk` when it has ended, `sTimeout` when it still runs.
    virtual int WaitForExit(DWORD timeoutMs) = 0;
};

}  // namespace tvn
