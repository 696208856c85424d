#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

namespace browser
{

/// The commands that run on threads of their own. Used by several threads; lives as long as they.
class Workers
{
  public:
    /// Runs `work` on a thread of its own, soon. It must not throw.
    void Run(const std::function<void()>& work);

    /// Waits up to `timeout` milliseconds until nothing runs any more.
    void WaitForAll(unsigned int timeout);

  private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_running = 0;
};

}  // namespace browser
