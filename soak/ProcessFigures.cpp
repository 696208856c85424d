#include "soak/ProcessFigures.h"

#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace soak
{
namespace
{

/// What the machine below a Wine prefix knows about this process; -1 on Windows itself. Wine does
/// not count a process's own memory.
std::ptrdiff_t MachineFigure(const char* name)
{
    std::FILE* const status = std::fopen("Z:\\proc\\self\\status", "rb");
    if (status == nullptr) {
        return -1;
    }
    std::ptrdiff_t figure = -1;
    char line[256];
    while (std::fgets(line, sizeof line, status) != nullptr) {
        if (std::strncmp(line, name, std::strlen(name)) == 0) {
            figure = std::atoi(line + std::strlen(name) + 1);
        }
    }
    std::fclose(status);
    return figure;
}

PROCESS_MEMORY_COUNTERS_EX Counters()
{
    PROCESS_MEMORY_COUNTERS_EX counters = {};
    GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                         sizeof counters);
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
    const std::ptrdiff_t machine = MachineFigure("RssAnon:");
    return machine >= 0 ? machine : static_cast<std::ptrdiff_t>(Counters().PrivateUsage / 1024);
}

std::ptrdiff_t PeakKibibytes()
{
    const std::ptrdiff_t machine = MachineFigure("VmHWM:");
    return machine >= 0 ? machine
                        : static_cast<std::ptrdiff_t>(Counters().PeakPagefileUsage / 1024);
}

}  // namespace soak
