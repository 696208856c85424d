// Runs a command and prints the lines that it writes to the Windows debug output, between its own
// output and in its order: the command is stopped while a line is printed.

#include <windows.h>

#include <cstdio>
#include <memory>
#include <string>

namespace
{

struct HandleCloser
{
    void operator()(void* handle) const { CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

void PrintLine(HANDLE process, const OUTPUT_DEBUG_STRING_INFO& info)
{
    std::string text(info.nDebugStringLength, '\0');
    SIZE_T read = 0;
    if (info.fUnicode == 0 &&
        ReadProcessMemory(process, info.lpDebugStringData, text.data(), text.size(), &read)) {
        std::printf("%s\n", text.c_str());
        std::fflush(stdout);
    }
}

/// What to go on with after an exception: the one that starting under a debugger raises is done
/// with, every other one is the command's own affair.
DWORD AfterException(const EXCEPTION_DEBUG_INFO& info)
{
    return info.ExceptionRecord.ExceptionCode == EXCEPTION_BREAKPOINT ? DBG_CONTINUE
                                                                      : DBG_EXCEPTION_NOT_HANDLED;
}

/// The exit code of the command.
int FollowUntilEnd(HANDLE process)
{
    DEBUG_EVENT event = {};
    while (WaitForDebugEvent(&event, INFINITE)) {
        DWORD next = DBG_CONTINUE;
        switch (event.dwDebugEventCode) {
            case OUTPUT_DEBUG_STRING_EVENT:
                PrintLine(process, event.u.DebugString);
                break;
            case EXCEPTION_DEBUG_EVENT:
                next = AfterException(event.u.Exception);
                break;
            case CREATE_PROCESS_DEBUG_EVENT:
                UniqueHandle(event.u.CreateProcessInfo.hFile).reset();
                break;
            case LOAD_DLL_DEBUG_EVENT:
                UniqueHandle(event.u.LoadDll.hFile).reset();
                break;
            case EXIT_PROCESS_DEBUG_EVENT:
                ContinueDebugEvent(event.dwProcessId, event.dwThreadId, next);
                return static_cast<int>(event.u.ExitProcess.dwExitCode);
            default:
                break;
        }
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, next);
    }
    return 1;
}

}  // namespace

int main(int argc, char** argv)
{
    std::string commandLine;
    for (int index = 1; index < argc; ++index) {
        commandLine += (index == 1 ? "\"" : " \"") + std::string(argv[index]) + "\"";
    }
    if (argc < 2) {
        std::fprintf(stderr, "usage: trace COMMAND [ARGUMENT...]\n");
        return 2;
    }
    STARTUPINFOA startupInfo = {};
    startupInfo.cb = sizeof startupInfo;
    PROCESS_INFORMATION processInfo = {};
    if (!CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, TRUE,
                        DEBUG_ONLY_THIS_PROCESS, nullptr, nullptr, &startupInfo, &processInfo)) {
        std::fprintf(stderr, "trace: %s cannot be started (error %lu)\n", argv[1], GetLastError());
        return 1;
    }
    const UniqueHandle process(processInfo.hProcess);
    const UniqueHandle thread(processInfo.hThread);
    return FollowUntilEnd(process.get());
}
