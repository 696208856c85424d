// The other side of a pipe, as bytes and nothing else. It shares no code with the product's pipes.
#pragma once

#include <windows.h>

#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "basicslib/Handle.h"
#include "tests/messages.h"

namespace tvn::tests
{

/// One end of a pipe in message mode. Every operation ends when the other side closes, when its
/// time-out, in milliseconds, expires, or when `stop` is signalled; it is then cancelled. Used by
/// one thread at a time. Copies are the same end, which is closed with the last of them.
class BytePeer
{
  public:
    /// A server end, so that clients find the pipe; its buffers hold `bufferSize` bytes, and what
    /// is written beyond them waits for a reader. `stop`, borrowed, may be NULL.
    explicit BytePeer(const std::string& name, HANDLE stop = nullptr, DWORD bufferSize = 1024);

    /// An end that somebody has opened, for overlapped I/O.
    BytePeer(boost::shared_ptr<Handle> end, HANDLE stop);

    /// Opens the client's end, trying for `timeout` milliseconds; not valid when it cannot.
    static boost::shared_ptr<Handle> Open(const std::string& name, DWORD timeout = 0);

    bool IsValid() const { return m_end->IsValid(); }
    HANDLE Stop() const { return m_stop; }

    /// Waits for the client of a server end.
    bool Connect(DWORD timeout = INFINITE);

    /// The next message, whole; false when there will be none.
    bool Read(Bytes& message, DWORD timeout = INFINITE);

    /// Reads `count` bytes of the next message, and leaves the rest in the pipe.
    bool ReadPart(std::size_t count);

    /// One message. False when nobody has taken it.
    bool Write(const Bytes& message, DWORD timeout = INFINITE);

    /// Reads nothing, and does nothing, until the other side closes.
    void Hold();

    /// Reads and drops everything until the other side closes, which is noticed at once: the pipe
    /// has few ends, and the next client needs one.
    void Drain();

  private:
    template <class Start>
    DWORD Complete(Start start, DWORD timeout, DWORD& bytes);
    DWORD ReadInto(unsigned char* bytes, std::size_t size, DWORD timeout, DWORD& count);

    boost::shared_ptr<Handle> m_end;
    boost::shared_ptr<Handle> m_event;  // of the operation that runs
    HANDLE m_stop;
};

/// Serves a pipe with several ends, each on a thread of its own, one client at a time on each.
class PeerHost : boost::noncopyable
{
  public:
    /// Called for each client on the thread of its end. The connection is closed when it returns;
    /// what was written before stays there for the client.
    using Session = std::function<void(BytePeer& client)>;

    /// Throws std::runtime_error when the pipe cannot be made.
    PeerHost(std::string name, std::size_t ends, Session session);

    /// Ends every session and waits for the threads.
    ~PeerHost() { SetEvent(m_stop.Get()); }

  private:
    void Serve(BytePeer end);

    std::string m_name;
    Session m_session;
    Handle m_stop;
    std::vector<std::jthread> m_threads;
};

}  // namespace tvn::tests
