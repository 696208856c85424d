#include "pipeutils/PipeNames.h"

#include <windows.h>

#include <rpc.h>

#include <algorithm>
#include <memory>
#include <string>

#include "basicslib/FormatText.h"

namespace tvn
{
namespace
{

constexpr std::size_t kNameSize = 512;

struct RpcStringFreer
{
    void operator()(RPC_WSTR* string) const noexcept { RpcStringFreeW(string); }
};

}  // namespace

ComString CallbackPipeName(const ComString& pipeUuid)
{
    char name[kNameSize];
    const std::size_t length = FormatText(name, sizeof name, "\\\\.\\pipe\\Talvern_%S",
                                          static_cast<const wchar_t*>(pipeUuid));
    return ToComString(std::string_view(name, length));
}

ComString InstancePipeName(DWORD pipeHwnd)
{
    char name[kNameSize];
    const std::size_t length =
        FormatText(name, sizeof name, "\\\\.\\pipe\\Talvern_%d", static_cast<int>(pipeHwnd));
    return ToComString(std::string_view(name, length));
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
    const std::unique_ptr<RPC_WSTR, RpcStringFreer> owner(&formatted);
    std::string text = ToNarrow(reinterpret_cast<const wchar_t*>(formatted));
    std::replace(text.begin(), text.end(), '-', '_');
    return ToComString(text);
}

}  // namespace tvn
