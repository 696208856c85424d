#include "soak/OwnMemory.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <new>

#include "soak/FailurePoint.h"
#include "soak/ProductCall.h"

namespace soak
{
namespace
{

/// Stands in front of every block.
struct alignas(16) Header
{
    void* pages;  ///< of its own; a null pointer for a block of the heap
    std::size_t size;
    bool watched;
};

std::atomic<bool> g_ownPages{false};
std::atomic<std::ptrdiff_t> g_blocks{0};
std::atomic<std::ptrdiff_t> g_bytes{0};
std::atomic<std::size_t> g_largest{0};

void NoteLargest(std::size_t size) noexcept
{
    if (size > g_largest.load(std::memory_order_relaxed)) {
        g_largest = size;
    }
}

/// Addresses that are given out once only, each page of them.
constexpr std::size_t kPage = 4096;
constexpr std::size_t kAddresses = std::size_t{32} << 30U;
std::atomic<unsigned char*> g_nextPages{nullptr};

constexpr std::size_t PagesFor(std::size_t size)
{
    return (size + sizeof(Header) + kPage - 1) / kPage * kPage;
}

/// The header of a block that ends at an inaccessible page.
Header* NewPages(std::size_t size) noexcept
{
    const std::size_t whole = PagesFor(size);
    void* const pages = g_nextPages.fetch_add(static_cast<std::ptrdiff_t>(whole + kPage));
    if (VirtualAlloc(pages, whole, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        return nullptr;
    }
    const auto end = reinterpret_cast<std::uintptr_t>(pages) + whole;
    const auto block = (end - size) & ~(alignof(Header) - 1);
    auto* const header = reinterpret_cast<Header*>(block) - 1;
    header->pages = pages;
    return header;
}

void* Allocate(std::size_t size)
{
    const bool watched = ProductCall::IsInside();
    Header* header = nullptr;
    if (!FailurePoint::Strikes("operator new", true)) {
        if (g_ownPages.load(std::memory_order_relaxed)) {
            header = NewPages(size);
        } else {
            header = static_cast<Header*>(HeapAlloc(GetProcessHeap(), 0, size + sizeof(Header)));
            if (header != nullptr) {
                header->pages = nullptr;
            }
        }
    }
    if (header == nullptr) {
        throw std::bad_alloc();
    }
    header->size = size;
    header->watched = watched;
    if (watched) {
        ++g_blocks;
        g_bytes += static_cast<std::ptrdiff_t>(size);
        NoteLargest(size);
    }
    return header + 1;
}

void Free(void* memory) noexcept
{
    if (memory == nullptr) {
        return;
    }
    Header* const header = static_cast<Header*>(memory) - 1;
    if (header->watched) {
        --g_blocks;
        g_bytes -= static_cast<std::ptrdiff_t>(header->size);
    }
    if (header->pages == nullptr) {
        HeapFree(GetProcessHeap(), 0, header);
    } else {
        VirtualFree(header->pages, PagesFor(header->size), MEM_DECOMMIT);
    }
}

}  // namespace

OwnMemory::Figures OwnMemory::Watched() noexcept
{
    return {g_blocks, g_bytes, g_largest};
}

void OwnMemory::ForgetLargest() noexcept
{
    g_largest = 0;
}

void OwnMemory::SetPagesOfTheirOwn(bool on) noexcept
{
    if (on && g_nextPages == nullptr) {
        g_nextPages = static_cast<unsigned char*>(
            VirtualAlloc(nullptr, kAddresses, MEM_RESERVE, PAGE_NOACCESS));
    }
    g_ownPages = on;
}

void OwnMemory::NoteComString(std::ptrdiff_t count, std::size_t size) noexcept
{
    if (ProductCall::IsInside()) {
        g_blocks += count;
        NoteLargest(size);
    }
}

}  // namespace soak

void* operator new(std::size_t size)
{
    return soak::Allocate(size);
}

void operator delete(void* memory) noexcept
{
    soak::Free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    soak::Free(memory);
}
