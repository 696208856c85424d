// An instance that does nothing but answer, in a process of its own and with as little between the
// system calls as can be: what is measured against it is the other side. Run as talvern.exe, which
// is the name by which instances are found.
//
//     ready=NAME   signals the named event when everything below is there
//     crowd=N      makes N top-level windows with other titles, and is no instance
//
// A "PLAY" of a macro that is a number is answered with a text of so many bytes, any other with an
// empty one; the variables of a play are read and dropped. "appEnd" ends the process.

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "basicslib/Handle.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"
#include "bench/PeerNames.h"

namespace
{

using Bytes = std::vector<unsigned char>;

constexpr int kClients = 20;
constexpr std::size_t kHead = 4 * sizeof(DWORD);  // length, id, status, the text's length

/// Whether a client has attached; others are refused meanwhile, so that each finds a peer of its
/// own.
LONG g_attached = 0;

DWORD NumberAt(const Bytes& message, std::size_t offset)
{
    DWORD number = 0;
    std::memcpy(&number, message.data() + offset, sizeof number);
    return number;
}

/// One message of any length, read into the room that is there. False when the client has gone.
bool Receive(HANDLE pipe, Bytes& message)
{
    DWORD bytes = 0;
    if (ReadFile(pipe, message.data(), static_cast<DWORD>(message.size()), &bytes, nullptr)) {
        return true;
    }
    DWORD rest = 0;
    if (GetLastError() != ERROR_MORE_DATA ||
        !PeekNamedPipe(pipe, nullptr, 0, nullptr, nullptr, &rest)) {
        return false;
    }
    const std::size_t before = message.size();
    message.resize(before + rest);
    return ReadFile(pipe, message.data() + before, rest, &bytes, nullptr) != FALSE;
}

std::wstring_view TextAt(const Bytes& message, std::size_t& offset)
{
    const DWORD size = NumberAt(message, offset);
    const auto* text = reinterpret_cast<const wchar_t*>(message.data() + offset + sizeof size);
    offset += sizeof size + size;
    return {text, size / sizeof(wchar_t)};
}

DWORD ReplySize(std::wstring_view argument)
{
    constexpr std::size_t kMacro = 2 + tvn::kMacroSwitch.size();  // behind the blanks around it
    DWORD size = 0;
    for (std::size_t at = kMacro; at < argument.size() && iswdigit(argument[at]); ++at) {
        size = size * 10 + static_cast<DWORD>(argument[at] - L'0');
    }
    return size;
}

void Serve(const tvn::Handle& pipe)
{
    Bytes message(4096);
    Bytes reply(kHead);
    bool mine = false;
    while (Receive(pipe.Get(), message)) {
        int status = tvn::sOk;
        DWORD size = 0;
        std::size_t offset = 2 * sizeof(DWORD);
        const std::wstring_view command = TextAt(message, offset);
        if (command == tvn::kCommandPlay) {
            size = ReplySize(TextAt(message, offset));
        } else if (command == tvn::kCommandAttachIfFree) {
            mine = InterlockedExchange(&g_attached, 1) == 0;
            status = mine ? tvn::sOk : tvn::sFail;
        }
        reply.resize(kHead + size, 'x');
        const DWORD head[] = {static_cast<DWORD>(reply.size()), NumberAt(message, sizeof(DWORD)),
                              static_cast<DWORD>(status), size};
        std::memcpy(reply.data(), head, sizeof head);
        DWORD bytes = 0;
        WriteFile(pipe.Get(), reply.data(), static_cast<DWORD>(reply.size()), &bytes, nullptr);
        if (command == tvn::kCommandEnd) {
            ExitProcess(0);
        }
    }
    if (mine) {
        InterlockedExchange(&g_attached, 0);
    }
}

[[noreturn]] void Listen(const tvn::Handle& pipe)
{
    for (;;) {
        if (ConnectNamedPipe(pipe.Get(), nullptr) || GetLastError() == ERROR_PIPE_CONNECTED) {
            Serve(pipe);
        }
        DisconnectNamedPipe(pipe.Get());
    }
}

void StartListening(HWND window)
{
    const std::string name =
        R"(\\.\pipe\Talvern_)" + std::to_string(static_cast<int>(tvn::WindowValue(window)));
    for (int client = 0; client < kClients; ++client) {
        const auto pipe = tvn::ShareHandle(CreateNamedPipeA(
            name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
            PIPE_UNLIMITED_INSTANCES, 1024, 1024, 5000, nullptr));
        if (!pipe->IsValid()) {
            ExitProcess(1);
        }
        std::thread([pipe] { Listen(*pipe); }).detach();
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
    const unsigned long crowd = std::strtoul(Argument(argc, argv, "crowd=").c_str(), nullptr, 10);
    for (unsigned long number = 0; number < crowd; ++number) {
        MakeWindow((L"A window of another program, number " + std::to_wstring(number)).c_str());
    }
    if (crowd == 0) {
        HWND window = MakeWindow(tvn::kInstanceWindowTitle);
        if (window == nullptr) {
            return 1;
        }
        StartListening(window);
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
