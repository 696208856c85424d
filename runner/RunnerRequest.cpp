#include "runner/RunnerRequest.h"

#include "runner/RunnerProtocol.h"

namespace tvn
{

int ResultOfFailure(const PipeException& failure, int result) noexcept
{
    const bool notTaken = failure.GetError() == WAIT_TIMEOUT &&
                          dynamic_cast<const WritePipeError*>(&failure) != nullptr;
    return notTaken ? sTimeout : result;
}

boost::shared_ptr<BaseMsg> RunnerRequest::ExchangeAny(const boost::shared_ptr<BaseMsg>& request,
                                                      DWORD timeoutMs)
{
    RunnerProtocol protocol(OpenPipe()->Get(), nullptr);
    const TimeBudget budget(timeoutMs);
    protocol.WriteMsg(request, nullptr, timeoutMs);
    boost::shared_ptr<BaseMsg> reply;
    protocol.ReadMsg(reply, budget.Remaining());
    return reply;
}

}  // namespace tvn
