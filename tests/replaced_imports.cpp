#include "tests/replaced_imports.h"

#include <sstream>

namespace tvn::tests
{

ReplacedImports g_imports;

/// The import itself. Looked up at every call: the runtime's own start needs some of these before
/// anything of this program is initialised, and a guarded static needs them too.
template <class Function>
static Function* Real(const char* name, const char* module = "kernel32")
{
    void* const address = reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(module), name));
    return reinterpret_cast<Function*>(address);
}

static const char* Described(const SECURITY_ATTRIBUTES* security)
{
    if (security == nullptr) {
        return "default";
    }
    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    ACL* list = nullptr;
    GetSecurityDescriptorDacl(security->lpSecurityDescriptor, &present, &list, &defaulted);
    const bool isNull = present && list == nullptr && !defaulted;
    const bool complete = security->nLength == sizeof *security && security->bInheritHandle;
    return isNull && complete ? "inheritable, null list" : "other";
}

// The names under which the linker looks for the imports' addresses.
extern "C" {

constinit decltype(&GetTickCount) __imp_GetTickCount = [] {
    return Real<decltype(GetTickCount)>("GetTickCount")() + g_imports.tickOffset;
};

constinit decltype(&CreateEventA) __imp_CreateEventA = [](auto... arguments) -> HANDLE {
    auto* const real = Real<decltype(CreateEventA)>("CreateEventA");
    SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return g_imports.failCreateEvent ? nullptr : real(arguments...);
};

constinit decltype(&RegSetValueExW) __imp_RegSetValueExW =
    [](HKEY key, LPCWSTR name, DWORD zero, DWORD type, const BYTE* data, DWORD size) -> LSTATUS {
    auto* const real = Real<decltype(RegSetValueExW)>("RegSetValueExW", "advapi32");
    const std::wstring& fails = g_imports.failRegistryValue;
    const bool failing = !fails.empty() && fails == reinterpret_cast<const wchar_t*>(data);
    return failing ? ERROR_ACCESS_DENIED : real(key, name, zero, type, data, size);
};

constinit decltype(&CreateNamedPipeA) __imp_CreateNamedPipeA =
    [](LPCSTR name, DWORD openMode, DWORD pipeMode, DWORD count, DWORD out, DWORD in, DWORD time,
       SECURITY_ATTRIBUTES* security) {
        std::ostringstream text;
        text << std::hex << openMode << ' ' << pipeMode << std::dec << ' ' << count << ' ' << out
             << ' ' << in << ' ' << time << ' ' << Described(security);
        g_imports.newPipe = text.str();
        auto* const real = Real<decltype(CreateNamedPipeA)>("CreateNamedPipeA");
        return real(name, openMode, pipeMode, count, out, in, time, security);
    };

constinit decltype(&CreateProcessWithLogonW) __imp_CreateProcessWithLogonW =
    [](LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD logonFlags, LPCWSTR application,
       LPWSTR commandLine, DWORD flags, void* environment, LPCWSTR directory, STARTUPINFOW* startup,
       PROCESS_INFORMATION* process) -> BOOL {
    std::wostringstream text;
    const auto shown = [](LPCWSTR value) {
        return value == nullptr ? L"(null)" : value;
    };
    text << shown(user) << '|' << shown(domain) << '|' << shown(password) << '|' << logonFlags
         << '|' << shown(application) << '|' << shown(commandLine) << '|' << flags << '|'
         << environment << '|' << shown(directory) << '|' << startup->cb - sizeof *startup << '|'
         << startup->dwFlags << '|' << startup->wShowWindow;
    g_imports.logon = text.str();
    process->dwProcessId = 4711;
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return g_imports.logonSucceeds;
};
}

}  // namespace tvn::tests
