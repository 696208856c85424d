#pragma once

#include <windows.h>

namespace tvn
{

/// An operation that has timed out still takes what is available without waiting: a reply that has
/// arrived, an instance that is free. This limits how many of these it takes, so that a peer that
/// keeps sending cannot keep the operation running.
inline constexpr unsigned int kStepsAfterTime = 64;

/// Spreads one time-out over the blocking steps of an operation: created at its start, asked for
/// the time left before each step. Used by that one operation only.
class TimeBudget
{
  public:
    /// `timeout` in milliseconds; INFINITE means no limit. The time starts now.
    explicit TimeBudget(DWORD timeout) noexcept : m_start(GetTickCount()), m_timeout(timeout) {}

    /// Milliseconds left, 0 after the time-out; INFINITE stays INFINITE.
    DWORD Remaining() const noexcept
    {
        if (m_timeout == INFINITE) {
            return INFINITE;
        }
        // Unsigned subtraction stays correct when the tick counter wraps around.
        const DWORD elapsed = GetTickCount() - m_start;
        return elapsed > m_timeout ? 0 : m_timeout - elapsed;
    }

  private:
    DWORD m_start;
    DWORD m_timeout;
};

}  // namespace tvn
