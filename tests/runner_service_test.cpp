// The stand-in runner service: what it says when it cannot serve, whom it serves, and how long.

#include <windows.h>

#include <gmock/gmock.h>
#include <tlhelp32.h>

#include <boost/make_shared.hpp>

#include "basicslib/Exceptions.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"
#include "runner/RunnerMessages.h"
#include "runner/RunnerProtocol.h"
#include "tests/moments.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

class RunnerService : public testing::Test
{
  protected:
    RunnerService()
    {
        const std::string pipe = Narrow(RunnerPipeName());
        EXPECT_TRUE(Eventually([&] { return WaitNamedPipeA(pipe.c_str(), 1) != FALSE; }));
    }

    int CountThreads() const
    {
        const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
        THREADENTRY32 thread = {};
        thread.dwSize = sizeof thread;
        int count = 0;
        for (BOOL more = Thread32First(snapshot.Get(), &thread); more;
             more = Thread32Next(snapshot.Get(), &thread)) {
            count += thread.th32OwnerProcessID == service->GetPid() ? 1 : 0;
        }
        return count;
    }

    const boost::shared_ptr<IProcess> service = Started("standins\\runner.exe");
};

TEST_F(RunnerService, OneThatCannotServeEndsWithTheSentenceThatSaysWhy)
{
    const std::string unknown = "2|runner: unknown argument ";
    const std::string known = "; known: /limit=N, /keep=SECONDS\n";
    const std::pair<const char*, std::string> cases[] = {
        {"", "1|runner: the runner's pipe cannot be made; does another one run?\n"},
        {"/limits=1", unknown + "'/limits=1'" + known},
        {"/limit=1a", unknown + "'/limit=1a'" + known},
        {"/keep=", unknown + "'/keep='" + known},
    };
    for (const auto& [arguments, says] : cases) {
        EXPECT_EQ(Ran("\"" + kStandinFolder + "\\runner.exe\" " + arguments), says);
    }
}

TEST_F(RunnerService, ServesItsOwnAccountAndAWaitWithoutLimitEndsWithItsClient)
{
    const auto pipe = RemotePipeClient(RunnerPipeName()).OpenPipe(5000);
    EXPECT_EQ(AccountsOf(pipe->Get()), "D:P(A;;GA;;;own)(A;;GA;;;SY)(A;;GA;;;BA)");
    RunnerProtocol protocol(pipe->Get(), nullptr);
    const auto list = boost::make_shared<MsgGetProcessesByName>();
    list->processName = "runner.exe";
    protocol.WriteMsg(list, nullptr, 5000);
    boost::shared_ptr<BaseMsg> reply;
    protocol.ReadMsg(reply, 5000);
    const auto wait = boost::make_shared<MsgWaitForExit>();
    wait->processKey = static_cast<MsgGetProcessesByNameComplete&>(*reply).processKeys.at(0);
    wait->timeout = INFINITE;

    const int before = CountThreads();
    std::vector<boost::shared_ptr<Handle>> waiting;
    for (int round = 0; round < 5; ++round) {
        waiting.push_back(RemotePipeClient(RunnerPipeName()).OpenPipe(5000));
        RunnerProtocol(waiting.back()->Get(), nullptr).WriteMsg(wait, nullptr, 5000);
    }
    EXPECT_TRUE(Eventually([&] { return CountThreads() > before + 3; })) << CountThreads();
    waiting.clear();
    EXPECT_TRUE(Eventually([&] { return CountThreads() <= before; })) << CountThreads();
}

}  // namespace tvn::tests
