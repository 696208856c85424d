#include "tests/byte_peer.h"

#include <boost/make_shared.hpp>
#include <stdexcept>

namespace tvn::tests
{

BytePeer::BytePeer(const std::string& name, HANDLE stop, DWORD bufferSize)
    : BytePeer(boost::make_shared<Handle>(
                   CreateNamedPipeA(name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                    PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
                                    PIPE_UNLIMITED_INSTANCES, bufferSize, bufferSize, 0, nullptr)),
               stop)
{}

BytePeer::BytePeer(boost::shared_ptr<Handle> end, HANDLE stop)
    : m_end(std::move(end)),
      m_event(boost::make_shared<Handle>(CreateEventA(nullptr, TRUE, FALSE, nullptr))),
      m_stop(stop)
{}

boost::shared_ptr<Handle> BytePeer::Open(const std::string& name, DWORD timeout)
{
    for (const DWORD start = GetTickCount();; Sleep(5)) {
        auto end = boost::make_shared<Handle>(
            CreateFileA(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                        FILE_FLAG_OVERLAPPED, nullptr));
        DWORD mode = PIPE_READMODE_MESSAGE;
        if (SetNamedPipeHandleState(end->Get(), &mode, nullptr, nullptr) ||
            GetTickCount() - start >= timeout) {
            return end;
        }
    }
}

bool BytePeer::Connect(DWORD timeout)
{
    DWORD bytes = 0;
    const auto connect = [this](OVERLAPPED* block) {
        return ConnectNamedPipe(m_end->Get(), block);
    };
    const DWORD error = Complete(connect, timeout, bytes);
    // A client may be there already, and may have gone already.
    return error == ERROR_SUCCESS || error == ERROR_PIPE_CONNECTED || error == ERROR_NO_DATA;
}

bool BytePeer::Read(Bytes& message, DWORD timeout)
{
    std::size_t used = 0;
    message.resize(4096);
    for (;;) {
        DWORD count = 0;
        const DWORD error = ReadInto(message.data() + used, message.size() - used, timeout, count);
        if (error != ERROR_MORE_DATA) {
            message.resize(used + count);
            return error == ERROR_SUCCESS;
        }
        used = message.size();
        message.resize(used * 2);
    }
}

bool BytePeer::ReadPart(std::size_t count)
{
    Bytes part(count);
    DWORD got = 0;
    const DWORD error = ReadInto(part.data(), part.size(), INFINITE, got);
    return error == ERROR_SUCCESS || error == ERROR_MORE_DATA;
}

bool BytePeer::Write(const Bytes& message, DWORD timeout)
{
    DWORD count = 0;
    const auto write = [&](OVERLAPPED* block) {
        return WriteFile(m_end->Get(), message.data(), static_cast<DWORD>(message.size()), nullptr,
                         block);
    };
    return Complete(write, timeout, count) == ERROR_SUCCESS && count == message.size();
}

void BytePeer::Hold()
{
    // The end of a pipe cannot be awaited without reading from it.
    for (DWORD there = 0; PeekNamedPipe(m_end->Get(), nullptr, 0, nullptr, &there, nullptr);) {
        if (WaitForSingleObject(m_stop, 5) == WAIT_OBJECT_0) {
            return;
        }
    }
}

void BytePeer::Drain()
{
    while (ReadPart(4096)) {
    }
}

DWORD BytePeer::ReadInto(unsigned char* bytes, std::size_t size, DWORD timeout, DWORD& count)
{
    const auto read = [&](OVERLAPPED* block) {
        return ReadFile(m_end->Get(), bytes, static_cast<DWORD>(size), nullptr, block);
    };
    return Complete(read, timeout, count);
}

/// Starts an operation and awaits its end; its error.
template <class Start>
DWORD BytePeer::Complete(Start start, DWORD timeout, DWORD& bytes)
{
    OVERLAPPED block = {};
    block.hEvent = m_event->Get();
    if (!start(&block)) {
        const DWORD error = GetLastError();
        if (error == ERROR_IO_PENDING) {
            const HANDLE handles[] = {m_event->Get(), m_stop};
            if (WaitForMultipleObjects(m_stop == nullptr ? 1 : 2, handles, FALSE, timeout) !=
                WAIT_OBJECT_0) {
                CancelIoEx(m_end->Get(), &block);
            }
        } else if (error != ERROR_MORE_DATA) {
            return error;  // nothing was begun
        }
    }
    return GetOverlappedResult(m_end->Get(), &block, &bytes, TRUE) ? ERROR_SUCCESS : GetLastError();
}

PeerHost::PeerHost(std::string name, std::size_t ends, Session session)
    : m_name(std::move(name)),
      m_session(std::move(session)),
      m_stop(CreateEventA(nullptr, TRUE, FALSE, nullptr))
{
    for (; ends > 0; --ends) {
        BytePeer end(m_name, m_stop.Get());
        if (!end.IsValid()) {
            throw std::runtime_error("the pipe " + m_name + " cannot be made");
        }
        m_threads.emplace_back([this, end]() mutable { Serve(std::move(end)); });
    }
}

void PeerHost::Serve(BytePeer end)
{
    while (WaitForSingleObject(m_stop.Get(), 0) == WAIT_TIMEOUT) {
        if (end.Connect()) {
            m_session(end);
        }
        // Closed, not disconnected, so that what was written last can still be read; and only when
        // the next end is there, so that the pipe always exists.
        BytePeer next(m_name, m_stop.Get());
        end = std::move(next);
    }
}

}  // namespace tvn::tests
