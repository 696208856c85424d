// Only in the build that counts what runs: a program that ends by ExitProcess, while its other
// threads still wait, writes its counts before; so does one that a test ends (see
// tests/surroundings.cpp).

#include <windows.h>

#include <string>

#include "tools/lib/count_request.h"

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

static DWORD WINAPI ExitOnRequest(void* request)
{
    WaitForSingleObject(request, INFINITE);
    CountAndExit(coverage::kCountedExitCode);
}

/// Both live until the process ends.
static const HANDLE g_thread = CreateThread(
    nullptr, 0, &ExitOnRequest,
    CreateEventA(nullptr, TRUE, FALSE, coverage::CountRequestName(GetCurrentProcessId()).c_str()),
    0, nullptr);
