#pragma once

#include <windows.h>

namespace tvn
{

/// An operation whose time has run out still takes what is there already, without waiting for it:
/// an answer that has come, an instance that is free. This is how many of these it takes, since
/// another side that keeps them coming must not keep it going.
inline constexpr unsigned int kStepsAfterTime = 64;

/// Spreads one time-out over the blocking steps of an operation: made at its start, asked before
/// each step for what is left. Belongs to the one operation that made it.
class TimeBudget
{
  public:
    /// `timeout` in milliseconds; INFINITE means no limit. The time runs from here.
    explicit TimeBudget(DWORD timeout) noexcept : m_start(GetTickCount()), m_timeout(timeout) {}

    /// Milliseconds left, 0 once they are spent; INFINITE stays INFINITE.
    DWORD Remaining() const noexcept
    {
        if (m_timeout == INFINITE) {
            return INFINITE;
        }
        // The difference is right across the wrap of the tick counter because it wraps likewise.
        const DWORD elapsed = GetTickCount() - m_start;
        return elapsed > m_timeout ? 0 : m_timeout - elapsed;
    }

  private:
    DWORD m_start;
    DWORD m_timeout;
};

}  // namespace tvn
