#pragma once

#include <windows.h>

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>

#include "basicslib/Handle.h"
#include "pipeutils/CommandsProtocol.h"

namespace instance
{

/// One client's connection to the command pipe. Replies are queued and written by a separate
/// thread, or by one that may wait, so that reading the next command never waits for a client that
/// does not read: that would be a deadlock. Thread-safe.
class Connection : public boost::enable_shared_from_this<Connection>
{
  public:
    /// `pipe` is connected and was opened for overlapped I/O. Throws when the event cannot be
    /// created.
    explicit Connection(boost::shared_ptr<tvn::Handle> pipe);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Starts the writing thread. False when that fails; call it once.
    bool Start();

    /// For the one thread that reads commands. `Closing` is signalled when the connection is to
    /// end.
    HANDLE Pipe() const { return m_pipe->Get(); }
    HANDLE Closing() const { return m_closing->Get(); }

    /// Queues the reply to the command with this id. A reply that the client does not read within
    /// some seconds is dropped: the client has given up on the command and is not reading.
    void Reply(unsigned int id, int status, const std::wstring& text);

    /// The same, but writes the queue on this thread, unless another one is at it, and waits until
    /// everything was written or dropped, some seconds at most. No other thread has to wake up
    /// before the client gets its reply.
    void ReplyAndWait(unsigned int id, int status, const std::wstring& text);

    /// Waits until the queue of replies is not full. False when the connection ends.
    bool WaitForRoom();

    /// Waits up to `timeout` milliseconds until everything queued was written or dropped.
    void Flush(DWORD timeout);

    /// Ends the connection and drops what is still queued. The pipe is closed with the last pointer
    /// to it.
    void Close();

  private:
    struct Unwritten
    {
        unsigned int id;
        int status;
        std::wstring text;
    };

    void Queue(unsigned int id, int status, const std::wstring& text);
    void RunWriter();
    void WriteQueue(std::unique_lock<std::mutex>& lock);
    bool IsIdle() const { return m_closed || (m_queue.empty() && !m_writing); }

    const boost::shared_ptr<tvn::Handle> m_pipe;
    const boost::shared_ptr<tvn::Handle> m_closing;
    tvn::CommandsProtocol m_protocol;  ///< of the thread that is writing
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Unwritten> m_queue;
    bool m_writing = false;
    bool m_closed = false;
};

}  // namespace instance
