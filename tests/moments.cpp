#include "tests/moments.h"

#include <boost/make_shared.hpp>

namespace tvn::tests
{

testing::Matcher<long long> Within(long long least, long long most)
{
    return testing::AllOf(testing::Ge(least), testing::Lt(most));
}

bool Eventually(const std::function<bool()>& condition)
{
    bool is = condition();
    for (const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
         !is && std::chrono::steady_clock::now() < end; is = condition()) {
        Sleep(20);
    }
    return is;
}

void CallLater(UINT delay, const std::function<void()>& action,
               const std::function<bool()>& condition)
{
    static std::function<bool()> isTime;
    static std::function<void()> later;
    isTime = condition;
    later = action;
    SetTimer(nullptr, 0, delay, [](HWND, UINT, UINT_PTR timer, DWORD) {
        if (isTime()) {
            KillTimer(nullptr, timer);
            later();
        }
    });
}

boost::shared_ptr<Handle> NewEvent(bool set)
{
    return boost::make_shared<Handle>(CreateEventA(nullptr, TRUE, set, nullptr));
}

}  // namespace tvn::tests
