// How a program of the build that counts what runs is asked to write its counts and to end.
#pragma once

#include <windows.h>

#include <string>

namespace tvn::tests
{

/// With which it then ends: the code of one that is ended by force.
constexpr UINT kCountedExitCode = 0xFFFFFFFF;

/// The event that asks for it.
inline std::string CountRequestName(DWORD pid)
{
    return "TalvernCountRequest" + std::to_string(pid);
}

/// Asks it of a process, and waits for its end. False when it is one of another build.
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

}  // namespace tvn::tests
