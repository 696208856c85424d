#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>

namespace browser
{

/// One WebSocket to a program of this machine, which sends and receives text messages. A thread of
/// its own reads all the time, so that nothing that waits for an answer stops the next message.
class WebSocket
{
  public:
    using OnMessage = std::function<void(const std::string& text)>;
    using OnEnd = std::function<void(const std::string& reason)>;

    /// Connects to ws://127.0.0.1:`port``path` within `timeout` milliseconds. From then on, each
    /// message and the end of the connection, however it came, are handed to the two functions on
    /// the socket's thread. Throws BrowserError when there is nobody, or nobody who answers.
    WebSocket(unsigned short port, const std::string& path, DWORD timeout, OnMessage onMessage,
              OnEnd onEnd);

    /// Closes the connection and waits for the thread. Not to be called on that thread.
    ~WebSocket();

    WebSocket(const WebSocket&) = delete;
    WebSocket& operator=(const WebSocket&) = delete;

    /// Queues a message; from any thread. After the end it goes nowhere.
    void Send(std::string text);

  private:
    class Io;
    std::unique_ptr<Io> m_io;
};

}  // namespace browser
