#include "tests/replaced_imports.h"

#include <cstdio>
#include <string>

namespace tests
{

ReplacedImports g_imports;

namespace
{

/// The import itself. Looked up at every call: the runtime's own start needs some of these before
/// anything of this program is initialised, and a guarded static needs them too.
template <class Function>
Function* Real(const char* module, const char* name)
{
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(module), name)));
}

DWORD WINAPI TickCount()
{
    auto* const real = Real<DWORD WINAPI()>("kernel32", "GetTickCount");
    return real() + g_imports.tickOffset;
}

HANDLE WINAPI NewEvent(SECURITY_ATTRIBUTES* attributes, BOOL manual, BOOL initial, LPCSTR name)
{
    auto* const real = Real<decltype(CreateEventA)>("kernel32", "CreateEventA");
    if (g_imports.failCreateEvent) {
        SetLastError(ERROR_NO_SYSTEM_RESOURCES);
        return nullptr;
    }
    return real(attributes, manual, initial, name);
}

DWORD WINAPI ModuleFileName(HMODULE module, LPWSTR path, DWORD size)
{
    auto* const real = Real<decltype(GetModuleFileNameW)>("kernel32", "GetModuleFileNameW");
    if (g_imports.failModulePath) {
        SetLastError(ERROR_ACCESS_DENIED);
        return 0;
    }
    return real(module, path, size);
}

LSTATUS WINAPI SetValue(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                        DWORD size)
{
    auto* const real = Real<decltype(RegSetValueExW)>("advapi32", "RegSetValueExW");
    if (!g_imports.failRegistryValue.empty() &&
        g_imports.failRegistryValue == reinterpret_cast<const wchar_t*>(data)) {
        return ERROR_ACCESS_DENIED;
    }
    return real(key, name, reserved, type, data, size);
}

HANDLE WINAPI NewPipe(LPCSTR name, DWORD openMode, DWORD pipeMode, DWORD instances, DWORD out,
                      DWORD in, DWORD timeout, SECURITY_ATTRIBUTES* security)
{
    auto* const real = Real<decltype(CreateNamedPipeA)>("kernel32", "CreateNamedPipeA");
    char text[128];
    std::snprintf(text, sizeof text, "%lx %lx %lu %lu %lu %lu ", openMode, pipeMode, instances, out,
                  in, timeout);
    g_imports.newPipe = text;
    if (security == nullptr) {
        g_imports.newPipe += "default";
    } else {
        BOOL present = FALSE;
        BOOL defaulted = TRUE;
        ACL* list = nullptr;
        GetSecurityDescriptorDacl(security->lpSecurityDescriptor, &present, &list, &defaulted);
        const bool null = present && list == nullptr && !defaulted;
        g_imports.newPipe += security->bInheritHandle ? "inheritable, " : "";
        g_imports.newPipe += null && security->nLength == sizeof *security ? "null list" : "other";
    }
    return real(name, openMode, pipeMode, instances, out, in, timeout, security);
}

BOOL WINAPI Logon(LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD logonFlags,
                  LPCWSTR application, LPWSTR commandLine, DWORD flags, LPVOID environment,
                  LPCWSTR directory, STARTUPINFOW* startup, PROCESS_INFORMATION* process)
{
    const auto text = [](LPCWSTR value) {
        return value == nullptr ? L"(null)" : value;
    };
    g_imports.logon = {text(user),
                       text(domain),
                       text(password),
                       std::to_wstring(logonFlags),
                       text(application),
                       text(commandLine),
                       std::to_wstring(flags),
                       environment == nullptr ? L"(null)" : L"environment",
                       text(directory),
                       std::to_wstring(startup->cb == sizeof *startup ? startup->dwFlags : 0),
                       std::to_wstring(startup->wShowWindow)};
    process->dwProcessId = 4711;
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return g_imports.logonSucceeds;
}

}  // namespace
}  // namespace tests

// The names under which the linker looks for the imports' addresses.
extern "C" {
extern decltype(&GetTickCount) __imp_GetTickCount;
extern decltype(&CreateEventA) __imp_CreateEventA;
extern decltype(&GetModuleFileNameW) __imp_GetModuleFileNameW;
extern decltype(&RegSetValueExW) __imp_RegSetValueExW;
extern decltype(&CreateProcessWithLogonW) __imp_CreateProcessWithLogonW;
extern decltype(&CreateNamedPipeA) __imp_CreateNamedPipeA;
decltype(&CreateNamedPipeA) __imp_CreateNamedPipeA = &tests::NewPipe;
decltype(&GetTickCount) __imp_GetTickCount = &tests::TickCount;
decltype(&CreateEventA) __imp_CreateEventA = &tests::NewEvent;
decltype(&GetModuleFileNameW) __imp_GetModuleFileNameW = &tests::ModuleFileName;
decltype(&RegSetValueExW) __imp_RegSetValueExW = &tests::SetValue;
decltype(&CreateProcessWithLogonW) __imp_CreateProcessWithLogonW = &tests::Logon;
}
