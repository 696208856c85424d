#pragma once

#include <mutex>

namespace browser
{

/// Which play counts: the last one that was asked for, until it is given up. Used by several
/// threads.
class CurrentPlay
{
  public:
    /// A further play has come, or, without one, its client has gone: those before it are given up.
    /// Gives its number, and in `wasPlaying` whether one of them is to be stopped.
    unsigned int Next(bool& wasPlaying)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        wasPlaying = m_isPlaying;
        return ++m_last;
    }

    /// Whether the play with this number still counts. If so, it plays from here on.
    bool Begin(unsigned int number)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isPlaying = number == m_last;
        return m_isPlaying;
    }

    void End()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isPlaying = false;
    }

  private:
    std::mutex m_mutex;
    unsigned int m_last = 0;
    bool m_isPlaying = false;
};

}  // namespace browser
