#include "tests/imported_calls.h"

#include <windows.h>

#include <aclapi.h>
#include <objbase.h>
#include <oleauto.h>
#include <psapi.h>
#include <rpc.h>
#include <sddl.h>
#include <shellapi.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <type_traits>
#include <utility>

#include "tests/import_kinds.h"

namespace tvn::tests
{
namespace
{

enum ImportIndex : std::size_t {
#define TVN_IMPORT(name) k##name,
#include "imports.inc"
#undef TVN_IMPORT
    kOperatorNew,
    kPointCount,
    kImportCount = kOperatorNew
};

constexpr std::string_view kNames[] = {
#define TVN_IMPORT(name) #name,
#include "imports.inc"
#undef TVN_IMPORT
    "new"};

/// What is to fail, and what has.
struct Plan
{
    std::string_view what;
    unsigned int left = 0;
    DWORD error = 0;
    Fails how = Fails::kOnce;
    std::size_t failed = kPointCount;

    bool Matches(std::string_view name) const
    {
        return what == name ||
               (what == kMemory ? IsMemory(name) : what == kAnything && CanFail(name, how));
    }

    /// Whether this call has to fail.
    bool Strikes(std::size_t index)
    {
        const std::string_view name = kNames[index];
        if (failed != kPointCount) {
            return how == Fails::kFromHereOn &&
                   (failed == index || (IsMemory(name) && IsMemory(kNames[failed])));
        }
        if (left == 0 || !Matches(name) || --left != 0) {
            return false;
        }
        failed = index;
        return true;
    }
};

// The runtime calls some of these before anything of this program is initialised.
constinit std::array<void*, kImportCount> g_real = {};
constinit std::array<void*, kImportCount> g_replacements = {};
constinit DWORD g_watchedThread = 0;

/// What the watched thread has done since the watch began.
struct Counts
{
    std::array<unsigned int, kPointCount> calls = {};
    Open open;
};
constinit Counts g_counts;
constinit Plan g_plan;

void* Find(const char* name)
{
    for (const char* module : {"kernel32", "user32", "advapi32", "ole32", "oleaut32", "rpcrt4",
                               "shell32", "psapi", "msvcrt"}) {
        if (FARPROC found = GetProcAddress(LoadLibraryA(module), name)) {
            return reinterpret_cast<void*>(found);
        }
    }
    __builtin_trap();  // declared by the platform's headers, but in none of its DLLs
}

std::size_t IndexOf(std::string_view name)
{
    const auto* found = std::find(std::begin(kNames), std::end(kNames), name);
    if (found == std::end(kNames)) {
        __builtin_trap();  // a misspelt name, or one that the product calls no longer
    }
    return static_cast<std::size_t>(found - kNames);
}

void* RealAt(std::size_t index)
{
    if (g_real[index] == nullptr) {
        g_real[index] = Find(kNames[index].data());
    }
    return g_real[index];
}

template <ImportIndex kIndex, class Function>
Function* Real()
{
    return reinterpret_cast<Function*>(RealAt(kIndex));
}

/// What a function returns when it fails.
template <ImportIndex kIndex, class Result>
Result FailingResult()
{
    constexpr auto starts = [](std::string_view start) {
        return kNames[kIndex].starts_with(start);
    };
    if constexpr (std::is_same_v<Result, HANDLE>) {
        return starts("CreateFile") || starts("CreateNamedPipe") ? INVALID_HANDLE_VALUE : nullptr;
    } else if constexpr (std::is_same_v<Result, DWORD>) {
        return starts("Wait") || starts("MsgWait") ? WAIT_FAILED : 0;
    } else if constexpr (std::is_same_v<Result, LONG>) {
        constexpr bool kGivesCode =
            (starts("Reg") && !starts("RegisterTypeLib")) || starts("Uuid") || starts("Rpc");
        const LONG code = static_cast<LONG>(g_plan.error);
        return starts("Get") ? 0 : kGivesCode ? code : HRESULT_FROM_WIN32(g_plan.error);
    } else {
        return Result();
    }
}

template <ImportIndex kIndex, class Result>
bool HasSucceeded(Result result)
{
    if constexpr (std::is_same_v<Result, LONG>) {
        return result == 0;
    } else {
        return result != FailingResult<kIndex, Result>();
    }
}

template <ImportIndex kIndex, class Result>
Result Counted(Result result)
{
    const int times = HasSucceeded<kIndex>(result) ? 1 : 0;
    g_counts.open.handles += times * HandlesOpenedBy(kNames[kIndex]);
    g_counts.open.blocks += times * TextsOpenedBy(kNames[kIndex]);
    return result;
}

bool IsWatched()
{
    return g_watchedThread != 0 && g_watchedThread == Real<kGetCurrentThreadId, DWORD()>()();
}

template <ImportIndex kIndex, class Function>
struct Entry;

template <ImportIndex kIndex, class Result, class... Arguments>
struct Entry<kIndex, Result(Arguments...)>
{
    using Function = Result(Arguments...);
    static constexpr std::string_view kName = kNames[kIndex];

