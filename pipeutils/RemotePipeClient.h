#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "basicslib/ComString.h"
#include "basicslib/Handle.h"

namespace tvn
{

/// Opens the client end of a pipe in message mode, for overlapped I/O, and keeps it for later use.
/// Used by one thread. The open operations throw PipeException with the system's error.
class RemotePipeClient
{
  public:
    explicit RemotePipeClient(const ComString& pipeName);
    virtual ~RemotePipeClient() = default;
    RemotePipeClient(const RemotePipeClient&) = delete;
    RemotePipeClient& operator=(const RemotePipeClient&) = delete;

    /// Opens a client end of the pipe `name`, which the caller owns. A busy pipe fails like a
    /// missing one.
    static boost::shared_ptr<Handle> OpenPipe(const char* name);

    /// The kept handle; opens the client's own pipe first if there is none yet.
    boost::shared_ptr<Handle> OpenPipe();

    /// The same, retried every 100 ms until it succeeds or `timeout` milliseconds (INFINITE: no
    /// limit) have passed; the last failure is then thrown. Between the attempts the thread sleeps
    /// without dispatching messages.
    boost::shared_ptr<Handle> OpenPipe(DWORD timeout);

  private:
    ComString m_pipeName;
    boost::shared_ptr<Handle> m_hPipe;
};

}  // namespace tvn
