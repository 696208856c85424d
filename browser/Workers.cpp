#include "browser/Workers.h"

#include <windows.h>

#include <chrono>
#include <memory>
#include <utility>

#include "basicslib/Log.h"

namespace browser
{
namespace
{

using Work = std::function<void()>;

void CALLBACK RunWork(PTP_CALLBACK_INSTANCE instance, void* parameter)
{
    CallbackMayRunLong(instance);
    const std::unique_ptr<Work> work(static_cast<Work*>(parameter));
    (*work)();
}

}  // namespace

void Workers::Run(std::function<void()> work)
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
    auto owned = std::make_unique<Work>([work = std::move(work), end] {
        work();
        end();
    });
    // The pool keeps its threads: a new one for each play would take longer than a short play. Its
    // limit is out of reach: a client waits for each of its commands.
    if (TrySubmitThreadpoolCallback(&RunWork, owned.get(), nullptr)) {
        static_cast<void>(owned.release());  // now owned by the callback
    } else {
        tvn::LogError("A command is not run, because it cannot be queued");
        end();
    }
}

void Workers::WaitForAll(unsigned int timeout)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, std::chrono::milliseconds(timeout), [this] { return m_running == 0; });
}

}  // namespace browser
