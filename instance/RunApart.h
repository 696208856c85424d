#pragma once

#include <functional>

namespace instance
{

/// Runs `work` on a thread of its own, which nobody waits for. False when there is no thread for
/// it. (The runtime's own detached threads can be gone before they are detached, which it does not
/// bear under load.)
bool RunApart(std::function<void()> work);

}  // namespace instance
