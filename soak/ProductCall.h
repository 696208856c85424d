#pragma once

#include <windows.h>

#include <atomic>

namespace soak
{

/// Lives while the calling thread is in the product's code: what that thread allocates and calls
/// then is the product's. One thread at a time is told apart; of several, the last that entered.
/// May be nested.
class ProductCall
{
  public:
    ProductCall() noexcept : m_before(s_thread.exchange(GetCurrentThreadId())) {}
    ~ProductCall() { s_thread = m_before; }
    ProductCall(const ProductCall&) = delete;
    ProductCall& operator=(const ProductCall&) = delete;

    /// Lives while that thread is back in this program's own code, in a message that the product
    /// dispatches.
    class Pause
    {
      public:
        Pause() noexcept : m_before(s_thread.exchange(0)) {}
        ~Pause() { s_thread = m_before; }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

      private:
        DWORD m_before;
    };

    /// Whether the calling thread is that thread.
    static bool IsInside() noexcept
    {
        return s_thread.load(std::memory_order_relaxed) == GetCurrentThreadId();
    }

  private:
    static inline std::atomic<DWORD> s_thread{0};

    DWORD m_before;
};

}  // namespace soak
