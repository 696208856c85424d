#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <functional>
#include <string>

#include "basicslib/Handle.h"
#include "pipeutils/PipeServerBase.h"

namespace instance
{

/// Who may open a pipe, beyond what the machine's administrators may.
enum class PipeAccess {
    kOwnAccount,  ///< the account of the server: the system's default
    kEveryone,    ///< every account of this machine
};

/// Serves a named pipe to any number of clients at a time: a thread for each, and one that waits
/// for the next. What the clients get is up to the caller. Nobody else serves a pipe of this name,
/// and no client comes from another machine.
class PipeListener : private tvn::PipeServerBase
{
  public:
    /// Called on a thread of its own with each connected pipe, which is closed with the last
    /// pointer to it.
    using Session = std::function<void(const boost::shared_ptr<tvn::Handle>& pipe)>;

    PipeListener(std::string name, PipeAccess access, Session session);

    /// Makes the pipe, so that clients find it, and begins to listen. False when the pipe cannot be
    /// made, also because another process serves it. The object must then live as long as the
    /// process.
    bool Start();

  private:
    enum class End { kFirst, kFurther };

    boost::shared_ptr<tvn::Handle> NewEnd(End end) const;
    void Listen(boost::shared_ptr<tvn::Handle> first) const;

    std::string m_name;
    PipeAccess m_access;
    Session m_session;
};

}  // namespace instance
