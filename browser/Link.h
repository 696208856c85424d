#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "basicslib/Handle.h"
#include "pipeutils/PipeOperation.h"

namespace browser
{

/// This program's ends of the two pipes to a browser, opened for overlapped I/O.
struct Pipes
{
    boost::shared_ptr<tvn::Handle> toBrowser;
    boost::shared_ptr<tvn::Handle> fromBrowser;
};

/// Carries text messages to a browser and back; on the pipes each ends with a zero byte. One thread
/// reads all the time, so that nothing that waits for an answer stops the next message. Another
/// goes on with what the browser does not take at once.
class Link
{
  public:
    /// Both are called on the reading thread: with each message, and once with how the link ended.
    using OnMessage = std::function<void(const std::string& text)>;
    using OnEnd = std::function<void(const std::string& reason)>;

    /// Throws BrowserError, or std::system_error, when the system lacks what is needed.
    Link(Pipes pipes, OnMessage onMessage, OnEnd onEnd);

    /// Closes the link and waits for its threads. Not to be called on either.
    ~Link();

    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    /// Writes a message, or queues it; waits for nobody, from any thread. After the end it goes
    /// nowhere.
    void Send(std::string text);

  private:
    void Read();
    std::string ReadToEnd();
    void WriteQueued();
    void BeginWrites();
    bool EndsBeforeClose(const tvn::PipeOperation& operation) const;

    const Pipes m_pipes;
    const OnMessage m_onMessage;
    const OnEnd m_onEnd;
    const tvn::Handle m_closing;  ///< an event
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isClosing = false;
    std::deque<std::string> m_queue;  ///< the first one is being written
    tvn::PipeOperation m_write;
    std::thread m_writer;
    std::thread m_reader;
};

}  // namespace browser
