#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "basicslib/ComString.h"
#include "basicslib/Handle.h"
#include "pipeutils/RemotePipeClient.h"

namespace tvn
{

/// Runs commands on one instance's command pipe, one at a time, and turns every pipe failure into a
/// status. The pipe is opened by the first command and kept for the later ones. Used by one thread.
class CommandClient : private RemotePipeClient
{
  public:
    /// `hInterrupt`, which may be empty, is an event that ends the wait for a reply. With
    /// `waitForPipe` set, opening the pipe is repeated within the time of the command.
    CommandClient(const ComString& pipeName, const boost::shared_ptr<Handle>& hInterrupt,
                  bool waitForPipe);

    /// Sends one command and waits for its reply, `timeout` milliseconds (INFINITE: no limit) in
    /// all. `status` becomes the reply's status, `sTimeout` when no reply came in time, `sFail` on
    /// any pipe failure and when a command already runs on this client (called from a message that
    /// its wait dispatched). `reply` becomes the text of the last reply read and is left alone when
    /// none was. Throws only what is not a pipe failure: a failed wait, or no memory.
    void Execute(DWORD timeout, const ComString& command, const ComString& arguments,
                 ComString& reply, int& status);

  private:
    void RunCommand(HANDLE hPipe, DWORD timeout, const ComString& command,
                    const ComString& arguments, ComString& reply, int& status);

    unsigned int m_requestId = 0;
    bool m_busy = false;
    bool m_waitForPipe;
    boost::shared_ptr<Handle> m_hInterrupt;
};

}  // namespace tvn
