#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <deque>
#include <mutex>
#include <string>

#include "instance/Attachment.h"
#include "instance/Connection.h"
#include "instance/ICommands.h"
#include "instance/InstanceArguments.h"
#include "instance/PipeListener.h"

namespace instance
{

/// Serves the command pipe of one instance: takes the commands of any number of clients, attaches
/// at most one of them, and passes on that client's commands. Commands of a client that is not
/// attached, and unknown commands, are answered with a failure. A connection that is not attached
/// is closed after some seconds without a command. When there are too many connections, the oldest
/// one that is not attached is closed.
class CommandService
{
  public:
    /// `window` names the pipe. `commands` must live as long as the process.
    CommandService(HWND window, const InstanceArguments& arguments, ICommands& commands);

    /// Makes the pipe and begins to serve it. False when it cannot be made. The object must then
    /// live as long as the process.
    bool Start();

    /// Whether the creator of the instance has not attached yet.
    bool IsReserved() const { return m_attachment.IsReserved(); }

  private:
    void Serve(const boost::shared_ptr<tvn::Handle>& pipe);
    void Admit(const boost::shared_ptr<Connection>& connection);
    void Dismiss(const boost::shared_ptr<Connection>& connection);
    void ReadCommands(const boost::shared_ptr<Connection>& connection);
    void Attach(const std::wstring& creatorUuid, const Answer& answer);
    void Run(const std::wstring& command, const std::wstring& argument, const Answer& answer);
    void RunForOwner(const std::wstring& command, const std::wstring& argument,
                     const Answer& answer);

    ICommands& m_commands;
    Attachment m_attachment;
    std::mutex m_mutex;
    std::deque<boost::shared_ptr<Connection>> m_connections;  ///< the oldest first
    PipeListener m_listener;
};

}  // namespace instance
