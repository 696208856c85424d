#include "browser/Link.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"
#include "browser/BrowserError.h"

namespace browser
{
namespace
{

constexpr DWORD kPiece = 64 * 1024;

/// The longest message that is read: a page that is drawn as a whole can be large.
constexpr std::size_t kLongestMessage = std::size_t{256} << 20;

}  // namespace

Link::Link(Pipes pipes, OnMessage onMessage, OnEnd onEnd)
    : m_pipes(std::move(pipes)),
      m_onMessage(std::move(onMessage)),
      m_onEnd(std::move(onEnd)),
      m_closing(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_write(m_pipes.toBrowser->Get())
{
    if (!m_closing.IsValid()) {
        throw BrowserError("The connection to the browser cannot be made (error " +
                           std::to_string(GetLastError()) + ").");
    }
    m_writer = std::thread([this] { WriteQueued(); });
    m_reader = std::thread([this] { Read(); });
}

Link::~Link()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isClosing = true;
        SetEvent(m_closing.Get());
        m_changed.notify_all();
    }
    m_writer.join();
    m_reader.join();
}

void Link::Send(std::string text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_queue.push_back(std::move(text));
    if (m_queue.size() == 1) {
        BeginWrites();
    }
}

/// Writes the queue as far as the browser takes it at once.
void Link::BeginWrites()
{
    while (!m_queue.empty()) {
        const std::string& text = m_queue.front();
        try {
            m_write.Write(text.c_str(), static_cast<DWORD>(text.size() + 1));
        } catch (const tvn::BaseException&) {
            tvn::LogError("A command is not run, because it cannot be queued");
        }
        if (m_write.IsPending()) {
            m_changed.notify_all();
            return;
        }
        m_queue.pop_front();  // also when it fails: the reading thread finds the end of the link
    }
}

void Link::WriteQueued()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isClosing || m_write.IsPending(); });
        lock.unlock();
        const bool hasEnded = EndsBeforeClose(m_write);
        lock.lock();
        if (!hasEnded) {
            m_write.Cancel();
            return;
        }
        m_write.Take();
        m_queue.pop_front();
        BeginWrites();
    }
}

bool Link::EndsBeforeClose(const tvn::PipeOperation& operation) const
{
    const HANDLE events[] = {m_closing.Get(), operation.GetEvent()};
    return WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0 + 1;
}

void Link::Read()
{
    std::string reason;
    try {
        reason = ReadToEnd();
    } catch (const tvn::BaseException& exception) {
        reason = static_cast<const char*>(exception.GetDescription());
    } catch (const std::exception& exception) {
        reason = exception.what();
    }
    m_onEnd(reason);
}

std::string Link::ReadToEnd()
{
    std::string text;
    std::vector<char> piece(kPiece);
    tvn::PipeOperation read(m_pipes.fromBrowser->Get());  // its end comes before that of the piece
    while (text.size() <= kLongestMessage) {
        tvn::PipeOperation::Outcome outcome = read.Read(piece.data(), kPiece);
        if (read.IsPending()) {
            if (!EndsBeforeClose(read)) {
                return "it was left";
            }
            outcome = read.Take();
        }
        if (!outcome.success || outcome.bytes == 0) {
            return "it has closed its pipe (error " + std::to_string(outcome.error) + ").";
        }
        std::size_t from = text.size();
        text.append(piece.data(), outcome.bytes);
        std::size_t start = 0;
        for (std::size_t end = 0; (end = text.find('\0', from)) != std::string::npos;) {
            m_onMessage(text.substr(start, end - start));
            start = from = end + 1;
        }
        text.erase(0, start);
    }
    return "it has sent a message that is too long.";
}

}  // namespace browser
