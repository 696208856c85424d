#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "basicslib/StatusCode.h"
#include "runner/RunnerMessages.h"

namespace tvn
{

/// What happens to a request when all instances of the service's pipe are busy.
enum class BusyPipe { kFails, kIsTriedAgain };

/// How long a request may take, and the status for each kind of failure.
struct RequestTerms
{
    DWORD time;              ///< milliseconds for all of it, INFINITE for no limit
    DWORD openTime = 0;      ///< how much of it opening the pipe may take; 0: one attempt
    int lateAnswer = sFail;  ///< the result when the answer does not come in time
    int failure = sFail;     ///< the result of any other failure

    /// When it is retried: at once, until the time-out (`sTimeout`).
    BusyPipe busyPipe = BusyPipe::kFails;
};

/// Sends `request` to the runner service over a connection of its own, which is closed on return.
/// Returns the answer's result. Failures return `sTimeout` when writing the request times out,
/// `sFail` when the type of the answer does not match the request, or else what `terms` say;
/// `answer` then stays empty. Throws only what is not a pipe failure.
int AskRunner(const boost::shared_ptr<BaseMsg>& request, const RequestTerms& terms,
              boost::shared_ptr<BaseMsg>& answer);

/// The same with the answer as an object of its own class.
template <class Answer>
int Ask(const boost::shared_ptr<BaseMsg>& request, const RequestTerms& terms,
        boost::shared_ptr<Answer>& answer)
{
    boost::shared_ptr<BaseMsg> any;
    const int result = AskRunner(request, terms, any);
    answer = boost::static_pointer_cast<Answer>(any);
    return result;
}

}  // namespace tvn
