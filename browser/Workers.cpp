#include "browser/Workers.h"

#include <chrono>

#include "basicslib/Log.h"
#include "instance/RunApart.h"

namespace browser
{

void Workers::Run(const std::function<void()>& work)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_running;
    }
    const auto end = [this] {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_running;
        m_changed.notify_all();
    };
    if (!instance::RunApart([=] {
            work();
            end();
        })) {
        tvn::LogError("There is no thread for a command");
        end();
    }
}

void Workers::WaitForAll(unsigned int timeout)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, std::chrono::milliseconds(timeout), [this] { return m_running == 0; });
}

}  // namespace browser
