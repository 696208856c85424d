// When things happen: durations, events, and what is to come later.
#pragma once

#include <windows.h>

#include <gmock/gmock.h>

#include <boost/shared_ptr.hpp>
#include <chrono>
#include <functional>

#include "basicslib/Handle.h"

namespace tvn::tests
{

/// Milliseconds that `work` takes.
template <class Work>
long long Elapsed(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return (std::chrono::steady_clock::now() - start) / std::chrono::milliseconds(1);
}

/// Matches from `least` to below `most`.
testing::Matcher<long long> Within(long long least, long long most);

/// Repeats `condition` until it is true; false when it is not after some seconds.
bool Eventually(const std::function<bool()>& condition);

/// Calls `action` from a message that this thread dispatches after `delay` milliseconds, and not
/// before `condition` is true. One at a time.
void CallLater(
    UINT delay, const std::function<void()>& action,
    const std::function<bool()>& condition = [] { return true; });

boost::shared_ptr<Handle> NewEvent(bool set = false);

}  // namespace tvn::tests
