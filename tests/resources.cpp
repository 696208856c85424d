#include "tests/resources.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <thread>

#include "basicslib/Exceptions.h"
#include "pipeutils/WaitPumping.h"
#include "tests/moments.h"

namespace tvn::tests
{
std::size_t g_largestAllocation = 0;
}

void* operator new(std::size_t size)
{
    tvn::tests::g_largestAllocation = std::max(tvn::tests::g_largestAllocation, size);
    void* memory = HeapAlloc(GetProcessHeap(), 0, size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    HeapFree(GetProcessHeap(), 0, memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    HeapFree(GetProcessHeap(), 0, memory);
}

namespace tvn::tests
{

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
    // The system's own count is not there on every platform: every value in use answers. What a
    // thread that ends still holds for a moment does not count.
    std::ptrdiff_t least = PTRDIFF_MAX;
    for (int rounds = 0; rounds < 3; ++rounds, Sleep(10)) {
        std::ptrdiff_t count = 0;
        for (ULONG_PTR value = 4; value < 0x2000; value += 4) {
            DWORD flags = 0;
            count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags);
        }
        least = std::min(least, count);
    }
    return least;
}

NoHandleStaysOpen::~NoHandleStaysOpen()
{
    // Threads and other processes take a moment to let go.
    EXPECT_TRUE(Eventually([this] { return CountHandles() == m_before; }))
        << CountHandles() - m_before << " handles more than before";
}

}  // namespace tvn::tests
