#include "tests/imported_calls.h"

#include <windows.h>

#include <aclapi.h>
#include <objbase.h>
#include <oleauto.h>
#include <psapi.h>
#include <rpc.h>
#include <shellapi.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <type_traits>
#include <utility>

namespace tvn::tests
{
namespace
{

enum ImportIndex : std::size_t {
#define TVN_IMPORT(name) k##name,
#include "imports.inc"
#undef TVN_IMPORT
    kImportCount
};

constexpr const char* kNames[] = {
#define TVN_IMPORT(name) #name,
#include "imports.inc"
#undef TVN_IMPORT
};

// The runtime calls some of these before anything of this program is initialised.
constinit std::array<void*, kImportCount> g_real = {};
constinit std::array<void*, kImportCount> g_replacements = {};
constinit std::array<unsigned int, kImportCount> g_calls = {};
constinit DWORD g_watchedThread = 0;
constinit int g_openHandles = 0;
constinit std::size_t g_failing = kImportCount;
constinit unsigned int g_callsLeft = 0;
constinit DWORD g_error = 0;

void* Find(const char* name)
{
    for (const char* module :
         {"kernel32", "user32", "advapi32", "ole32", "oleaut32", "rpcrt4", "shell32", "psapi"}) {
        FARPROC found = GetProcAddress(LoadLibraryA(module), name);
        if (found != nullptr) {
            return reinterpret_cast<void*>(found);
        }
    }
    __builtin_trap();  // declared by the platform's headers, but in none of its DLLs
}

std::size_t IndexOf(const char* name)
{
    const auto* found =
        std::find_if(std::begin(kNames), std::end(kNames),
                     [name](const char* each) { return std::string_view(each) == name; });
    if (found == std::end(kNames)) {
        __builtin_trap();  // a misspelt name, or one that the product calls no longer
    }
    return static_cast<std::size_t>(found - kNames);
}

template <ImportIndex kIndex, class Function>
Function* Real()
{
    if (g_real[kIndex] == nullptr) {
        g_real[kIndex] = Find(kNames[kIndex]);
    }
    return reinterpret_cast<Function*>(g_real[kIndex]);
}

/// What a function returns when it fails.
template <ImportIndex kIndex, class Result>
Result FailingResult()
{
    constexpr auto starts = [](std::string_view start) {
        return std::string_view(kNames[kIndex]).starts_with(start);
    };
    if constexpr (std::is_same_v<Result, HANDLE>) {
        return starts("CreateFile") || starts("CreateNamedPipe") ? INVALID_HANDLE_VALUE : nullptr;
    } else if constexpr (std::is_same_v<Result, DWORD>) {
        return starts("Wait") || starts("MsgWait") ? WAIT_FAILED : 0;
    } else if constexpr (std::is_same_v<Result, LONG>) {
        constexpr bool kGivesCode =
            (starts("Reg") && !starts("RegisterTypeLib")) || starts("Uuid") || starts("Rpc");
        const LONG code = static_cast<LONG>(g_error);
        return starts("Get") ? 0 : kGivesCode ? code : HRESULT_FROM_WIN32(g_error);
    } else {
        return Result();
    }
}

constexpr int HandlesOpenedBy(std::string_view import)
{
    for (const char* one :
         {"CreateEventA", "CreateFileA", "CreateNamedPipeA", "DuplicateHandle", "OpenProcess"}) {
        if (import == one) {
            return 1;
        }
    }
    return import == "CreateProcessA" ? 2 : import == "CloseHandle" ? -1 : 0;
}

template <ImportIndex kIndex, class Function>
struct Entry;

template <ImportIndex kIndex, class Result, class... Arguments>
struct Entry<kIndex, Result(Arguments...)>
{
    static Result Call(Arguments... arguments)
    {
        using Function = Result(Arguments...);
        constexpr int kHandles = HandlesOpenedBy(kNames[kIndex]);
        const bool watched =
            g_watchedThread != 0 && g_watchedThread == Real<kGetCurrentThreadId, DWORD()>()();
        if (watched) {
            ++g_calls[kIndex];
            if (g_failing == kIndex && g_callsLeft != 0 && --g_callsLeft == 0) {
                Real<kSetLastError, void(DWORD)>()(g_error);
                return FailingResult<kIndex, Result>();
            }
        }
        auto* const replacement = reinterpret_cast<Function*>(g_replacements[kIndex]);
        auto* const function = replacement == nullptr ? Real<kIndex, Function>() : replacement;
        if constexpr (kHandles == 0) {
            return function(arguments...);
        } else {
            const Result result = function(arguments...);
            const bool opened = result != Result() && result != FailingResult<kIndex, Result>();
            g_openHandles += watched && opened ? kHandles : 0;
            return result;
        }
    }
};

/// From here on a call leaves the last error alone but for what the function itself does to it.
const bool g_found = [] {
    for (const char* name : kNames) {
        RealImport(name);
    }
    return true;
}();

}  // namespace

std::span<const char* const> ImportNames()
{
    return kNames;
}

bool CanFail(const std::string& import)
{
    constexpr const char* kCannot[] = {"CloseHandle",
                                       "CoTaskMemFree",
                                       "DeleteCriticalSection",
                                       "DispatchMessageA",
                                       "EnterCriticalSection",
                                       "GetCurrentProcess",
                                       "GetCurrentProcessId",
                                       "GetCurrentThreadId",
                                       "GetLastError",
                                       "GetTickCount",
                                       "InitializeCriticalSection",
                                       "LeaveCriticalSection",
                                       "LocalFree",
                                       "OutputDebugStringA",
                                       "PostQuitMessage",
                                       "RegCloseKey",
                                       "RpcStringFreeW",
                                       "SetLastError",
                                       "Sleep",
                                       "SysFreeString",
                                       "SysStringByteLen",
                                       "SysStringLen",
                                       "TranslateMessage",
                                       "VariantInit"};
    return std::find(std::begin(kCannot), std::end(kCannot), import) == std::end(kCannot);
}

ImportWatch::ImportWatch() noexcept
{
    g_calls = {};
    g_openHandles = 0;
    g_failing = kImportCount;
    g_watchedThread = Real<kGetCurrentThreadId, DWORD()>()();
}

ImportWatch::~ImportWatch()
{
    g_watchedThread = 0;
}

void ImportWatch::Fail(const std::string& import, DWORD error, unsigned int call)
{
    g_failing = IndexOf(import.c_str());
    g_error = error;
    g_callsLeft = call;
}

std::map<std::string, unsigned int> ImportWatch::Calls() const
{
    const auto calls = g_calls;
    std::map<std::string, unsigned int> named;
    for (std::size_t index = 0; index < kImportCount; ++index) {
        if (calls[index] != 0) {
            named[kNames[index]] = calls[index];
        }
    }
    return named;
}

int ImportWatch::OpenHandles() const
{
    return g_openHandles;
}

void FailEachImport(const std::function<void()>& before, const std::function<void()>& work,
                    const std::function<void(const std::string& import, int handles)>& after)
{
    const auto run = [&](const std::string& import, unsigned int call) {
        before();
        ImportWatch watch;
        if (call != 0) {
            watch.Fail(import, ERROR_ACCESS_DENIED, call);
        }
        work();
        return std::pair(watch.Calls(), watch.OpenHandles());
    };
    for (const auto& [import, calls] : run("", 0).first) {
        for (unsigned int call = 1; call <= calls && CanFail(import); ++call) {
            const int handles = run(import, call).second;
            if (g_callsLeft == 0) {  // a wait may be needed only now and then
                after(import, handles);
            }
        }
    }
}

void* RealImport(const char* import)
{
    void*& real = g_real[IndexOf(import)];
    real = real == nullptr ? Find(import) : real;
    return real;
}

ReplacedImport::ReplacedImport(const char* import, void* replacement)
    : m_place(g_replacements[IndexOf(import)]), m_before(std::exchange(m_place, replacement))
{}

ReplacedImport::~ReplacedImport()
{
    m_place = m_before;
}

// The names under which the linker looks for the imports' addresses, and for those functions that
// are called by a jump.
extern "C" {
#define TVN_IMPORT(name)                                                              \
    constinit decltype(&(name)) __imp_##name = &Entry<k##name, decltype(name)>::Call; \
    asm(".text\n.globl " #name "\n" #name ": jmp *__imp_" #name "(%rip)");
#include "imports.inc"
#undef TVN_IMPORT
}

}  // namespace tvn::tests
