#include "runner/RunnerRequest.h"

#include "pipeutils/PipeNames.h"
#include "runner/RunnerProtocol.h"

namespace tvn
{

int ResultOfFailure(const PipeException& failure, int result) noexcept
{
    const bool notTaken = failure.GetError() == WAIT_TIMEOUT &&
                          dynamic_cast<const WritePipeError*>(&failure) != nullptr;
    return notTaken ? sTimeout : result;
}

RunnerRequest::RunnerRequest() : m_client(RunnerPipeName()) {}

void RunnerRequest::Open()
{
    m_pipe = m_client.OpenPipe();
}

void RunnerRequest::Open(DWORD timeoutMs)
{
    m_pipe = m_client.OpenPipe(timeoutMs);
}

boost::shared_ptr<BaseMsg> RunnerRequest::ExchangeAny(const boost::shared_ptr<BaseMsg>& request,
                                                      DWORD timeoutMs)
{
    const TimeBudget budget(timeoutMs);
    RunnerProtocol protocol(m_pipe->Get(), nullptr);
    protocol.WriteMsg(request, nullptr, timeoutMs);
    boost::shared_ptr<BaseMsg> reply;
    protocol.ReadMsg(reply, budget.Remaining());
    return reply;
}

}  // namespace tvn
