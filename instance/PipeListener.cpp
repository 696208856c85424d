#include "instance/PipeListener.h"

#include <deque>
#include <utility>

#include "basicslib/Log.h"
#include "instance/RunApart.h"

namespace instance
{
namespace
{

constexpr DWORD kBufferSize = 1024;
constexpr DWORD kDefaultTimeout = 5000;
constexpr DWORD kPause = 100;
constexpr std::size_t kEnds = 4;

}  // namespace

PipeListener::PipeListener(std::string name, PipeAccess access, Session session)
    : m_name(std::move(name)), m_access(access), m_session(std::move(session))
{}

bool PipeListener::Start()
{
    // Not every system that runs this heeds the flag of the first end, so the name is looked for
    // too; between this look and the end, only the flag helps.
    if (WaitNamedPipeA(m_name.c_str(), 1) || GetLastError() != ERROR_FILE_NOT_FOUND) {
        tvn::LogError("%s is served already", m_name.c_str());
        return false;
    }
    auto first = NewEnd(End::kFirst);
    if (!first->IsValid()) {
        return false;
    }
    return RunApart([this, pipe = std::move(first)]() mutable { Listen(std::move(pipe)); });
}

boost::shared_ptr<tvn::Handle> PipeListener::NewEnd(End end) const
{
    // Whoever makes the first end of a name decides who may make further ones and gets its share of
    // the clients: a pipe that is there already is somebody else's.
    const DWORD first = end == End::kFirst ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0;
    SECURITY_DESCRIPTOR everyone;
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, &everyone, FALSE};
    SECURITY_ATTRIBUTES* security = nullptr;
    if (m_access == PipeAccess::kEveryone) {
        if (!InitializeSecurityDescriptor(&everyone, SECURITY_DESCRIPTOR_REVISION) ||
            !SetSecurityDescriptorDacl(&everyone, TRUE, nullptr, FALSE)) {
            return tvn::ShareHandle(INVALID_HANDLE_VALUE);
        }
        security = &attributes;
    }
    HANDLE pipe = CreateNamedPipeA(
        m_name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | first,
        PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS,
        PIPE_UNLIMITED_INSTANCES, kBufferSize, kBufferSize, kDefaultTimeout, security);
    if (!tvn::Handle::IsValid(pipe)) {
        tvn::LogError("CreateNamedPipe, %s failed 0x%08x", m_name.c_str(),
                      static_cast<unsigned int>(GetLastError()));
    }
    return tvn::ShareHandle(pipe);
}

void PipeListener::Listen(boost::shared_ptr<tvn::Handle> first) const
{
    // A client finds an end that nobody waits on yet, but one that comes when there is none goes
    // away: several may come the moment another is connected.
    std::deque<boost::shared_ptr<tvn::Handle>> ends = {std::move(first)};
    for (;;) {
        while (ends.size() < kEnds) {
            ends.push_back(NewEnd(End::kFurther));
        }
        const auto pipe = std::move(ends.front());
        ends.pop_front();
        DWORD error = 0;
        if (!pipe->IsValid()) {
            Sleep(kPause);  // the system has none to give at present
        } else if (ConnectPipe(pipe->Get(), INFINITE, nullptr, error)) {
            RunApart([this, pipe] { m_session(pipe); });
        }
    }
}

}  // namespace instance
