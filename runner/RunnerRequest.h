#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>

#include "basicslib/StatusCode.h"
#include "runner/RunnerMessages.h"

namespace tvn
{

/// What becomes of a request when all ends of the service's pipe are busy.
enum BusyPipe { bpFails, bpIsTriedAgain };

/// How long a request may take, and what its failures result in.
struct RequestTerms
{
    DWORD time;          ///< milliseconds for all of it, INFINITE for no limit
    DWORD openTime = 0;  ///< how many of these attempts to open the pipe may take; 0: one attempt
    BusyPipe busyPipe = bpFails;  ///< tried again at once, until the time is over: `sTimeout`
    int lateAnswer = sFail;       ///< the result when the answer does not come in time
    int failure = sFail;          ///< the result of any other failure
};

/// Sends `request` to the runner service over a connection of its own, which is closed with the
/// answer. Returns the answer's result; `sTimeout` when the service does not take the request in
/// time; `sFail` when the answer is not of the type that belongs to the request; or what `terms`
/// say. `answer` is then empty. Throws only what is not a pipe failure.
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
