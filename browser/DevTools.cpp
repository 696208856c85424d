#include "browser/DevTools.h"

#include <chrono>
#include <utility>

#include "basicslib/Log.h"
#include "browser/BrowserError.h"

namespace browser
{
namespace
{

/// Texts of web pages may hold unpaired surrogates, which JSON does not allow.
std::string WithoutHalfCharacters(std::string text)
{
    const auto unitAt = [&](std::size_t at) -> unsigned long {
        const bool escape = at + 6 <= text.size() && text[at] == '\\' && text[at + 1] == 'u';
        return escape ? std::strtoul(text.substr(at + 2, 4).c_str(), nullptr, 16) : 0;
    };
    for (std::size_t at = 0; (at = text.find('\\', at)) != std::string::npos;) {
        const unsigned long unit = unitAt(at);
        const bool isFirst = unit >= 0xD800 && unit < 0xDC00;
        const unsigned long next = isFirst ? unitAt(at + 6) : 0;
        if (next >= 0xDC00 && next < 0xE000) {
            at += 12;
        } else if (unit >= 0xD800 && unit < 0xE000) {
            text.replace(at, 6, "\\ufffd");
            at += 6;
        } else {
            at += 2;
        }
    }
    return text;
}

Json Parse(const std::string& text)
{
    Json message = Json::parse(text, nullptr, false);
    return message.is_discarded() ? Json::parse(WithoutHalfCharacters(text), nullptr, false)
                                  : message;
}

}  // namespace

DevTools::DevTools(OnEvent onEvent, OnEnd onEnd)
    : m_onEvent(std::move(onEvent)), m_onEnd(std::move(onEnd))
{}

void DevTools::Connect(const Pipes& pipes)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_link = std::make_unique<Link>(
        pipes, [this](const std::string& text) { Receive(text); },
        [this](const std::string& reason) {
            EndCalls(nullptr, "The browser has gone: " + reason);
            m_onEnd();
        });
}

Json DevTools::Call(const std::string& session, const std::string& method, const Json& parameters,
                    DWORD timeout)
{
    const auto call = std::make_shared<Pending>(session);
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_link || m_ended) {
        throw BrowserError("The browser has gone.");
    }
    const int id = ++m_lastId;
    m_pending[id] = call;
    m_link->Send(NewCommand(id, session, method, parameters));
    const auto answered = [&] {
        return call->answered;
    };
    if (timeout == INFINITE) {
        m_answered.wait(lock, answered);
    } else if (!m_answered.wait_for(lock, std::chrono::milliseconds(timeout), answered)) {
        m_pending.erase(id);
        throw BrowserError("The browser does not answer to " + method + ".");
    }
    const Json& answer = call->answer;
    if (answer.contains("gone")) {
        throw BrowserError(answer["gone"].get<std::string>());
    }
    if (answer.contains("ended")) {
        throw SessionEnded(answer["ended"].get<std::string>());
    }
    if (answer.contains("error")) {
        throw CommandError(method + ": " + answer["error"].value("message", "refused"));
    }
    return answer.value("result", Json::object());
}

void DevTools::Post(const std::string& session, const std::string& method, const Json& parameters)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_link && !m_ended) {
        m_link->Send(NewCommand(++m_lastId, session, method, parameters));
    }
}

std::string DevTools::NewCommand(int id, const std::string& session, const std::string& method,
                                 const Json& parameters)
{
    Json command = {{"id", id}, {"method", method}};
    if (!session.empty()) {
        command["sessionId"] = session;
    }
    if (!parameters.is_null()) {
        command["params"] = parameters;
    }
    return command.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void DevTools::Receive(const std::string& text)
{
    try {
        Take(Parse(text));
    } catch (const Json::exception& error) {
        tvn::LogError("The browser has sent a message that cannot be read (%u bytes): %s",
                      static_cast<unsigned int>(text.size()), error.what());
    }
}

void DevTools::Take(const Json& message)
{
    if (message.contains("id")) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_pending.find(message["id"].get<int>());
        if (found != m_pending.end()) {
            found->second->answered = true;
            found->second->answer = message;
            m_pending.erase(found);
            m_answered.notify_all();
        }
        return;
    }
    const std::string method = message.value("method", "");
    if (method == "Target.detachedFromTarget") {
        const std::string session = message["params"].value("sessionId", "");
        EndCalls(&session, "The page has gone.");
    } else if (method == "Inspector.targetCrashed") {
        const std::string session = message.value("sessionId", "");
        EndCalls(&session, "The page has crashed.");
    }
    m_onEvent(message);
}

void DevTools::EndCalls(const std::string* session, const std::string& reason)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_ended = m_ended || session == nullptr;
    for (auto at = m_pending.begin(); at != m_pending.end();) {
        Pending& call = *at->second;
        if (session != nullptr && call.session != *session) {
            ++at;
            continue;
        }
        call.answered = true;
        call.answer = {{session == nullptr ? "gone" : "ended", reason}};
        at = m_pending.erase(at);
    }
    m_answered.notify_all();
}

}  // namespace browser
