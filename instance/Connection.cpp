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
    : m_pipe(std::move(pipe)), m_closing(boost::make_shared<tvn::Handle>([] {
          return CreateEventA(nullptr, TRUE, FALSE, nullptr);
      }))
{
    if (!m_closing->IsValid()) {
        throw tvn::Win32Exception(GetLastError(), __FILE__, __LINE__);
    }
}

bool Connection::Start()
{
    return RunApart([self = shared_from_this()] { self->WriteQueued(); });
}

void Connection::Reply(unsigned int id, int status, const std::wstring& text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_closed) {
        m_queue.emplace_back([id, status, text](tvn::CommandsProtocol& protocol) {
            protocol.SendReply(id, status, text, kReplyTime);
        });
        m_changed.notify_all();
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
    m_changed.wait_for(lock, std::chrono::milliseconds(timeout),
                       [this] { return m_closed || (m_queue.empty() && !m_writing); });
}

void Connection::Close()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_closed = true;
    m_queue.clear();
    SetEvent(m_closing->Get());
    m_changed.notify_all();
}

void Connection::WriteQueued()
{
    tvn::CommandsProtocol protocol(Pipe(), Closing());
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_closed || !m_queue.empty(); });
        if (m_closed) {
            return;
        }
        const Write write = std::move(m_queue.front());
        m_queue.pop_front();
        m_writing = true;
        lock.unlock();
        try {
            write(protocol);
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
