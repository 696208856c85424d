#include "standins/PipeListener.h"

#include <boost/make_shared.hpp>
#include <thread>
#include <utility>

namespace standins
{

PipeListener::PipeListener(std::string name, Session session)
    : m_name(std::move(name)), m_session(std::move(session))
{}

bool PipeListener::Start()
{
    auto first = NewEnd();
    if (!first->IsValid()) {
        return false;
    }
    std::thread([this, pipe = std::move(first)]() mutable { Listen(std::move(pipe)); }).detach();
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
            std::thread([this, client = std::move(pipe)] { m_session(client); }).detach();
        }
        pipe = std::move(spare);
        spare = NewEnd();
    }
}

}  // namespace standins
