#pragma once

#include <functional>

namespace instance
{

/// Runs `work`, which may take any time and must not throw, on a thread of its own that nobody
/// waits for. False when no thread can be created. (`std::thread::detach` races with a thread that
/// has already ended; the system's thread pool is limited to 500 threads and does not report when
/// none is left.)
bool RunApart(std::function<void()> work);

}  // namespace instance
