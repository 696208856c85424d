#include "tests/scripted_peer.h"

#include <boost/make_shared.hpp>
#include <utility>

#include "pipeutils/RemotePipeClient.h"
#include "tests/moments.h"

namespace tvn::tests
{
namespace
{

constexpr DWORD kPatience = 5000;

boost::shared_ptr<Handle> NewEnd(const std::string& name)
{
    return boost::make_shared<Handle>(
        CreateNamedPipeA(name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                         PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
                         PIPE_UNLIMITED_INSTANCES, 1024, 1024, 0, nullptr));
}

}  // namespace

Bytes Words(std::initializer_list<std::uint32_t> words)
{
    const auto* first = reinterpret_cast<const unsigned char*>(words.begin());
    return {first, first + words.size() * 4};
}

void AppendField(Bytes& message, std::uint32_t number)
{
    for (int shift = 0; shift < 32; shift += 8) {
        message.push_back(static_cast<unsigned char>(number >> shift));
    }
}

void AppendField(Bytes& message, std::string_view text)
{
    AppendField(message, static_cast<std::uint32_t>(text.size() * 2));
    for (const char character : text) {
        message.insert(message.end(), {static_cast<unsigned char>(character), '\0'});
    }
}

void SetLength(Bytes& message)
{
    Bytes length;
    AppendField(length, static_cast<std::uint32_t>(message.size()));
    std::copy(length.begin(), length.end(), message.begin());
}

ScriptedPeer::ScriptedPeer(const std::string& name, Script script) : ScriptedPeer(NewEnd(name))
{
    m_name = name;
    m_connected = false;
    EXPECT_TRUE(m_end->IsValid()) << name;
    if (!script.empty()) {
        Perform(std::move(script));
    }
}

ScriptedPeer::ScriptedPeer(const boost::shared_ptr<Handle>& client)
    : m_end(client), m_connected(true), m_event(NewEvent()), m_done(NewEvent()), m_stop(NewEvent())
{}

ScriptedPeer::~ScriptedPeer()
{
    Join();
}

boost::shared_ptr<Handle> ScriptedPeer::Client() const
{
    return RemotePipeClient(m_name.c_str()).OpenPipe();
}

void ScriptedPeer::Perform(Script script)
{
    Join();
    ResetEvent(m_done->Get());
    ResetEvent(m_stop->Get());
    m_thread = std::thread([this, steps = std::move(script)] {
        for (const Step& step : steps) {
            Run(step, "step " + std::to_string(&step - steps.data() + 1) + " of the script");
        }
        SetEvent(m_done->Get());
    });
}

void ScriptedPeer::Join()
{
    if (m_thread.joinable()) {
        WaitForSingleObject(m_done->Get(), kPatience);
        SetEvent(m_stop->Get());
        m_thread.join();
    }
}

void ScriptedPeer::Run(const Step& step, const std::string& name)
{
    Bytes message;
    bool there = m_connected || NextClient();
    while (there && step.expected && !Read(message, INFINITE)) {
        there = NextClient();
    }
    if (!there) {
        ADD_FAILURE() << name << ": no client has come this far";
        return;
    }
    if (step.expected) {
        EXPECT_THAT(message, *step.expected) << name;
    }
    WaitForSingleObject(m_stop->Get(), step.delay);
    for (const Bytes& reply : step.replies) {
        Write(reply, step.patience);  // a client that has gone does not want it
    }
    if (step.closes) {
        m_end = std::exchange(m_spare, {});
        m_connected = false;
    }
}

bool ScriptedPeer::NextClient()
{
    if (m_connected) {
        m_end = std::exchange(m_spare, {});
    }
    DWORD bytes = 0;
    const auto connect = [this](OVERLAPPED* block) {
        return ConnectNamedPipe(m_end->Get(), block);
    };
    if (!m_end) {
        return false;
    }
    // A client may be there already, and may have gone already.
    m_connected = Complete(connect, INFINITE, bytes) || GetLastError() == ERROR_PIPE_CONNECTED ||
                  GetLastError() == ERROR_NO_DATA;
    if (m_connected) {
        m_spare = NewEnd(m_name);
    }
    return m_connected;
}

void ScriptedPeer::Send(const Bytes& bytes)
{
    EXPECT_TRUE(Write(bytes, kPatience)) << GetLastError();
}

Bytes ScriptedPeer::Receive()
{
    Bytes message;
    EXPECT_TRUE(Read(message, kPatience)) << GetLastError();
    return message;
}

bool ScriptedPeer::Read(Bytes& message, DWORD timeout)
{
    message.clear();
    Bytes part(0x10000);
    for (;;) {
        DWORD count = 0;
        const auto read = [&](OVERLAPPED* block) {
            return ReadFile(m_end->Get(), part.data(), static_cast<DWORD>(part.size()), nullptr,
                            block);
        };
        const bool whole = Complete(read, timeout, count);
        if (!whole && GetLastError() != ERROR_MORE_DATA) {
            return false;
        }
        message.insert(message.end(), part.begin(), part.begin() + count);
        if (whole) {
            return true;
        }
    }
}

bool ScriptedPeer::Write(const Bytes& message, DWORD timeout)
{
    DWORD count = 0;
    const auto write = [&](OVERLAPPED* block) {
        return WriteFile(m_end->Get(), message.data(), static_cast<DWORD>(message.size()), nullptr,
                         block);
    };
    return Complete(write, timeout, count);
}

template <class Start>
bool ScriptedPeer::Complete(Start start, DWORD timeout, DWORD& bytes)
{
    OVERLAPPED block = {};
    block.hEvent = m_event->Get();
    if (!start(&block)) {
        const DWORD error = GetLastError();
        if (error != ERROR_IO_PENDING && error != ERROR_MORE_DATA) {
            return false;
        }
        const HANDLE handles[] = {m_event->Get(), m_stop->Get()};
        if (error == ERROR_IO_PENDING &&
            WaitForMultipleObjects(2, handles, FALSE, timeout) != WAIT_OBJECT_0) {
            CancelIoEx(m_end->Get(), &block);
        }
    }
    return GetOverlappedResult(m_end->Get(), &block, &bytes, TRUE);
}

}  // namespace tvn::tests
