#include "bench/Memory.h"

#include <windows.h>

#include <psapi.h>

#include "bench/Measure.h"

namespace bench
{

Memory CurrentMemory()
{
    // Wine does not record the peak of a process's private memory, but that of all resident memory.
    PROCESS_MEMORY_COUNTERS counters = {};
    Require(GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) != FALSE,
            "the system does not tell how much memory is in use");
    return {counters.PagefileUsage, counters.WorkingSetSize, counters.PeakWorkingSetSize};
}

}  // namespace bench
