#include "browser/DebuggingPort.h"

#include <fstream>

#include "browser/BrowserError.h"
#include "browser/DevTools.h"
#include "browser/WebSocket.h"

namespace browser
{
namespace
{

constexpr DWORD kEndTime = 3000;
constexpr DWORD kEndPause = 500;

std::wstring PortFile(const std::wstring& profile)
{
    return profile + L"\\DevToolsActivePort";
}

}  // namespace

DebuggingPort ReadDebuggingPort(const std::wstring& profile)
{
    // The port and the path of the browser's own target, a line each.
    std::ifstream file(PortFile(profile).c_str());
    DebuggingPort endpoint;
    return file >> endpoint.port >> endpoint.path ? endpoint : DebuggingPort();
}

void ForgetDebuggingPort(const std::wstring& profile)
{
    DeleteFileW(PortFile(profile).c_str());
}

void EndBrowserOn(const std::wstring& profile)
{
    const DebuggingPort endpoint = ReadDebuggingPort(profile);
    if (endpoint.port == 0) {
        return;
    }
    try {
        DevTools tools([](const Json&) {}, [] {});
        tools.Connect([&](const Link::OnMessage& onMessage, const Link::OnEnd& onEnd) {
            return ConnectWebSocket(endpoint.port, endpoint.path, kEndTime, onMessage, onEnd);
        });
        tools.Call("", "Browser.close", {}, kEndTime);
        Sleep(kEndPause);
    } catch (const BrowserError&) {
        // it has ended already
    }
}

}  // namespace browser
