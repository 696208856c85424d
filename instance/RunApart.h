#pragma once

#include <functional>

namespace instance
{

/// Runs `work`, which may take as long as it likes, on a thread that it has for itself meanwhile
/// and that nobody waits for; the system's pool keeps it for the next. False when there is none.
/// (The runtime's own detached threads can be gone before they are detached, which it does not bear
/// under load.)
bool RunApart(std::function<void()> work);

}  // namespace instance
