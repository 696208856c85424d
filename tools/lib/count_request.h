// How a program of the coverage build is asked to write its counts and to end.
#pragma once

#include <windows.h>

#include <string>

namespace coverage
{

/// The exit code that the program then ends with: that of one that is ended by force.
constexpr UINT kCountedExitCode = 0xFFFFFFFF;

/// The event by which it is asked.
inline std::string CountRequestName(DWORD pid)
{
    return "TalvernCountRequest" + std::to_string(pid);
}

/// Asks a process for it, and waits for its end. False when the process is one of another build.
inline bool EndWithCounts(HANDLE process)
{
    constexpr DWORD kPatience = 5000;
    HANDLE request =
        OpenEventA(EVENT_MODIFY_STATE, FALSE, CountRequestName(GetProcessId(process)).c_str());
    if (request == nullptr) {
        return false;
    }
    SetEvent(request);
    CloseHandle(request);
    return WaitForSingleObject(process, kPatience) == WAIT_OBJECT_0;
}

}  // namespace coverage
