// The pipe, the keys and the waits of the stand-in runner service.

#include <windows.h>

#include <gmock/gmock.h>
#include <tlhelp32.h>

#include <boost/make_shared.hpp>

#include "basicslib/Exceptions.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"
#include "runner/RunnerMessages.h"
#include "runner/RunnerProcess.h"
#include "runner/RunnerProtocol.h"
#include "tests/moments.h"
#include "tests/pipe_accounts.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

static int CountThreads(DWORD pid)
{
    const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 thread = {};
    thread.dwSize = sizeof thread;
    int count = 0;
    for (BOOL more = Thread32First(snapshot.Get(), &thread); more;
         more = Thread32Next(snapshot.Get(), &thread)) {
        count += thread.th32OwnerProcessID == pid ? 1 : 0;
    }
    return count;
}

class RunnerService : public testing::Test
{
  protected:
    ~RunnerService() override { EndBrowsers(); }

    static boost::shared_ptr<IProcess> Service(const std::string& arguments = "")
    {
        auto service = Started("standins\\runner.exe", arguments);
        const std::string pipe = Narrow(RunnerPipeName());
        EXPECT_TRUE(Eventually([&] { return WaitNamedPipeA(pipe.c_str(), 1) != FALSE; }));
        return service;
    }

    static int StartBrowser(RunnerProcess& process)
    {
        const ComString path = (StandinFolder() + "\\talvern.exe").c_str();
        return process.Start(path, kNone, kNone, kNone, kNone, 10000);
    }
};

TEST_F(RunnerService, OneThatCannotServeEndsWithTheSentenceThatSaysWhy)
{
    const auto service = Service();
    const std::string unknown = "2|runner: unknown argument ";
    const std::string known = "; known: /limit=N, /keep=SECONDS\n";
    const std::pair<const char*, std::string> cases[] = {
        {"", "1|runner: the runner's pipe cannot be made; does another one run?\n"},
        {"/limits=1", unknown + "'/limits=1'" + known},
        {"/limit=1a", unknown + "'/limit=1a'" + known},
        {"/keep=", unknown + "'/keep='" + known},
    };
    for (const auto& [arguments, says] : cases) {
        EXPECT_EQ(Ran("\"" + StandinFolder() + "\\runner.exe\" " + arguments), says);
    }
}

TEST_F(RunnerService, ServesItsOwnAccountAndNobodyWhoSendsAnAnswer)
{
    const auto service = Service();
    const auto pipe = RemotePipeClient(RunnerPipeName()).OpenPipe(5000);
    EXPECT_EQ(AccountsOf(pipe->Get()), "own 10000000, system 10000000, administrators 10000000");
    RunnerProtocol protocol(pipe->Get(), nullptr);
    boost::shared_ptr<BaseMsg> message = boost::make_shared<MsgStartComplete>(1U);
    protocol.WriteMsg(message, nullptr, 5000);
    EXPECT_THROW(protocol.ReadMsg(message, 5000), ReadPipeError);
}

TEST_F(RunnerService, AWaitWithoutLimitEndsWithItsClient)
{
    const auto service = Service();
    const auto start = boost::make_shared<MsgStart>();
    start->appPath = (StandinFolder() + "\\talvern.exe").c_str();
    const auto wait = boost::make_shared<MsgWaitForExit>();
    wait->timeout = INFINITE;
    {
        const auto pipe = RemotePipeClient(RunnerPipeName()).OpenPipe(5000);
        RunnerProtocol protocol(pipe->Get(), nullptr);
        protocol.WriteMsg(start, nullptr, 5000);
        boost::shared_ptr<BaseMsg> reply;
        protocol.ReadMsg(reply, 5000);
        wait->processKey = static_cast<const MsgStartComplete&>(*reply).processKey;
    }
    std::vector<boost::shared_ptr<Handle>> waiting;
    const auto threads = [pid = service->GetPid()] {
        return CountThreads(pid);
    };
    ASSERT_TRUE(Eventually([&] { return threads() <= 2; })) << threads();
    for (int round = 0; round < 5; ++round) {
        waiting.push_back(RemotePipeClient(RunnerPipeName()).OpenPipe(5000));
        RunnerProtocol(waiting.back()->Get(), nullptr).WriteMsg(wait, nullptr, 5000);
    }
    EXPECT_TRUE(Eventually([&] { return threads() == 7; })) << threads();
    waiting.clear();
    EXPECT_TRUE(Eventually([&] { return threads() <= 2; })) << threads();
    EXPECT_EQ(Running("talvern.exe").size(), 1U);
}

TEST_F(RunnerService, AKeyNamesNothingInALaterRunAndIsForgottenAfterItsProcess)
{
    auto service = Service();
    RunnerProcess earlier;
    ASSERT_EQ(StartBrowser(earlier), sOk);
    service.reset();
    service = Service("/keep=1");
    RunnerProcess later;
    ASSERT_EQ(StartBrowser(later), sOk);
    EXPECT_EQ(earlier.Terminate(5000), sFail);
    EXPECT_EQ(later.WaitForExit(0), sTimeout) << "it was not ended in the other one's place";
    EXPECT_EQ(later.Terminate(5000), sOk);
    EXPECT_EQ(later.WaitForExit(5000), sOk);
    EXPECT_EQ(later.WaitForExit(5000), sOk) << "its end may be asked for again";
    Sleep(1500);
    EXPECT_EQ(later.WaitForExit(5000), sFail);
}

}  // namespace tvn::tests
