#include "instance/PipeListener.h"

#include <comdef.h>

#include <exception>
#include <new>
#include <utility>

#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"
#include "instance/RunApart.h"

namespace instance
{
namespace
{

constexpr DWORD kPause = 100;
constexpr std::size_t kEnds = 4;

}  // namespace

PipeListener::PipeListener(std::string name, PipeAccess access, Session session)
    : m_name(std::move(name)), m_access(access), m_session(std::move(session))
{}

bool PipeListener::Start()
{
    try {
        m_security.emplace(m_access);
    } catch (const tvn::Win32Exception& exception) {
        tvn::LogError("The accounts that may open %s cannot be listed 0x%08x", m_name.c_str(),
                      static_cast<unsigned int>(exception.GetError()));
        return false;
    }
    // Not every system that runs this honours FILE_FLAG_FIRST_PIPE_INSTANCE, so check for the name
    // too. Only the flag closes the race between this check and the creation of the first end.
    if (IsServed()) {
        return false;
    }
    auto first = NewEnd(End::kFirst);
    return first->IsValid() &&
           RunApart([this, ends = Ends{std::move(first)}]() mutable { Listen(std::move(ends)); });
}

/// Whether somebody serves the name; also true when this cannot be determined.
bool PipeListener::IsServed() const
{
    const DWORD error = WaitNamedPipeA(m_name.c_str(), 1) ? ERROR_SUCCESS : GetLastError();
    if (error == ERROR_FILE_NOT_FOUND) {
        return false;
    }
    if (error == ERROR_SUCCESS || error == ERROR_SEM_TIMEOUT || error == ERROR_PIPE_BUSY) {
        tvn::LogError("%s is served already", m_name.c_str());
    } else {
        tvn::LogError("WaitNamedPipe, %s failed 0x%08x", m_name.c_str(),
                      static_cast<unsigned int>(error));
    }
    return true;
}

boost::shared_ptr<tvn::Handle> PipeListener::NewEnd(End end)
{
    // Whoever creates the first end of a name decides who may create further ones, and receives
    // some of the clients. So fail if the pipe exists already: it is somebody else's.
    tvn::PipeEndOptions options;
    options.openMode = end == End::kFirst ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0;
    options.pipeMode = PIPE_REJECT_REMOTE_CLIENTS;
    options.security = m_security->Get();
    DWORD error = 0;
    auto pipe =
        boost::make_shared<tvn::Handle>([&] { return CreatePipe(m_name.c_str(), options, error); });
    if (!pipe->IsValid()) {
        tvn::LogError("CreateNamedPipe, %s failed 0x%08x", m_name.c_str(),
                      static_cast<unsigned int>(error));
    }
    return pipe;
}

void PipeListener::Listen(Ends ends)
{
    for (;;) {
        if (!ServeNext(ends)) {
            Sleep(kPause);
        }
    }
}

/// False when the system is short of resources for now.
bool PipeListener::ServeNext(Ends& ends)
{
    try {
        // A client can connect to an end that nobody waits on yet, but gives up when there is none.
        // Several may come the moment another is connected, so spare ends are kept.
        while (ends.size() < kEnds) {
            ends.push_back(NewEnd(End::kFurther));
        }
        const auto pipe = std::move(ends.front());
        ends.pop_front();
        DWORD error = 0;
        if (!pipe->IsValid()) {
            return false;
        }
        if (!ConnectPipe(pipe->Get(), INFINITE, nullptr, error)) {
            return error == ERROR_NO_DATA;  // its client has gone already
        }
        return RunApart([this, pipe] { Serve(pipe); });
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void PipeListener::Serve(const boost::shared_ptr<tvn::Handle>& pipe) const
{
    try {
        try {
            m_session(pipe);
        } catch (const tvn::BaseException& exception) {
            tvn::LogError("A client cannot be served. %s",
                          static_cast<const char*>(exception.GetDescription()));
        }
    } catch (const std::bad_alloc&) {
        tvn::LogError("A client cannot be served. There is no memory.");
    } catch (const _com_error&) {
        tvn::LogError("A client cannot be served. There is no memory.");
    } catch (const std::exception& error) {
        tvn::LogError("A client cannot be served. %s", error.what());
    }
}

}  // namespace instance
