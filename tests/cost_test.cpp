// What one play and one start cost in calls of the platform and in blocks of memory. A number that
// grows fails its test, which then prints the table as it is; one that has shrunk is entered here,
// so that it stays.

#include <map>
#include <sstream>

#include "basicslib/StatusCode.h"
#include "tests/app_client.h"
#include "tests/imported_calls.h"
#include "tests/resources.h"

namespace tvn::tests
{

using Cost = std::map<std::string, std::size_t>;

const char* const kPlay =
    "BlocksOfMemory 3 GetLastError 6 GetOverlappedResult 1 GetTickCount 8 "
    "MsgWaitForMultipleObjectsEx 1 OutputDebugStringA 5 ReadFile 3 SysStringLen 1 "
    "WideCharToMultiByte 1 WriteFile 1";
const char* const kStart =
    "BlocksOfMemory 39 CancelIo 1 CloseHandle 5 ConnectNamedPipe 1 CreateEventA 4 "
    "CreateFileA 1 CreateNamedPipeA 1 CreateProcessA 1 DuplicateHandle 1 GetCurrentProcess 2 "
    "GetCurrentThreadId 6 GetLastError 15 GetOverlappedResult 2 GetTickCount 16 "
    "InitializeSecurityDescriptor 1 MsgWaitForMultipleObjectsEx 3 MultiByteToWideChar 10 "
    "OutputDebugStringA 14 ReadFile 6 RegCloseKey 1 RegOpenKeyExA 1 RegQueryValueExA 2 "
    "RpcStringFreeW 2 SetNamedPipeHandleState 1 SetSecurityDescriptorDacl 1 SysAllocString 1 "
    "SysAllocStringByteLen 1 SysAllocStringLen 6 SysFreeString 7 SysStringLen 11 "
    "UuidCreate 2 UuidToStringW 2 WideCharToMultiByte 21 WriteFile 1";

template <class Work>
static Cost CostOf(Work work)
{
    const ImportWatch watch;
    g_allocations = 0;
    work();
    Cost cost = {{"BlocksOfMemory", g_allocations}};
    for (const auto& [import, calls] : watch.Calls()) {
        cost[import] = calls;
    }
    return cost;
}

static void ExpectAtMost(const Cost& cost, const char* table)
{
    Cost most;
    std::istringstream words(table);
    for (std::string what; words >> what;) {
        words >> most[what];
    }
    std::string now;
    std::string grown;
    for (const auto& [what, number] : cost) {
        now += what + " " + std::to_string(number) + " ";
        if (number > most[what]) {
            grown += what + " is more than " + std::to_string(most[what]) + "\n";
        }
    }
    EXPECT_EQ(grown, "") << "The whole table is now:\n" << now;
}

class Costs : public testing::Test
{
  protected:
    ~Costs() override { app.Exit(); }

    int Start()
    {
        app.Get()->tvnInit(none, VARIANT_TRUE, none, none, none, 20, result);
        return status;
    }

    AppClient app;
    const _variant_t none = AppClient::LeftOut();
    int status = 0;
    Status* const result = reinterpret_cast<Status*>(&status);
};

TEST_F(Costs, APlayCostsNoMoreThanItDid)
{
    // The reply comes after the wait for it has begun, in every run.
    const _bstr_t macro = L"!wait 30\n!reply text";
    ASSERT_EQ(Start(), sOk);
    for (int plays = 0; plays < 2; ++plays) {
        app.Get()->tvnPlay(macro, 20, result);  // makes what is kept for later plays
    }
    const Cost cost = CostOf([&] { app.Get()->tvnPlay(macro, 20, result); });
    EXPECT_EQ(status, sOk);
    ExpectAtMost(cost, kPlay);
}

TEST_F(Costs, AStartCostsNoMoreThanItDid)
{
    ASSERT_EQ(Start(), sOk);  // so that what is made once is there
    EXPECT_EQ(app.Exit(), sOk);
    const Cost cost = CostOf([&] { Start(); });
    EXPECT_EQ(status, sOk);
    ExpectAtMost(cost, kStart);
}

}  // namespace tvn::tests
