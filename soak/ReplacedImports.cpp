#include "soak/ReplacedImports.h"

#include <windows.h>

#include <oleauto.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>

#include "soak/FailurePoint.h"
#include "soak/OwnMemory.h"
#include "soak/SystemCallFailure.h"

namespace soak
{
namespace
{

/// Made from the undefined symbols of the product's libraries.
constexpr std::string_view kProductCalls[] = {
#include "product_calls.inc"
};

constexpr DWORD kError = ERROR_NOT_ENOUGH_MEMORY;

using AnyFunction = std::uint64_t (*)(std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t);

struct Replaced
{
    const SystemCall* call;
    AnyFunction real;
};

std::vector<Replaced> g_replaced;
std::vector<std::string> g_unknown;

/// Of the call that has to fail now. One thread is made to fail at a time.
AnyFunction g_struckReal = nullptr;

bool IsProductCall(std::string_view name)
{
    return std::find(std::begin(kProductCalls), std::end(kProductCalls), name) !=
           std::end(kProductCalls);
}

// ---- what is called in the place of a call that has to fail; the caller cleans up its arguments,
// so that any number of them will do

std::uint64_t FailZero()
{
    SetLastError(kError);
    return 0;
}

std::uint64_t FailMinusOne()
{
    SetLastError(kError);
    return ~std::uint64_t{0};
}

std::uint64_t FailCode()
{
    return kError;
}

std::uint64_t FailHresult()
{
    return static_cast<std::uint32_t>(E_OUTOFMEMORY);
}

std::uint64_t ZeroAfterwards(std::uint64_t a, std::uint64_t b, std::uint64_t c, std::uint64_t d)
{
    g_struckReal(a, b, c, d);
    return FailZero();
}

std::uint64_t CodeAfterwards(std::uint64_t a, std::uint64_t b, std::uint64_t c, std::uint64_t d)
{
    g_struckReal(a, b, c, d);
    return FailCode();
}

void* FailureOf(Failing failing)
{
    switch (failing) {
        case Failing::MinusOne:
            return reinterpret_cast<void*>(&FailMinusOne);
        case Failing::Code:
            return reinterpret_cast<void*>(&FailCode);
        case Failing::Hresult:
            return reinterpret_cast<void*>(&FailHresult);
        case Failing::ZeroAfterwards:
            return reinterpret_cast<void*>(&ZeroAfterwards);
        case Failing::CodeAfterwards:
            return reinterpret_cast<void*>(&CodeAfterwards);
        default:
            return reinterpret_cast<void*>(&FailZero);
    }
}

/// Where the call with this number goes on. Runs before every replaced call, on any thread.
void* Decide(std::size_t index)
{
    const Replaced& replaced = g_replaced[index];
    if (!FailurePoint::Strikes(replaced.call->name.data(), false)) {
        return reinterpret_cast<void*>(replaced.real);
    }
    g_struckReal = replaced.real;
    return FailureOf(replaced.call->failing);
}

// ---- COM strings, which are counted as well

template <class Function>
Function* RealComStringCall(const char* name)
{
    static HMODULE const library = GetModuleHandleA("oleaut32");
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

BSTR Counted(BSTR text)
{
    if (text != nullptr) {
        OwnMemory::NoteComString(1, SysStringByteLen(text));
    }
    return text;
}

BSTR WINAPI CountedAlloc(const OLECHAR* text)
{
    static auto* const real = RealComStringCall<decltype(SysAllocString)>("SysAllocString");
    return FailurePoint::Strikes("SysAllocString", true) ? nullptr : Counted(real(text));
}

BSTR WINAPI CountedAllocLen(const OLECHAR* text, UINT length)
{
    static auto* const real = RealComStringCall<decltype(SysAllocStringLen)>("SysAllocStringLen");
    return FailurePoint::Strikes("SysAllocStringLen", true) ? nullptr : Counted(real(text, length));
}

BSTR WINAPI CountedAllocByteLen(LPCSTR text, UINT length)
{
    static auto* const real =
        RealComStringCall<decltype(SysAllocStringByteLen)>("SysAllocStringByteLen");
    return FailurePoint::Strikes("SysAllocStringByteLen", true) ? nullptr
                                                                : Counted(real(text, length));
}

void WINAPI CountedFree(BSTR text)
{
    static auto* const real = RealComStringCall<decltype(SysFreeString)>("SysFreeString");
    if (text != nullptr) {
        OwnMemory::NoteComString(-1, 0);
    }
    real(text);
}

void* ComStringCall(std::string_view name)
{
    if (name == "SysAllocString") {
        return reinterpret_cast<void*>(&CountedAlloc);
    }
    if (name == "SysAllocStringLen") {
        return reinterpret_cast<void*>(&CountedAllocLen);
    }
    return name == "SysFreeString" ? reinterpret_cast<void*>(&CountedFree)
                                   : reinterpret_cast<void*>(&CountedAllocByteLen);
}

// ---- the code in front of every other call

/// Keeps the arguments in registers, asks `Decide`, and goes on where it says:
///     push rcx, rdx, r8, r9; sub rsp, 68h; save xmm0 to xmm3; mov ecx, INDEX; mov rax, Decide;
///     call rax; restore all; jmp rax
constexpr unsigned char kFront[] = {
    0x51, 0x52, 0x41, 0x50, 0x41, 0x51, 0x48, 0x83, 0xEC, 0x68, 0xF3, 0x0F, 0x7F, 0x44, 0x24,
    0x20, 0xF3, 0x0F, 0x7F, 0x4C, 0x24, 0x30, 0xF3, 0x0F, 0x7F, 0x54, 0x24, 0x40, 0xF3, 0x0F,
    0x7F, 0x5C, 0x24, 0x50, 0xB9, 0,    0,    0,    0,    0x48, 0xB8, 0,    0,    0,    0,
    0,    0,    0,    0,    0xFF, 0xD0, 0xF3, 0x0F, 0x6F, 0x44, 0x24, 0x20, 0xF3, 0x0F, 0x6F,
    0x4C, 0x24, 0x30, 0xF3, 0x0F, 0x6F, 0x54, 0x24, 0x40, 0xF3, 0x0F, 0x6F, 0x5C, 0x24, 0x50,
    0x48, 0x83, 0xC4, 0x68, 0x41, 0x59, 0x41, 0x58, 0x5A, 0x59, 0xFF, 0xE0};
constexpr std::size_t kIndexAt = 35;
constexpr std::size_t kDecideAt = 41;
constexpr std::size_t kFrontSize = 128;
static_assert(sizeof kFront <= kFrontSize);

class FrontWriter
{
  public:
    explicit FrontWriter(std::size_t count)
        : m_next(static_cast<unsigned char*>(VirtualAlloc(
              nullptr, count * kFrontSize, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE)))
    {
        if (m_next == nullptr) {
            throw std::bad_alloc();
        }
    }

    void* Write(std::size_t index)
    {
        unsigned char* const front = m_next;
        m_next += kFrontSize;
        std::memcpy(front, kFront, sizeof kFront);
        const auto number = static_cast<std::uint32_t>(index);
        std::memcpy(front + kIndexAt, &number, sizeof number);
        const auto decide = reinterpret_cast<std::uintptr_t>(&Decide);
        std::memcpy(front + kDecideAt, &decide, sizeof decide);
        return front;
    }

  private:
    unsigned char* m_next;
};

/// Calls `visit` with the name and the slot of every function that this program imports by name,
/// and whether it is of the C runtime.
template <class Visit>
void VisitImports(Visit visit)
{
    auto* const base = reinterpret_cast<unsigned char*>(GetModuleHandleA(nullptr));
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    const auto* library =
        reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
    for (; library->Name != 0; ++library) {
        const auto* name =
            reinterpret_cast<const IMAGE_THUNK_DATA64*>(base + library->OriginalFirstThunk);
        auto* slot = reinterpret_cast<void**>(base + library->FirstThunk);
        const bool isRuntime =
            _stricmp(reinterpret_cast<const char*>(base + library->Name), "msvcrt.dll") == 0;
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            if (!IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal)) {
                const auto* const entry =
                    reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
                visit(reinterpret_cast<const char*>(entry->Name), slot, isRuntime);
            }
        }
    }
}

void Put(void** slot, void* function)
{
    DWORD old = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &old);
    *slot = function;
    VirtualProtect(slot, sizeof *slot, old, &old);
}

}  // namespace

void ReplacedImports::Install()
{
    std::vector<std::pair<void**, void*>> fronts;
    std::size_t count = 0;
    VisitImports([&](const char*, void**, bool) { ++count; });
    FrontWriter writer(count);
    VisitImports([&](const char* name, void** slot, bool isRuntime) {
        const SystemCall* const call = FindSystemCall(name);
        if (call == nullptr) {
            if (IsProductCall(name) && !isRuntime) {
                g_unknown.emplace_back(name);
            }
            return;
        }
        if (call->failing == Failing::ComString || call->failing == Failing::ComStringFreed) {
            fronts.emplace_back(slot, ComStringCall(name));
        } else if (call->failing != Failing::Never && (IsProductCall(name) || isRuntime)) {
            fronts.emplace_back(slot, writer.Write(g_replaced.size()));
            g_replaced.push_back({call, reinterpret_cast<AnyFunction>(*slot)});
        }
    });
    for (const auto& [slot, function] : fronts) {
        Put(slot, function);
    }
}

std::vector<std::string> ReplacedImports::Unknown()
{
    return g_unknown;
}

std::size_t ReplacedImports::CountThatFail()
{
    return g_replaced.size() + 3;  // and those that make COM strings
}

}  // namespace soak
