#include "instance/InstanceCallback.h"

#include "basicslib/ComString.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/TimeBudget.h"
#include "pipeutils/CallbackProtocol.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"

namespace instance
{

void ReportToStarter(const std::wstring& pipeUuid, HWND window, DWORD timeout)
{
    const tvn::TimeBudget budget(timeout);
    tvn::RemotePipeClient client(tvn::CallbackPipeName(tvn::ToComString(pipeUuid)));
    const auto pipe = client.OpenPipe(budget.Remaining());
    tvn::CallbackProtocol(pipe->Get(), nullptr)
        .SendHwnd(tvn::WindowValue(window), budget.Remaining());
}

}  // namespace instance
