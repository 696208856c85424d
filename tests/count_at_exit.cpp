// Only in the build that counts what runs: programs that end by ExitProcess, while their other
// threads still wait, write their counts before.

#include <windows.h>

extern "C" void __gcov_dump();

[[noreturn]] static void WINAPI CountAndExit(UINT code)
{
    __gcov_dump();
    TerminateProcess(GetCurrentProcess(), code);
    Sleep(INFINITE);
    __builtin_unreachable();
}

/// The import's own entry, which would otherwise come from the library of the system's functions.
extern "C" void(WINAPI* const __imp_ExitProcess)(UINT) = &CountAndExit;
