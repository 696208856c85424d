#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "basicslib/Handle.h"
#include "soak/MessageShape.h"

namespace soak
{

/// One end of a pipe in message mode, as bytes and nothing else: it is written apart from the
/// product's own pipe code. Every operation waits until it is done, the other side closes, or the
/// host stops. Used by one thread.
class PipeLink
{
  public:
    /// Both are borrowed. `stop` may be NULL.
    PipeLink(HANDLE pipe, HANDLE stop);

    /// The next message whole; false when there will be none.
    bool Read(Bytes& message);

    /// At most `count` bytes of the next message or of the rest of one.
    bool ReadPart(std::size_t bytes);

    /// One message; false when nobody reads it any more.
    bool Write(const Bytes& message);

    /// Reads and drops everything until the other side closes or the host stops.
    void AwaitClose();

    /// Does nothing until the other side closes or the host stops. What arrives is not read.
    void Hang();

    /// Server side: waits for a client.
    bool Connect();

    /// The event that ends every operation.
    HANDLE Stop() const { return m_stop; }

  private:
    DWORD Finish(BOOL done, OVERLAPPED& block, DWORD& count);
    DWORD ReadInto(unsigned char* bytes, std::size_t size, DWORD& count);

    HANDLE m_pipe;
    HANDLE m_stop;
    tvn::Handle m_event;
};

/// Serves a pipe with several ends, each on a thread of its own, one client at a time on each.
class PipeHost
{
  public:
    /// Called for each client, on the end's thread; the connection is closed when it returns. What
    /// was written before stays there for the client.
    using Session = std::function<void(PipeLink& link)>;

    /// Throws std::runtime_error when the pipe cannot be made.
    PipeHost(std::string name, std::size_t ends, Session session);

    /// Ends every session and waits for the threads.
    ~PipeHost();
    PipeHost(const PipeHost&) = delete;
    PipeHost& operator=(const PipeHost&) = delete;

    const std::string& Name() const { return m_name; }

  private:
    boost::shared_ptr<tvn::Handle> NewEnd() const;
    void Serve(boost::shared_ptr<tvn::Handle> end);

    std::string m_name;
    Session m_session;
    tvn::Handle m_stop;
    std::vector<std::thread> m_threads;
};

/// Opens the client end of a pipe, trying for up to `milliseconds`. Invalid when it cannot.
boost::shared_ptr<tvn::Handle> OpenClientEnd(const std::string& name, DWORD milliseconds);

}  // namespace soak
