#pragma once

#include <windows.h>

#include "basicslib/ComString.h"

namespace tvn
{

/// Starts one process, under the caller's own account or under another. Made for one start.
class ProcessCreator
{
  public:
    virtual ~ProcessCreator() = default;

    /// Starts `appPath`. Without a `user` the new process gets the command line `appPath`, a space
    /// and `cmdLine`; with one, exactly `cmdLine`, which the system limits to 1,023 characters. A
    /// null `domain` leaves it to the system to find the account; an empty one is passed on as it
    /// is. Returns `sOk` with `processInfo` filled in, whose handles the caller then owns, or logs
    /// the failure and returns `sFail`. `timeoutMs` is not used.
    int Create(const ComString& appPath, const ComString& cmdLine, const ComString& user,
               const ComString& domain, const ComString& password, DWORD timeoutMs,
               PROCESS_INFORMATION& processInfo);

  private:
    struct ProcessParams
    {
        ComString user;
        ComString domain;
        ComString password;
        ComString appPath;
        ComString cmdLine;
        DWORD timeoutMs;
    };

    static int CreateWithLogon(const ProcessParams& params, PROCESS_INFORMATION& processInfo);
    static int CreatePlainly(const ProcessParams& params, PROCESS_INFORMATION& processInfo);
};

}  // namespace tvn
