#pragma once

#include <chrono>

namespace soak
{

/// Measures from its making on.
class Stopwatch
{
  public:
    double Milliseconds() const
    {
        const std::chrono::duration<double, std::milli> spent = Clock::now() - m_start;
        return spent.count();
    }

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point m_start = Clock::now();
};

}  // namespace soak
