// Talvern's own browser: an instance that plays macros in Edge, Chrome or Chromium.

#include <windows.h>

#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"
#include "browser/Options.h"
#include "browser/OwnBrowser.h"
#include "instance/InstanceArguments.h"
#include "instance/InstanceWindow.h"
#include "instance/RunInstance.h"

int WINAPI WinMain(HINSTANCE /*module*/, HINSTANCE /*previous*/, LPSTR /*arguments*/, int /*show*/)
{
    try {
        const instance::InstanceArguments arguments(GetCommandLineW());
        const instance::InstanceWindow window(&instance::InstanceWindow::Quit);
        browser::OwnBrowser own(window, browser::ReadOptions());
        own.Start(!arguments.creatorUuid.empty());
        instance::RunInstance(arguments, window, own);
    } catch (const tvn::BaseException& exception) {
        tvn::LogError("The instance ends. %s",
                      static_cast<const char*>(exception.GetDescription()));
    }
    return 1;
}
