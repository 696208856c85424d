// What stands in the place of some imports in all tests.

#include <windows.h>

#include <sstream>

#include "tests/imported_calls.h"
#include "tools/lib/count_request.h"

namespace tvn::tests
{

ReplacedImports g_imports;

static const ReplacedImport g_replaced[] = {
    TVN_REPLACE_IMPORT(GetTickCount,
                       [] { return TVN_REAL_IMPORT(GetTickCount)() + g_imports.tickOffset; }),
    TVN_REPLACE_IMPORT(MsgWaitForMultipleObjectsEx,
                       [](DWORD count, const HANDLE* handles, DWORD time, DWORD mask, DWORD flags) {
                           g_imports.lastWait = time;
                           return TVN_REAL_IMPORT(MsgWaitForMultipleObjectsEx)(count, handles, time,
                                                                               mask, flags);
                       }),
    // What the product ends by force is counted too, where the build counts.
    TVN_REPLACE_IMPORT(TerminateProcess,
                       [](HANDLE process, UINT code) -> BOOL {
                           return coverage::EndWithCounts(process) ||
                                  TVN_REAL_IMPORT(TerminateProcess)(process, code);
                       }),
    TVN_REPLACE_IMPORT(
        CreateProcessWithLogonW,
        [](LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD logonFlags, LPCWSTR application,
           LPWSTR commandLine, DWORD flags, void* environment, LPCWSTR directory,
           STARTUPINFOW* startup, PROCESS_INFORMATION* process) -> BOOL {
            std::wostringstream text;
            const LPCWSTR values[] = {user, domain, password, application, commandLine, directory};
            for (LPCWSTR value : values) {
                text << (value == nullptr ? L"(null)" : value) << '|';
            }
            text << logonFlags << '|' << flags << '|' << environment << '|'
                 << startup->cb - sizeof *startup << '|' << startup->dwFlags << '|'
                 << startup->wShowWindow;
            g_imports.logon = text.str();
            if (g_imports.logonSucceeds) {
                process->hProcess = CreateEventA(nullptr, TRUE, FALSE, nullptr);
                process->dwProcessId = 4711;
            }
            SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
            return g_imports.logonSucceeds;
        }),
};

}  // namespace tvn::tests
