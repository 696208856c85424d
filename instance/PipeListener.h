#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <deque>
#include <functional>
#include <optional>
#include <string>

#include "basicslib/Handle.h"
#include "instance/PipeSecurity.h"
#include "pipeutils/PipeServerBase.h"

namespace instance
{

/// Serves a named pipe to any number of clients at a time: one thread for each, and one that waits
/// for the next. The caller decides how a client is served. Clients on other machines are rejected.
///
/// It starts only when nobody serves the name yet. From then on its access control list decides who
/// may create further server ends of the name, and so receive some of the clients: with
/// `kOwnAccount` other programs of the account, with `kEveryone` every program of the machine.
class PipeListener : private tvn::PipeServerBase
{
  public:
    /// Called on a thread of its own with each connected pipe, which is closed with the last
    /// pointer to it. An exception that it throws ends this one session and is logged.
    using Session = std::function<void(const boost::shared_ptr<tvn::Handle>& pipe)>;

    PipeListener(std::string name, PipeAccess access, Session session);

    /// Makes the pipe, so that clients find it, and begins to listen. False when the pipe cannot be
    /// made, or when another process serves it already. The object must then live as long as the
    /// process.
    bool Start();

  private:
    enum class End { kFirst, kFurther };
    using Ends = std::deque<boost::shared_ptr<tvn::Handle>>;

    bool IsServed() const;
    boost::shared_ptr<tvn::Handle> NewEnd(End end);
    void Listen(Ends ends);
    bool ServeNext(Ends& ends);
    void Serve(const boost::shared_ptr<tvn::Handle>& pipe) const;

    std::string m_name;
    PipeAccess m_access;
    Session m_session;
    std::optional<PipeSecurity> m_security;
};

}  // namespace instance
