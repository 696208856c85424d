#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "basicslib/Handle.h"
#include "pipeutils/PipeServerBase.h"

namespace tvn
{

/// A pipe server for one client: makes one server end, waits for the client and hands the connected
/// end over. Every operation, the destruction included, belongs to the thread that called `Create`.
class SimplePipeServer : public PipeServerBase
{
  public:
    SimplePipeServer() noexcept = default;

    /// Closes the pipe if it was not handed over; a connect that is still pending is cancelled.
    ~SimplePipeServer() override;

    SimplePipeServer(const SimplePipeServer&) = delete;
    SimplePipeServer& operator=(const SimplePipeServer&) = delete;

    /// Makes the pipe `name` and starts listening; with `allowAllToAccessPipe` any account may
    /// connect. Throws Win32Exception; the object can then only be destroyed. While it has a pipe,
    /// it throws InvalidOperationException and changes nothing.
    void Create(const char* name, bool allowAllToAccessPipe);

    /// Waits up to `timeout` milliseconds (INFINITE: no limit) for the client, dispatching window
    /// messages. Returns the connected pipe, or an empty pointer on time-out; it may then be called
    /// again. Throws InvalidOperationException when there is no pipe, as after a success.
    boost::shared_ptr<Handle> WaitForClient(DWORD timeout);

  private:
    boost::shared_ptr<Handle> m_hPipe;  // empty before `Create` and after the hand-over
    boost::shared_ptr<Overlapped> m_overlapped;
};

}  // namespace tvn
