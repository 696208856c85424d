#include "tests/resources.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <winternl.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <new>
#include <thread>

#include "basicslib/Exceptions.h"
#include "pipeutils/WaitPumping.h"
#include "tests/imported_calls.h"
#include "tests/moments.h"

namespace tvn::tests
{

std::size_t g_largestAllocation = 0;
std::size_t g_allocatedBytes = 0;

namespace
{

/// Every block has addresses of its own, which are not used again, and lies right before an
/// inaccessible page.
class GuardedPages
{
  public:
    void Reserve()
    {
        if (m_start == 0) {
            m_start = Address(VirtualAlloc(nullptr, kCount * kPage, MEM_RESERVE, PAGE_NOACCESS));
        }
    }

    bool Contains(const void* memory) const
    {
        return m_start != 0 && Address(memory) - m_start < kCount * kPage;
    }

    void* Allocate(std::size_t size)
    {
        const std::size_t pages = std::max<std::size_t>(1, (size + kPage - 1) / kPage);
        const std::size_t first = m_next.fetch_add(pages + 1);
        if (first + pages >= kCount) {
            return nullptr;
        }
        auto* block =
            static_cast<char*>(VirtualAlloc(At(first), pages * kPage, MEM_COMMIT, PAGE_READWRITE));
        return block + pages * kPage - (size + kAlignment - 1) / kAlignment * kAlignment;
    }

    void Free(void* memory)
    {
        MEMORY_BASIC_INFORMATION block = {};
        VirtualQuery(memory, &block, sizeof block);
        VirtualFree(block.BaseAddress, block.RegionSize, MEM_DECOMMIT);
    }

  private:
    static constexpr std::size_t kPage = 0x1000;
    static constexpr std::size_t kCount = 0x800000;
    static constexpr std::size_t kAlignment = 16;

    static std::size_t Address(const void* memory) { return reinterpret_cast<std::size_t>(memory); }
    void* At(std::size_t page) const { return reinterpret_cast<void*>(m_start + page * kPage); }

    std::size_t m_start = 0;
    std::atomic<std::size_t> m_next = 0;
};

constinit GuardedPages g_pages;
constinit std::atomic<bool> g_guarding = false;

LONG CALLBACK SeeTouch(EXCEPTION_POINTERS* exception)
{
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    auto* const touched = reinterpret_cast<void*>(record.ExceptionInformation[1]);
    if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && g_pages.Contains(touched)) {
        std::puts("memory was touched that had been freed, or behind its end");
        std::fflush(stdout);
        TerminateProcess(GetCurrentProcess(), 1);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace
}  // namespace tvn::tests

void* operator new(std::size_t size)
{
    using tvn::tests::g_largestAllocation;
    g_largestAllocation = std::max(g_largestAllocation, size);
    tvn::tests::g_allocatedBytes += size;
    void* memory = nullptr;
    if (!tvn::tests::BlockFails(size)) {
        memory = tvn::tests::g_guarding ? tvn::tests::g_pages.Allocate(size)
                                        : HeapAlloc(GetProcessHeap(), 0, size);
    }
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    if (memory == nullptr) {
        return;
    }
    const bool isGuarded = tvn::tests::g_pages.Contains(memory);
    tvn::tests::BlockIsFreed(isGuarded ? 0 : HeapSize(GetProcessHeap(), 0, memory));
    if (isGuarded) {
        tvn::tests::g_pages.Free(memory);
    } else {
        HeapFree(GetProcessHeap(), 0, memory);
    }
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    operator delete(memory);
}

namespace tvn::tests
{

FreedMemoryIsGone::FreedMemoryIsGone() : m_handler(AddVectoredExceptionHandler(1, &SeeTouch))
{
    g_pages.Reserve();
    g_guarding = true;
}

FreedMemoryIsGone::~FreedMemoryIsGone()
{
    g_guarding = false;
    RemoveVectoredExceptionHandler(m_handler);
}

static bool IsCounted(HANDLE handle)
{
    static const auto query = reinterpret_cast<decltype(&NtQueryObject)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("ntdll"), "NtQueryObject")));
    alignas(PUBLIC_OBJECT_TYPE_INFORMATION) char type[512];
    if (query(handle, ObjectTypeInformation, type, sizeof type, nullptr) != 0) {
        return false;
    }
    const std::wstring name =
        reinterpret_cast<PUBLIC_OBJECT_TYPE_INFORMATION*>(type)->TypeName.Buffer;
    return name != L"Event" && name != L"Semaphore";
}

std::ptrdiff_t CountHandles()
{
    // What the runtime opens once, for the first thread, debug line, exception and wait, is not
    // counted.
    static const DWORD opened = [] {
        std::thread([] { OutputDebugStringA(""); }).join();
        EXPECT_THROW(throw InvalidOperationException(), BaseException);
        return WaitPumping(NewEvent(true)->Get(), 0);
    }();
    EXPECT_EQ(opened, 0U);
    // Not every platform counts handles, so each possible value is asked for.
    std::ptrdiff_t count = 0;
    for (ULONG_PTR value = 4; value < 0x1000; value += 4) {
        count += IsCounted(reinterpret_cast<HANDLE>(value));
    }
    return count;
}

NoHandleStaysOpen::NoHandleStaysOpen() : m_before(CountHandles())
{
    // What a thread that ends still holds for a moment does not count.
    for (int rounds = 0; rounds < 2; ++rounds) {
        Sleep(10);
        m_before = std::min(m_before, CountHandles());
    }
}

NoHandleStaysOpen::~NoHandleStaysOpen()
{
    // Threads and other processes take a moment to close theirs.
    EXPECT_TRUE(Eventually([this] { return CountHandles() == m_before; }))
        << CountHandles() - m_before << " handles more than before";
}

}  // namespace tvn::tests
