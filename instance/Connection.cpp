#include "instance/Connection.h"

#include <chrono>
#include <new>
#include <utility>

#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"
#include "instance/RunApart.h"

namespace instance
{
namespace
{

constexpr DWORD kReplyTime = 10000;
constexpr std::size_t kMostQueued = 64;

}  // namespace

Connection::Connection(boost::shared_ptr<tvn::Handle> pipe)
    : m_pipe(std::move(pipe)),
      m_closing(boost::make_shared<tvn::Handle>(
          [] { return CreateEventA(nullptr, TRUE, FALSE, nullptr); })),
      m_protocol(Pipe(), Closing())
{
    if (!m_closing->IsValid()) {
        throw tvn::Win32Exception(GetLastError(), __FILE__, __LINE__);
    }
}

bool Connection::Start()
{
    return RunApart([self = shared_from_this()] { self->RunWriter(); });
}

void Connection::Reply(unsigned int id, int status, const std::wstring& text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Queue(id, status, text);
    m_changed.notify_all();
}

void Connection::ReplyAndWait(unsigned int id, int status, const std::wstring& text)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    Queue(id, status, text);
    WriteQueue(lock);
    m_changed.wait_for(lock, std::chrono::milliseconds(kReplyTime), [this] { return IsIdle(); });
}

void Connection::Queue(unsigned int id, int status, const std::wstring& text)
{
    if (!m_closed) {
        m_queue.push_back({id, status, text});
    }
}

bool Connection::WaitForRoom()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_closed || m_queue.size() < kMostQueued; });
    return !m_closed;
}

void Connection::Flush(DWORD timeout)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, std::chrono::milliseconds(timeout), [this] { return IsIdle(); });
}

void Connection::Close()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_closed = true;
    m_queue.clear();
    SetEvent(m_closing->Get());
    m_changed.notify_all();
}

void Connection::RunWriter()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_closed) {
        WriteQueue(lock);
        m_changed.wait(lock, [this] { return m_closed || (!m_queue.empty() && !m_writing); });
    }
}

void Connection::WriteQueue(std::unique_lock<std::mutex>& lock)
{
    while (!m_writing && !m_queue.empty()) {
        const Unwritten reply = std::move(m_queue.front());
        m_queue.pop_front();
        m_writing = true;
        lock.unlock();
        try {
            m_protocol.SendReply(reply.id, reply.status, reply.text, kReplyTime);
        } catch (const tvn::BaseException& exception) {
            tvn::LogDebug("A reply was not taken. %s",
                          static_cast<const char*>(exception.GetDescription()));
        } catch (const std::bad_alloc&) {
            tvn::LogError("A reply does not fit into memory.");
            Close();
        }
        lock.lock();
        m_writing = false;
        m_changed.notify_all();
    }
}

}  // namespace instance
