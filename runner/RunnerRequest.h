#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "basicslib/Exceptions.h"
#include "basicslib/TimeBudget.h"
#include "pipeutils/RemotePipeClient.h"
#include "runner/RunnerMessages.h"

namespace tvn
{

/// The result of a request that failed with `failure`: `sTimeout` when the service did not take the
/// request in time, otherwise `result`.
int ResultOfFailure(const PipeException& failure, int result) noexcept;

/// A connection to the runner service for one request. The connection is closed with the object.
/// Failures are thrown as exceptions of the PipeException family.
class RunnerRequest
{
  public:
    RunnerRequest();

    /// Connects in one attempt.
    void Open();

    /// Connects, trying again for up to `timeoutMs` milliseconds.
    void Open(DWORD timeoutMs);

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

    RemotePipeClient m_client;
    boost::shared_ptr<Handle> m_pipe;
};

}  // namespace tvn
