#include "soak/ProcessFigures.h"

#include <windows.h>

#include <psapi.h>

#include <cstdint>

namespace soak
{
namespace
{

/// (What a file below /proc of this machine tells under Wine are the figures of Wine's server,
/// which opens it.)
PROCESS_MEMORY_COUNTERS Counters()
{
    PROCESS_MEMORY_COUNTERS counters = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters;
}

}  // namespace

std::ptrdiff_t CountHandles()
{
    DWORD known = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &known) && known != 0) {
        return static_cast<std::ptrdiff_t>(known);
    }
    // Wine does not count them: every value in use answers.
    std::ptrdiff_t count = 0;
    for (std::uintptr_t value = 4; value < 0x1000; value += 4) {
        DWORD flags = 0;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags);
    }
    return count;
}

std::ptrdiff_t PrivateKibibytes()
{
    return static_cast<std::ptrdiff_t>(Counters().PagefileUsage / 1024);
}

std::ptrdiff_t PeakKibibytes()
{
    // Wine keeps no peak of what is the process's own.
    return static_cast<std::ptrdiff_t>(Counters().PeakWorkingSetSize / 1024);
}

}  // namespace soak
