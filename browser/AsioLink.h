#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/system/error_code.hpp>
#include <deque>
#include <string>
#include <thread>
#include <utility>

#include "browser/Link.h"

namespace browser
{

/// What the links have in common: the thread, and a queue that lets one message be written at a
/// time. A derived class closes its connection in Close, and calls Stop in its destructor.
class AsioLink : public Link
{
  public:
    void Send(std::string text) override
    {
        boost::asio::post(m_context, [this, text = std::move(text)]() mutable {
            m_queue.push_back(std::move(text));
            if (m_queue.size() == 1) {
                Write(m_queue.front());
            }
        });
    }

  protected:
    AsioLink(OnMessage onMessage, OnEnd onEnd)
        : m_onMessage(std::move(onMessage)), m_onEnd(std::move(onEnd))
    {}

    /// Begins to write a message, which stays valid until Written is called.
    virtual void Write(const std::string& text) = 0;

    /// Closes the connection, so that all pending operations complete. On the link's thread.
    virtual void Close() = 0;

    void Run()
    {
        m_thread = std::thread([this] { m_context.run(); });
    }

    void Stop()
    {
        boost::asio::post(m_context, [this] { Close(); });
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

    void Written(boost::system::error_code error)
    {
        m_queue.pop_front();
        if (!error && !m_queue.empty()) {
            Write(m_queue.front());
        }
    }

    const OnMessage m_onMessage;
    const OnEnd m_onEnd;
    boost::asio::io_context m_context{1};

  private:
    std::deque<std::string> m_queue;
    std::thread m_thread;
};

}  // namespace browser
