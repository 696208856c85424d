// The DLL's entry point and its four exports.

#include <windows.h>

#include "Interface/ServerModule.h"
#include "basicslib/Log.h"

using tvn::g_module;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID processEnds)
{
    // DisableThreadLibraryCalls fails because the runtime uses thread-local storage, so ignore the
    // notifications that it should have disabled.
    if (reason == DLL_THREAD_ATTACH || reason == DLL_THREAD_DETACH) {
        return TRUE;
    }
    tvn::LogDebug("in DLLMain");
    if (reason == DLL_PROCESS_ATTACH) {
        g_module.Init(instance);
        DisableThreadLibraryCalls(instance);
    } else if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) {
        // When the process is ending, the libraries that the module holds references to may be
        // unloaded already.
        g_module.Term();
    }
    return TRUE;
}

STDAPI DllCanUnloadNow()
{
    return g_module.CanUnloadNow();
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* object)
{
    return g_module.GetClassObject(clsid, iid, object);
}

STDAPI DllRegisterServer()
{
    return g_module.RegisterServer();
}

STDAPI DllUnregisterServer()
{
    return g_module.UnregisterServer();
}
