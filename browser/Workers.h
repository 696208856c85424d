#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

namespace browser
{

/// The commands that run on threads of the system's pool. Used by several threads; lives as long as
/// they run.
class Workers
{
  public:
    /// Runs `work`, which may take any time and must not throw, on another thread, soon.
    void Run(std::function<void()> work);

    /// Waits up to `timeout` milliseconds until nothing runs any more.
    void WaitForAll(unsigned int timeout);

  private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_running = 0;
};

}  // namespace browser
