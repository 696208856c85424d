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
/// A command that the pipe does not take at once stays under way when its time ends: the instance
/// gets it whole as soon as it reads. It is withdrawn when the client is destroyed before, and by
/// the system when the thread that has sent it ends.
class CommandClient : private RemotePipeClient
{
  public:
    /// `hInterrupt`, which may be empty, is an event that ends the wait for a reply. With
    /// `waitForPipe` set, opening the pipe is repeated within the time of the command.
    CommandClient(const ComString& pipeName, const boost::shared_ptr<Handle>& hInterrupt,
                  bool waitForPipe);

    /// Sends one command and waits for its reply, `timeout` milliseconds (INFINITE: no limit) in
    /// all, a wait for an earlier command that is still under way included. Returns the reply to
    /// this very command, or a status without a text: `sTimeout` when no reply came in time,
    /// `sFail` on any pipe failure and when a command already runs on this client (called from a
    /// message that its wait dispatches). Throws only what is not a pipe failure: a failed wait, or
    /// no memory.
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
