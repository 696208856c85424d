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

    /// Starts `appPath`. Without a `user` the new process gets the command line `appPath`, a blank
    /// and `cmdLine`; with one, exactly `cmdLine`, of which the system takes 1,023 characters at
    /// most. A null `domain` leaves it to the system to find the account, an empty one is
    /// handed on. `sOk` with
    /// `processInfo` filled in, whose handles the caller then owns, or `sFail` after a line to the
    /// log. `timeoutMs` is not used.
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
