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

/// Serves a named pipe to any number of clients at a time: a thread for each, and one that waits
/// for the next. What the clients get is up to the caller. No client comes from another machine.
///
/// It begins only where nobody serves the name yet. From then on its list of accounts decides who
/// may make further server ends of the name, and so be given some of the clients: with
/// `kOwnAccount` other programs of the account, with `kEveryone` every program of the machine.
class PipeListener : private tvn::PipeServerBase
{
  public:
    /// Called on a thread of its own with each connected pipe, which is closed with the last
    /// pointer to it. What it throws ends this one session, with a line in the log.
    using Session = std::function<void(const boost::shared_ptr<tvn::Handle>& pipe)>;

    PipeListener(std::string name, PipeAccess access, Session session);

    /// Makes the pipe, so that clients find it, and begins to listen. False when the pipe cannot be
    /// made, also because another process serves it. The object must then live as long as the
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
