#pragma once

#include <windows.h>

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "browser/Link.h"

namespace browser
{

using Json = nlohmann::json;

/// A client of a browser's DevTools protocol: one connection for the whole browser, with flat
/// sessions on it. A table holds the pending calls by their ids; the end of a session or of the
/// connection fails each of those that belong to it. Used by several threads.
class DevTools
{
  public:
    /// Called with each event, on the connection's thread: it must not wait for an answer.
    using OnEvent = std::function<void(const Json& event)>;
    using OnEnd = std::function<void()>;

    /// `onEnd` is called, on the connection's thread, when the browser goes away.
    DevTools(OnEvent onEvent, OnEnd onEnd);

    /// Connects, once. Throws what a Link throws.
    void Connect(const Pipes& pipes);

    /// Sends a command and waits up to `timeout` milliseconds (INFINITE: no limit) for its result.
    /// An empty session is the browser itself. Throws CommandError when the browser refuses,
    /// SessionEnded when its session ends, BrowserError when the connection ends or it times out.
    /// Not to be called on the connection's thread.
    Json Call(const std::string& session, const std::string& method, const Json& parameters = {},
              DWORD timeout = kAnswerTime);

    /// Sends a command whose answer is ignored; from any thread.
    void Post(const std::string& session, const std::string& method, const Json& parameters = {});

    /// Time-out, in milliseconds, of commands that a browser carries out at once.
    static constexpr DWORD kAnswerTime = 10000;

  private:
    struct Pending
    {
        explicit Pending(std::string ofSession) : session(std::move(ofSession)) {}

        std::string session;
        bool answered = false;
        Json answer;
    };

    std::string NewCommand(int id, const std::string& session, const std::string& method,
                           const Json& parameters);
    void Receive(const std::string& text);
    void Take(const Json& message);
    void EndCalls(const std::string* session, const std::string& reason);

    OnEvent m_onEvent;
    OnEnd m_onEnd;
    std::mutex m_mutex;
    std::condition_variable m_answered;
    int m_lastId = 0;
    bool m_ended = false;
    std::map<int, std::shared_ptr<Pending>> m_pending;
    std::unique_ptr<Link> m_link;  // its thread uses all of the above
};

}  // namespace browser
