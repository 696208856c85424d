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
    for (int tries = 0; tries < 500 && !condition(); ++tries) {
        Sleep(20);
    }
    return condition();
}

void CallLater(UINT delay, const std::function<void()>& action)
{
    static std::function<void()> later;
    later = action;
    SetTimer(nullptr, 0, delay, [](HWND, UINT, UINT_PTR timer, DWORD) {
        KillTimer(nullptr, timer);
        later();
    });
}

boost::shared_ptr<Handle> NewEvent(bool set)
{
    return boost::make_shared<Handle>(CreateEventA(nullptr, TRUE, set, nullptr));
}

}  // namespace tvn::tests
