#pragma once

#include <windows.h>

namespace tvn
{

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
        if (!HasLimit()) {
            return INFINITE;
        }
        // The difference is right across the wrap of the tick counter because it wraps likewise.
        const DWORD elapsed = GetTickCount() - m_start;
        return elapsed > m_timeout ? 0 : m_timeout - elapsed;
    }

    /// False for INFINITE, which never runs out.
    bool HasLimit() const noexcept { return m_timeout != INFINITE; }

  private:
    DWORD m_start;
    DWORD m_timeout;
};

}  // namespace tvn
