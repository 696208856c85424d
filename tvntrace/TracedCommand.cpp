#include "tvntrace/TracedCommand.h"

#include <map>
#include <string_view>

#include "tvntrace/TraceError.h"

namespace tvn::trace
{
namespace
{

/// What the process wrote; what cannot be read any more is left out.
std::string ReadText(HANDLE process, const OUTPUT_DEBUG_STRING_INFO& info)
{
    std::string text(info.nDebugStringLength, '\0');
    SIZE_T read = 0;
    ReadProcessMemory(process, info.lpDebugStringData, text.data(), text.size(), &read);
    text.resize(read);
    return text.substr(0, text.find('\0'));
}

/// What to go on with after an exception: the ones that starting under a debugger raises, one more
/// in a 32-bit program, are done with; every other one is the program's own affair.
DWORD AfterException(const EXCEPTION_DEBUG_INFO& info)
{
    constexpr DWORD kBreakpoint32 = 0x4000001F;
    const DWORD code = info.ExceptionRecord.ExceptionCode;
    return code == EXCEPTION_BREAKPOINT || code == kBreakpoint32 ? DBG_CONTINUE
                                                                 : DBG_EXCEPTION_NOT_HANDLED;
}

/// Backslashes count only before a quotation mark: there each is doubled.
std::wstring Quote(const std::wstring& argument)
{
    if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == std::wstring::npos) {
        return argument;
    }
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t character : argument) {
        if (character == L'"') {
            quoted.append(backslashes + 1, L'\\');
        }
        backslashes = character == L'\\' ? backslashes + 1 : 0;
        quoted += character;
    }
    quoted.append(backslashes, L'\\');
    return quoted + L'"';
}

}  // namespace

std::wstring QuoteCommandLine(const std::vector<std::string>& arguments)
{
    std::wstring line;
    for (const std::string& argument : arguments) {
        line += (line.empty() ? L"" : L" ") + Quote(FromUtf8(argument));
    }
    return line;
}

TracedCommand::TracedCommand(const std::vector<std::string>& command, bool children)
{
    // A heap that looks after itself, which is what a debugged process gets unless told otherwise,
    // would make the command slow and different.
    SetEnvironmentVariableW(L"_NO_DEBUG_HEAP", L"1");
    std::wstring line = QuoteCommandLine(command);
    STARTUPINFOW startupInfo = {};
    startupInfo.cb = sizeof startupInfo;
    PROCESS_INFORMATION info = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE,
                        children ? DEBUG_PROCESS : DEBUG_ONLY_THIS_PROCESS, nullptr, nullptr,
                        &startupInfo, &info)) {
        throw TraceError("'" + command.front() + "' cannot be started; is it on the PATH?",
                         GetLastError());
    }
    const Handle thread(info.hThread);
    m_process = ShareHandle(info.hProcess);
    m_pid = info.dwProcessId;
    DebugSetProcessKillOnExit(FALSE);
}

int TracedCommand::Follow(const std::function<void(const TraceLine&)>& take) const
{
    std::map<DWORD, HANDLE> processes;  // the system keeps them open until their end was seen
    DEBUG_EVENT event = {};
    while (WaitForDebugEvent(&event, INFINITE)) {
        DWORD next = DBG_CONTINUE;
        bool ended = false;
        switch (event.dwDebugEventCode) {
            case OUTPUT_DEBUG_STRING_EVENT:
                take(ReadTraceLine(event.dwProcessId,
                                   ReadText(processes[event.dwProcessId], event.u.DebugString)));
                break;
            case EXCEPTION_DEBUG_EVENT:
                next = AfterException(event.u.Exception);
                break;
            case CREATE_PROCESS_DEBUG_EVENT: {
                const Handle file(event.u.CreateProcessInfo.hFile);
                processes[event.dwProcessId] = event.u.CreateProcessInfo.hProcess;
                break;
            }
            case LOAD_DLL_DEBUG_EVENT: {
                const Handle file(event.u.LoadDll.hFile);
                break;
            }
            case EXIT_PROCESS_DEBUG_EVENT:
                processes.erase(event.dwProcessId);
                ended = event.dwProcessId == m_pid;
                break;
            default:
                break;
        }
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, next);
        if (ended) {
            return static_cast<int>(event.u.ExitProcess.dwExitCode);
        }
    }
    throw TraceError("the command cannot be followed any more", GetLastError());
}

}  // namespace tvn::trace
