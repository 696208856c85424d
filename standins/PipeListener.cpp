#include "standins/PipeListener.h"

#include <boost/make_shared.hpp>
#include <memory>
#include <utility>

namespace standins
{
namespace
{

using Work = std::function<void()>;

DWORD WINAPI RunWork(void* parameter)
{
    const std::unique_ptr<Work> work(static_cast<Work*>(parameter));
    (*work)();
    return 0;
}

/// A thread that nobody waits for. The runtime's own detached threads can be gone before they are
/// detached, which it does not bear under load.
void RunApart(Work work)
{
    auto owned = std::make_unique<Work>(std::move(work));
    const tvn::Handle thread(CreateThread(nullptr, 0, &RunWork, owned.get(), 0, nullptr));
    if (thread.IsValid()) {
        static_cast<void>(owned.release());  // the thread's now
    }
}

}  // namespace

PipeListener::PipeListener(std::string name, Session session)
    : m_name(std::move(name)), m_session(std::move(session))
{}

bool PipeListener::Start()
{
    auto first = NewEnd();
    if (!first->IsValid()) {
        return false;
    }
    RunApart([this, pipe = std::move(first)]() mutable { Listen(std::move(pipe)); });
    return true;
}

boost::shared_ptr<tvn::Handle> PipeListener::NewEnd() const
{
    DWORD error = 0;
    return boost::make_shared<tvn::Handle>(CreatePipe(m_name.c_str(), TRUE, error));
}

void PipeListener::Listen(boost::shared_ptr<tvn::Handle> pipe) const
{
    // One end more than there are clients: one of them may come the moment another is connected.
    auto spare = NewEnd();
    while (pipe->IsValid()) {
        DWORD error = 0;
        if (ConnectPipe(pipe->Get(), INFINITE, nullptr, error)) {
            RunApart([this, client = std::move(pipe)] { m_session(client); });
        }
        pipe = std::move(spare);
        spare = NewEnd();
    }
}

}  // namespace standins
