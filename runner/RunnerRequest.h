#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "basicslib/Exceptions.h"
#include "basicslib/TimeBudget.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"
#include "runner/RunnerMessages.h"

namespace tvn
{

/// The result of a request that failed with `failure`: `sTimeout` when the service did not take the
/// request in time, otherwise `result`.
int ResultOfFailure(const PipeException& failure, int result) noexcept;

/// A connection to the runner service for one request. It is opened in one attempt by `Exchange`,
/// unless `OpenPipe` has been called before, and closed with the object. Failures are thrown as
/// exceptions of the PipeException family.
class RunnerRequest : public RemotePipeClient
{
  public:
    RunnerRequest() : RemotePipeClient(RunnerPipeName()) {}

    /// Sends `request`. Returns the answer, or an empty pointer when the answer is not of the type
    /// that belongs to the request. Both together take up to `timeoutMs` milliseconds (INFINITE: no
    /// limit); when the request is taken at once, the answer gets all of them.
    template <class Reply>
    boost::shared_ptr<Reply> Exchange(const boost::shared_ptr<BaseMsg>& request, DWORD timeoutMs)
    {
        const boost::shared_ptr<BaseMsg> reply = ExchangeAny(request, timeoutMs);
        return reply->GetType() == request->GetType() + 1 ? boost::static_pointer_cast<Reply>(reply)
                                                          : boost::shared_ptr<Reply>();
    }

  private:
    boost::shared_ptr<BaseMsg> ExchangeAny(const boost::shared_ptr<BaseMsg>& request,
                                           DWORD timeoutMs);
};

/// Exchanges `request` for `reply` on a connection of its own. Returns the answer's result, or what
/// the failure of the exchange results in.
template <class Reply>
int Ask(const boost::shared_ptr<BaseMsg>& request, DWORD timeoutMs, boost::shared_ptr<Reply>& reply)
{
    try {
        reply = RunnerRequest().Exchange<Reply>(request, timeoutMs);
        return reply ? reply->result : sFail;
    } catch (const PipeException& exception) {
        return ResultOfFailure(exception, sFail);
    }
}

}  // namespace tvn
