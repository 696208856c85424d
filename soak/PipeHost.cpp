#include "soak/PipeHost.h"

#include <boost/make_shared.hpp>
#include <stdexcept>

namespace soak
{
namespace
{

constexpr DWORD kBufferSize = 1024;

HANDLE NewEvent()
{
    return CreateEventA(nullptr, TRUE, FALSE, nullptr);
}

}  // namespace

PipeLink::PipeLink(HANDLE pipe, HANDLE stop) : m_pipe(pipe), m_stop(stop), m_event(NewEvent()) {}

DWORD PipeLink::Finish(BOOL done, OVERLAPPED& block, DWORD& count)
{
    if (!done && GetLastError() == ERROR_IO_PENDING) {
        const HANDLE handles[] = {m_event.Get(), m_stop};
        if (WaitForMultipleObjects(m_stop == nullptr ? 1 : 2, handles, FALSE, INFINITE) !=
            WAIT_OBJECT_0) {
            CancelIo(m_pipe);
        }
    } else if (!done && GetLastError() != ERROR_MORE_DATA) {
        return GetLastError();  // nothing was begun
    }
    return GetOverlappedResult(m_pipe, &block, &count, TRUE) ? ERROR_SUCCESS : GetLastError();
}

DWORD PipeLink::ReadInto(unsigned char* bytes, std::size_t size, DWORD& count)
{
    OVERLAPPED block = {};
    block.hEvent = m_event.Get();
    const BOOL done = ReadFile(m_pipe, bytes, static_cast<DWORD>(size), nullptr, &block);
    return Finish(done, block, count);
}

bool PipeLink::Read(Bytes& message)
{
    std::size_t used = 0;
    message.resize(4096);
    for (;;) {
        DWORD count = 0;
        const DWORD error = ReadInto(message.data() + used, message.size() - used, count);
        if (error != ERROR_MORE_DATA) {
            message.resize(used + count);
            return error == ERROR_SUCCESS;
        }
        used = message.size();
        message.resize(used * 2);
    }
}

bool PipeLink::ReadPart(std::size_t bytes)
{
    Bytes part(bytes);
    DWORD got = 0;
    const DWORD error = ReadInto(part.data(), part.size(), got);
    return error == ERROR_SUCCESS || error == ERROR_MORE_DATA;
}

bool PipeLink::Write(const Bytes& message)
{
    OVERLAPPED block = {};
    block.hEvent = m_event.Get();
    DWORD count = 0;
    const BOOL done =
        WriteFile(m_pipe, message.data(), static_cast<DWORD>(message.size()), nullptr, &block);
    return Finish(done, block, count) == ERROR_SUCCESS && count == message.size();
}

void PipeLink::AwaitClose()
{
    while (ReadPart(1)) {
    }
}

void PipeLink::Hang()
{
    // The end of a pipe cannot be waited for without reading from it.
    while (WaitForSingleObject(m_stop, 5) == WAIT_TIMEOUT) {
        DWORD there = 0;
        if (!PeekNamedPipe(m_pipe, nullptr, 0, nullptr, &there, nullptr)) {
            return;
        }
    }
}

bool PipeLink::Connect()
{
    OVERLAPPED block = {};
    block.hEvent = m_event.Get();
    if (ConnectNamedPipe(m_pipe, &block)) {
        return true;
    }
    if (GetLastError() == ERROR_PIPE_CONNECTED || GetLastError() == ERROR_NO_DATA) {
        return true;
    }
    DWORD count = 0;
    return Finish(FALSE, block, count) == ERROR_SUCCESS;
}

PipeHost::PipeHost(std::string name, std::size_t ends, Session session)
    : m_name(std::move(name)), m_session(std::move(session)), m_stop(NewEvent())
{
    for (; ends > 0; --ends) {
        auto end = NewEnd();
        if (!end->IsValid()) {
            throw std::runtime_error("the pipe " + m_name + " cannot be made");
        }
        m_threads.emplace_back([this, end = std::move(end)]() mutable { Serve(std::move(end)); });
    }
}

PipeHost::~PipeHost()
{
    SetEvent(m_stop.Get());
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

boost::shared_ptr<tvn::Handle> PipeHost::NewEnd() const
{
    return boost::make_shared<tvn::Handle>(
        CreateNamedPipeA(m_name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                         PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
                         PIPE_UNLIMITED_INSTANCES, kBufferSize, kBufferSize, 0, nullptr));
}

void PipeHost::Serve(boost::shared_ptr<tvn::Handle> end)
{
    while (WaitForSingleObject(m_stop.Get(), 0) == WAIT_TIMEOUT) {
        PipeLink link(end->Get(), m_stop.Get());
        if (link.Connect()) {
            m_session(link);
        }
        // Closed, not disconnected, so that what was written last can still be read; and the next
        // end is there before.
        auto next = NewEnd();
        end.swap(next);
    }
}

boost::shared_ptr<tvn::Handle> OpenClientEnd(const std::string& name, DWORD milliseconds)
{
    const DWORD start = GetTickCount();
    for (;;) {
        auto end = boost::make_shared<tvn::Handle>(
            CreateFileA(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                        FILE_FLAG_OVERLAPPED, nullptr));
        if (end->IsValid()) {
            DWORD mode = PIPE_READMODE_MESSAGE;
            SetNamedPipeHandleState(end->Get(), &mode, nullptr, nullptr);
            return end;
        }
        if (GetTickCount() - start > milliseconds) {
            return end;
        }
        Sleep(5);
    }
}

}  // namespace soak
