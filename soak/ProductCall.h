#pragma once

#include <windows.h>

#include <atomic>

namespace soak
{

/// Lives while the calling thread is in the product's code: what that thread allocates and calls
/// then is the product's. One thread at a time is told apart; of several, the last that entered.
class ProductCall
{
  public:
    ProductCall() noexcept { s_thread = GetCurrentThreadId(); }
    ~ProductCall() { s_thread = 0; }
    ProductCall(const ProductCall&) = delete;
    ProductCall& operator=(const ProductCall&) = delete;

    /// Whether the calling thread is that thread.
    static bool IsInside() noexcept
    {
        return s_thread.load(std::memory_order_relaxed) == GetCurrentThreadId();
    }

  private:
    static inline std::atomic<DWORD> s_thread{0};
};

}  // namespace soak
