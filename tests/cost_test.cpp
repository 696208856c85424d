// What one play costs in calls of the platform and in blocks of memory. A number that grows fails
// the test; one that has shrunk is entered here, so that it stays.

#include <map>

#include "basicslib/StatusCode.h"
#include "tests/app_client.h"
#include "tests/imported_calls.h"

namespace tvn::tests
{

TEST(Costs, APlayCostsNoMoreThanItDid)
{
    const std::map<std::string, unsigned int> most = {
        {"GetLastError", 4},       {"GetOverlappedResult", 1},
        {"GetTickCount", 10},      {"MsgWaitForMultipleObjectsEx", 1},
        {"OutputDebugStringA", 5}, {"ReadFile", 3},
        {"SysStringLen", 1},       {"WideCharToMultiByte", 1},
        {"WriteFile", 1},          {"new", 8}};
    AppClient app;
    ASSERT_EQ(app.Init(), sOk);
    // The reply comes after the wait for it has begun, in every run.
    const _bstr_t macro = L"!wait 30\n!reply text";
    int status = 0;
    std::map<std::string, unsigned int> cost;
    for (int plays = 0; plays < 3; ++plays) {  // the first makes what is kept for later ones
        const ImportWatch watch;
        app.Get()->tvnPlay(macro, 20, reinterpret_cast<Status*>(&status));
        cost = watch.Calls();
    }
    EXPECT_EQ(status, sOk);
    for (const auto& [what, number] : cost) {
        const auto before = most.find(what);
        EXPECT_LE(number, before == most.end() ? 0 : before->second) << what;
    }
    app.Exit();
}

}  // namespace tvn::tests
