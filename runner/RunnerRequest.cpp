#include "runner/RunnerRequest.h"

#include "basicslib/Exceptions.h"
#include "basicslib/TimeBudget.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"
#include "runner/RunnerProtocol.h"

namespace tvn
{

int AskRunner(const boost::shared_ptr<BaseMsg>& request, const RequestTerms& terms,
              boost::shared_ptr<BaseMsg>& answer)
{
    for (const TimeBudget attempts(terms.time);;) {
        try {
            const TimeBudget budget(terms.time);
            RemotePipeClient service(RunnerPipeName());
            const auto pipe = service.OpenPipe(terms.openTime);
            RunnerProtocol protocol(pipe->Get(), nullptr);
            protocol.WriteMsg(request, nullptr, budget.Remaining());
            boost::shared_ptr<BaseMsg> received;
            protocol.ReadMsg(received, budget.Remaining());
            if (received->GetType() != request->GetType() + 1) {
                return sFail;
            }
            answer = received;
            return boost::static_pointer_cast<BaseCompleteMsg>(answer)->result;
        } catch (const WritePipeError& failure) {
            return failure.GetError() == WAIT_TIMEOUT ? sTimeout : terms.failure;
        } catch (const ReadPipeTimeout&) {
            return terms.lateAnswer;
        } catch (const PipeException& failure) {
            if (terms.busyPipe == BusyPipe::kFails || failure.GetError() != ERROR_PIPE_BUSY) {
                return terms.failure;
            }
        }
        if (attempts.Remaining() == 0) {
            return sTimeout;
        }
    }
}

}  // namespace tvn
