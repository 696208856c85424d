// Talvern's own browser: an instance that plays macros in Edge, Chrome or Chromium.

#include <windows.h>

#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"
#include "browser/Options.h"
#include "browser/OwnBrowser.h"
#include "instance/CommandService.h"
#include "instance/InstanceArguments.h"
#include "instance/InstanceCallback.h"
#include "instance/InstanceWindow.h"
#include "instance/RunApart.h"

namespace
{

constexpr DWORD kCallbackTime = 10000;
constexpr DWORD kCreatorTime = 60000;

/// False when whoever started this instance is no longer there.
bool ReportsToStarter(const instance::InstanceArguments& arguments,
                      const instance::InstanceWindow& window)
{
    try {
        if (!arguments.pipeUuid.empty()) {
            instance::ReportToStarter(arguments.pipeUuid, window.Get(), kCallbackTime);
        }
        return true;
    } catch (const tvn::BaseException&) {
        return false;
    }
}

/// Nobody else may attach to an instance whose creator has not come, so without him it ends.
void EndWithoutCreator(const instance::CommandService& service,
                       const instance::InstanceWindow& window)
{
    instance::RunApart([&] {
        Sleep(kCreatorTime);
        if (service.IsReserved()) {
            tvn::LogError("The instance ends because its creator has not attached");
            window.PostClose();
        }
    });
}

void Serve(const instance::InstanceArguments& arguments)
{
    const instance::InstanceWindow window(&instance::InstanceWindow::Quit);
    browser::OwnBrowser own(window, browser::ReadOptions());
    own.Start(!arguments.creatorUuid.empty());
    instance::CommandService service(window.Get(), arguments, own);
    if (!service.Start() || !ReportsToStarter(arguments, window)) {
        own.Close();
        ExitProcess(1);
    }
    if (!arguments.pipeUuid.empty()) {
        EndWithoutCreator(service, window);
    }
    instance::InstanceWindow::Run();
    own.Close();
    ExitProcess(0);  // the threads that wait for commands end with the process
}

}  // namespace

int WINAPI WinMain(HINSTANCE /*module*/, HINSTANCE /*previous*/, LPSTR /*arguments*/, int /*show*/)
{
    try {
        Serve(instance::InstanceArguments(GetCommandLineW()));
    } catch (const tvn::BaseException& exception) {
        tvn::LogError("The instance ends. %s",
                      static_cast<const char*>(exception.GetDescription()));
    }
    return 1;
}