    static Result Call(Arguments... arguments)
    {
        auto* const replacement = reinterpret_cast<Function*>(g_replacements[kIndex]);
        auto* const function = replacement == nullptr ? Real<kIndex, Function>() : replacement;
        if (!IsWatched()) {
            return function(arguments...);
        }
        ++g_counts.calls[kIndex];
        if constexpr (CanFail(kName, Fails::kOnce) && !std::is_void_v<Result>) {
            if (g_plan.Strikes(kIndex)) {
                return Fail(function, arguments...);
            }
        }
        if constexpr (HandlesOpenedBy(kName) == 0 && TextsOpenedBy(kName) == 0) {
            return function(arguments...);
        } else if constexpr (std::is_void_v<Result>) {
            g_counts.open.blocks += (... && (arguments != nullptr)) ? TextsOpenedBy(kName) : 0;
            function(arguments...);
        } else {
            return Counted<kIndex>(function(arguments...));
        }
    }

  private:
    static Result Fail(Function* function, Arguments... arguments)
    {
        if (GivesBack(kName) || g_plan.how == Fails::kThoughDone) {
            const Result result = Counted<kIndex>(function(arguments...));
            if (!HasSucceeded<kIndex>(result)) {
                return result;  // what is under way, for instance
            }
        }
        Real<kSetLastError, void(DWORD)>()(g_plan.error);
        return FailingResult<kIndex, Result>();
    }
};

/// From here on, only the functions themselves change the last error, and not the search for them.
const bool g_found = [] {
    for (std::size_t index = 0; index < kImportCount; ++index) {
        RealAt(index);
    }
    // The runtime has some memory aside for exceptions, and a lock for it that it makes with
    // malloc: were that to fail at the first use, it would throw, and throw without end.
    ImportWatch watch;
    watch.Fail("malloc", ERROR_NOT_ENOUGH_MEMORY);
    try {
        throw 0;
    } catch (int) {
    }
    return true;
}();

}  // namespace

ImportWatch::ImportWatch() noexcept
{
    g_counts = {};
    g_plan = {};
    g_watchedThread = Real<kGetCurrentThreadId, DWORD()>()();
}

ImportWatch::~ImportWatch()
{
    g_watchedThread = 0;
}

void ImportWatch::Fail(std::string_view what, DWORD error, unsigned int call, Fails how) noexcept
{
    g_plan = {what, call, error, how};
}

const char* ImportWatch::Failed() const noexcept
{
    return g_plan.failed == kPointCount ? nullptr : kNames[g_plan.failed].data();
}

std::map<std::string, unsigned int> ImportWatch::Calls() const
{
    const auto calls = g_counts.calls;
    std::map<std::string, unsigned int> named;
    for (std::size_t index = 0; index < kPointCount; ++index) {
        if (calls[index] != 0) {
            named[kNames[index].data()] = calls[index];
        }
    }
    return named;
}

unsigned int ImportWatch::CallsThatCanFail(Fails how) const noexcept
{
    unsigned int calls = 0;
    for (std::size_t index = 0; index < kPointCount; ++index) {
        calls += CanFail(kNames[index], how) ? g_counts.calls[index] : 0;
    }
    return calls;
}

const Open& ImportWatch::IsOpen() const noexcept
{
    return g_counts.open;
}

bool BlockFails(std::size_t size) noexcept
{
    if (!IsWatched()) {
        return false;
    }
    ++g_counts.calls[kOperatorNew];
    if (g_plan.Strikes(kOperatorNew)) {
        return true;
    }
    ++g_counts.open.blocks;
    g_counts.open.bytes += size;
    g_counts.open.mostBytes = std::max(g_counts.open.mostBytes, g_counts.open.bytes);
    return false;
}

void BlockIsFreed(std::size_t size) noexcept
{
    if (IsWatched()) {
        --g_counts.open.blocks;
        g_counts.open.bytes -= std::min(g_counts.open.bytes, size);  // it may be an older one
    }
}

void* RealImport(const char* import)
{
    return RealAt(IndexOf(import));
}

ReplacedImport::ReplacedImport(const char* import, void* replacement)
    : m_place(g_replacements[IndexOf(import)]), m_before(std::exchange(m_place, replacement))
{}

// The names under which the linker looks for the imports' addresses, and for those functions that
// are called by a jump.
#pragma GCC diagnostic ignored "-Wignored-attributes"  // what malloc promises of its result
extern "C" {
#define TVN_IMPORT(name)                                                              \
    constinit decltype(&(name)) __imp_##name = &Entry<k##name, decltype(name)>::Call; \
    asm(".text\n.globl " #name "\n" #name ": jmp *__imp_" #name "(%rip)");
#include "imports.inc"
#undef TVN_IMPORT
}

}  // namespace tvn::tests
