#pragma once

#include <functional>

namespace instance
{

/// Runs `work`, which may take as long as it likes and throws nothing, on a thread of its own that
/// nobody waits for. False when there is none. (`std::thread::detach` races with a thread that has
/// already ended; the system's pool has 500 threads and does not say when none is left.)
bool RunApart(std::function<void()> work);

}  // namespace instance
