#include "instance/RunInstance.h"

#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"
#include "instance/CommandService.h"
#include "instance/InstanceCallback.h"
#include "instance/RunApart.h"

namespace instance
{
namespace
{

constexpr DWORD kCallbackTime = 10000;
constexpr DWORD kCreatorTime = 60000;

/// False when whoever started this instance is no longer there.
bool ReportsToStarter(const InstanceArguments& arguments, const InstanceWindow& window)
{
    try {
        if (!arguments.pipeUuid.empty()) {
            ReportToStarter(arguments.pipeUuid, window.Get(), kCallbackTime);
        }
        return true;
    } catch (const tvn::BaseException&) {
        return false;
    }
}

/// Ends the instance if its creator does not attach in time: nobody else may attach before that.
void EndWithoutCreator(const CommandService& service, const InstanceWindow& window)
{
    RunApart([&] {
        Sleep(kCreatorTime);
        if (service.IsReserved()) {
            tvn::LogError("The instance ends because its creator has not attached");
            window.PostClose();
        }
    });
}

}  // namespace

void RunInstance(const InstanceArguments& arguments, const InstanceWindow& window,
                 ICommands& commands) noexcept
{
    CommandService service(window.Get(), arguments, commands);
    const bool runs = service.Start() && ReportsToStarter(arguments, window);
    if (runs) {
        if (!arguments.pipeUuid.empty()) {
            EndWithoutCreator(service, window);
        }
        InstanceWindow::Run();
    }
    commands.Close();
    ExitProcess(runs ? 0 : 1);
}

}  // namespace instance
