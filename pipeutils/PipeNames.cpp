#include "pipeutils/PipeNames.h"

#include <windows.h>

#include <rpc.h>

#include <algorithm>
#include <string>

#include "basicslib/FormatText.h"
#include "basicslib/ScopeExit.h"

namespace tvn
{

ComString CallbackPipeName(const ComString& pipeUuid)
{
    char name[512];
    return ToComString(FormatText(name, sizeof name, "\\\\.\\pipe\\Talvern_%S",
                                  static_cast<const wchar_t*>(pipeUuid)));
}

ComString InstancePipeName(DWORD pipeHwnd)
{
    char name[32];
    return ToComString(
        FormatText(name, sizeof name, "\\\\.\\pipe\\Talvern_%d", static_cast<int>(pipeHwnd)));
}

ComString RunnerPipeName()
{
    return ToComString("\\\\.\\pipe\\tvnRunner");
}

ComString CreateUuidString()
{
    UUID uuid = {};
    // A UUID that is unique on this machine only is good enough for a pipe name.
    static_cast<void>(UuidCreate(&uuid));
    RPC_WSTR formatted = nullptr;
    if (UuidToStringW(&uuid, &formatted) != RPC_S_OK) {
        _com_issue_error(E_OUTOFMEMORY);
    }
    const ScopeExit freed([&formatted] { RpcStringFreeW(&formatted); });
    std::string text = ToNarrow(reinterpret_cast<const wchar_t*>(formatted));
    std::replace(text.begin(), text.end(), '-', '_');
    return ToComString(text);
}

}  // namespace tvn
