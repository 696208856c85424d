#pragma once

#include <windows.h>

#include <algorithm>
#include <new>

#include "soak/MessageShape.h"

namespace soak
{

/// Memory that ends at an inaccessible page, used again for every message: whoever reads past the
/// end of a message stops at that instruction.
class GuardedBuffer
{
  public:
    /// Room for `size` bytes, a multiple of the page size. Throws std::bad_alloc.
    explicit GuardedBuffer(std::size_t size) : m_size(size)
    {
        constexpr std::size_t kPage = 4096;
        void* const memory = VirtualAlloc(nullptr, size + kPage, MEM_RESERVE, PAGE_NOACCESS);
        if (memory == nullptr ||
            VirtualAlloc(memory, size, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
            throw std::bad_alloc();
        }
        m_bytes = static_cast<unsigned char*>(memory);
    }
    ~GuardedBuffer() { VirtualFree(m_bytes, 0, MEM_RELEASE); }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    /// A copy of `bytes` whose last one is the last that can be read, or the one before the last:
    /// the first lies where a character may lie. Valid until the next call.
    unsigned char* Place(const Bytes& bytes) noexcept
    {
        unsigned char* const first = m_bytes + (m_size - bytes.size() - bytes.size() % 2);
        std::copy(bytes.begin(), bytes.end(), first);
        return first;
    }

    std::size_t Size() const noexcept { return m_size; }

  private:
    unsigned char* m_bytes = nullptr;
    std::size_t m_size;
};

}  // namespace soak
