#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <optional>
#include <string_view>

#include "basicslib/ComString.h"
#include "basicslib/Handle.h"
#include "basicslib/TimeBudget.h"
#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/RemotePipeClient.h"

namespace tvn
{

/// Runs commands on one instance's command pipe, one at a time, and turns every pipe failure into a
/// status. The pipe is opened by the first command and kept for the later ones. Used by one thread
/// at a time.
///
/// A command whose write does not complete at once stays pending after its time-out: the instance
/// receives all of it as soon as it reads. The write is cancelled when the client is destroyed
/// first, and by the system when the thread that sent it ends.
class CommandClient : private RemotePipeClient
{
  public:
    /// `hInterrupt`, which may be empty, is an event that ends the wait for a reply. With
    /// `waitForPipe` set, opening the pipe is retried within the command's time-out.
    CommandClient(const ComString& pipeName, const boost::shared_ptr<Handle>& hInterrupt,
                  bool waitForPipe);

    /// Sends one command and waits for its reply, `timeout` milliseconds (INFINITE: no limit) in
    /// all, including the wait for an earlier command that is still pending. Returns the reply to
    /// this command, or a status without a text: `sTimeout` when no reply came in time, `sFail` on
    /// any pipe failure and when a command is already running on this client (a call from a window
    /// message that its wait dispatches). Throws only what is not a pipe failure: a failed wait, or
    /// out of memory.
    CommandReply Execute(DWORD timeout, const wchar_t* command, std::wstring_view arguments);

  private:
    bool Connect(DWORD timeout);

    unsigned int m_requestId = 0;
    bool m_busy = false;
    bool m_waitForPipe;
    boost::shared_ptr<Handle> m_hInterrupt;
    std::optional<CommandsProtocol> m_protocol;  // once the pipe is open
};

}  // namespace tvn
