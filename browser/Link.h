#pragma once

#include <functional>
#include <memory>
#include <string>

namespace browser
{

/// Carries text messages to a browser and back. A thread of its own reads all the time, so that
/// nothing that waits for an answer stops the next message. There are two: PipeLink.h and
/// WebSocket.h.
class Link
{
  public:
    /// Both are called on the link's thread: with each message, and once with how the link ended.
    using OnMessage = std::function<void(const std::string& text)>;
    using OnEnd = std::function<void(const std::string& reason)>;

    Link() = default;

    /// Closes the link and waits for its thread. Not to be called on that thread.
    virtual ~Link() = default;

    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    /// Queues a message; from any thread. After the end it goes nowhere.
    virtual void Send(std::string text) = 0;

    /// The longest message that is read: a page that is drawn as a whole can be large.
    static constexpr std::size_t kLongestMessage = std::size_t{256} << 20;
};

/// Makes the link to a browser; throws BrowserError when there is none to be had.
using Connector = std::function<std::unique_ptr<Link>(Link::OnMessage, Link::OnEnd)>;

}  // namespace browser
