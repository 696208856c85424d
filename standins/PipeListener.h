#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <functional>
#include <string>

#include "basicslib/Handle.h"
#include "pipeutils/PipeServerBase.h"

namespace standins
{

/// Serves a named pipe to any number of clients at a time: a thread for each, and one that waits
/// for the next. What the clients get is up to the caller.
class PipeListener : public tvn::PipeServerBase
{
  public:
    /// Called on a thread of its own with each connected pipe, which is closed when it returns.
    using Session = std::function<void(const boost::shared_ptr<tvn::Handle>& pipe)>;

    PipeListener(std::string name, Session session);

    /// Makes the pipe, so that clients find it, and begins to listen. False when the pipe cannot be
    /// made. The object must then live as long as the process.
    bool Start();

  private:
    boost::shared_ptr<tvn::Handle> NewEnd() const;
    void Listen(boost::shared_ptr<tvn::Handle> pipe) const;

    std::string m_name;
    Session m_session;
};

}  // namespace standins
