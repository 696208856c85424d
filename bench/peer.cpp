// An instance that does nothing but answer, in a process of its own and with as little between the
// system calls as can be: what is measured against it is the other side. Run as talvern.exe, which
// is the name by which instances are found.
//
//     ready=NAME   signals the named event when everything below is there
//     crowd=N      makes N top-level windows with other titles, and is no instance
//
// A "PLAY" of a macro that is a number is answered with a text of so many bytes, any other with an
// empty one. "appEnd" ends the process.

#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <optional>
#include <string>
#include <string_view>

#include "basicslib/Handle.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"
#include "bench/PeerNames.h"
#include "tests/byte_peer.h"

namespace
{

using tvn::tests::BytePeer;
using tvn::tests::Bytes;

/// Whether a client has attached; others are refused meanwhile, so that each finds a peer of its
/// own.
std::atomic_flag g_attached;

void Serve(BytePeer& client)
{
    constexpr std::size_t kHead = 4 * sizeof(DWORD);  // length, id, status, the text's length
    Bytes message;
    Bytes reply(kHead);
    bool mine = false;
    while (client.Read(message)) {
        tvn::tests::Fields fields(message);
        const DWORD id = fields.Number();
        const std::wstring command = fields.Text();
        int status = tvn::sOk;
        DWORD size = 0;
        if (command == tvn::kCommandPlay) {
            constexpr std::size_t kMacro = 2 + tvn::kMacroSwitch.size();  // and blanks around it
            size = std::wcstoul(fields.Text().c_str() + kMacro, nullptr, 10);
        } else if (command == tvn::kCommandAttachIfFree) {
            mine = !g_attached.test_and_set();
            status = mine ? tvn::sOk : tvn::sFail;
        }
        reply.resize(kHead + size, 'x');
        const DWORD head[] = {static_cast<DWORD>(reply.size()), id, static_cast<DWORD>(status),
                              size};
        std::memcpy(reply.data(), head, sizeof head);
        client.Write(reply);
        if (command == tvn::kCommandEnd) {
            ExitProcess(0);
        }
    }
    if (mine) {
        g_attached.clear();
    }
}

HWND MakeWindow(const wchar_t* title)
{
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = &DefWindowProcW;
    windowClass.lpszClassName = bench::kPeerWindowClass;
    RegisterClassW(&windowClass);
    return CreateWindowW(windowClass.lpszClassName, title, WS_OVERLAPPEDWINDOW, 0, 0, 1, 1, nullptr,
                         nullptr, nullptr, nullptr);
}

/// What follows `name` among the arguments, empty when it is not there.
std::string Argument(int argc, char** argv, std::string_view name)
{
    for (int index = 1; index < argc; ++index) {
        if (std::string_view(argv[index]).substr(0, name.size()) == name) {
            return argv[index] + name.size();
        }
    }
    return {};
}

}  // namespace

int main(int argc, char** argv)
{
    constexpr std::size_t kClients = 20;
    const unsigned long crowd = std::strtoul(Argument(argc, argv, "crowd=").c_str(), nullptr, 10);
    for (unsigned long number = 0; number < crowd; ++number) {
        MakeWindow((L"A window of another program, number " + std::to_wstring(number)).c_str());
    }
    std::optional<tvn::tests::PeerHost> host;
    if (crowd == 0) {
        HWND window = MakeWindow(tvn::kInstanceWindowTitle);
        if (window == nullptr) {
            return 1;
        }
        host.emplace(bench::PipeNameOf(window), kClients, &Serve);
    }
    const tvn::Handle ready(
        OpenEventA(EVENT_MODIFY_STATE, FALSE, Argument(argc, argv, "ready=").c_str()));
    SetEvent(ready.Get());
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        DispatchMessageW(&message);
    }
    return 0;
}
