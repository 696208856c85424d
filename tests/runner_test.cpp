// Browsers handled through the runner service: a real one, and ones that fail in every way.

#include <gmock/gmock.h>

#include <thread>

#include "basicslib/StatusCode.h"
#include "pipeutils/PipeNames.h"
#include "process/Instance.h"
#include "runner/RunnerInstancesMgr.h"
#include "runner/RunnerProcess.h"
#include "runner/RunnerProcessFactory.h"
#include "tests/attached_app.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/resources.h"
#include "tests/scripted_peer.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

using testing::ElementsAre;
using testing::HasSubstr;
using Instances = std::vector<boost::shared_ptr<Instance>>;
using Results = std::vector<int>;

const std::string kPipe = Narrow(RunnerPipeName());

const auto kStart = Asks(1, "app", "cmd", "", "", "");

static int Start(IProcess& process, DWORD timeout)
{
    return process.Start(L"app", L"cmd", kNone, kNone, kNone, timeout);
}

/// The results of Start, Terminate, GetProcessesByName, WaitForExit and GetInstancesByName.
static Results AllResults(DWORD timeout)
{
    RunnerProcess process;
    Processes processes(1);
    Instances instances(1);
    Results results = {Start(process, timeout), process.Terminate(timeout),
                       process.GetProcessesByName(L"p", processes, timeout),
                       process.WaitForExit(timeout),
                       RunnerInstancesMgr().GetInstancesByName(instances, L"p", timeout)};
    EXPECT_TRUE(processes.empty());
    EXPECT_TRUE(instances.empty());
    return results;
}

TEST(RunnerFailures, StartAwaitsAnAbsentServiceAndTerminateABusyOne)
{
    EXPECT_THAT(AllResults(200), ElementsAre(-6, -1, -1, -1, -1));
    const NoHandleStaysOpen handles;
    RunnerProcess process;
    EXPECT_EQ(process.GetPid(), 0U);
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(Start(process, 1500), sRunnerNotReachable); }),
                Within(950, 1450))
        << "two thirds of the time, and one pause";
    EXPECT_EQ(process.Terminate(0), sTimeout) << "before any attempt";
    const ScriptedPeer service(kPipe);
    const auto taken = service.Client();
    EXPECT_THAT(AllResults(200), ElementsAre(-6, -3, -1, -1, -1));
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(process.Terminate(300), sTimeout); }), Within(280, 1500));
}

TEST(RunnerFailures, ARequestThatIsNotTakenInTimeIsATimeout)
{
    const PeerHost deaf(kPipe, 5, [](BytePeer& client) { client.Hold(); });
    const ComString longName = ToComString(std::wstring(4000, L'n'));
    RunnerProcess process(longName, 1);
    Processes processes;
    Instances instances;
    EXPECT_EQ(process.Start(longName, kNone, kNone, kNone, kNone, 300), sTimeout);
    EXPECT_EQ(process.Terminate(300), sTimeout);
    EXPECT_EQ(process.GetProcessesByName(longName, processes, 300), sTimeout);
    EXPECT_EQ(process.WaitForExit(300), sTimeout);
    EXPECT_EQ(RunnerInstancesMgr().GetInstancesByName(instances, longName, 300), sTimeout);
}

TEST(RunnerFailures, AFailedStartKeepsTheKeyAndTheIdOfItsReply)
{
    const ScriptedPeer service(kPipe, {{kStart, {Message(2, 0, sFail, 99, "AB")}},
                                       {Asks(3, "AB"), {Message(4, 0, sFail)}},
                                       {kStart, {}, 0, true}});
    RunnerProcess process;
    EXPECT_EQ(Start(process, 1000), sFail);
    EXPECT_EQ(process.Terminate(1000), sFail);
    EXPECT_EQ(process.GetPid(), 99U);
    EXPECT_EQ(Start(process, 1000), sRunnerNotReachable);
    EXPECT_EQ(process.GetPid(), 99U) << "without a reply it is as it was";
}

TEST(RunnerFailures, TheServicesCodesReachTheScript)
{
    AppClient app;
    EXPECT_EQ(app.Init("-runner", true, 1), sRunnerNotReachable);
    for (const int code : {+sInstancesCountLimitReached, 4711}) {
        const ScriptedPeer service(kPipe, {{testing::A<Bytes>(), {Message(2, 0, code, 0, "")}}});
        EXPECT_EQ(app.Init("", true, 5), code);
    }
    EXPECT_EQ(app.Texts(), "|");
}

TEST(RunnerInstances, InstancesAreAskedInTheOrderOfTheReply)
{
    const ScriptedPeer service(
        kPipe,
        {{Asks(9, "talvern.exe"),
          {Message(10, 0, 1, 3, 11, "1", 0x80000003, 22, "2", 0x80000002, 33, "3", 0x80000001)}},
         {AsksForExit("2", testing::_), {Message(6, 0, sTimeout)}},
         {Asks(3, "2"), {Message(4, 0, sOk)}}});
    const Bytes attach = Message(1, "tvnAuxAttachIfFree", "");
    const std::string names[] = {"\\\\.\\pipe\\Talvern_-2147483645",
                                 "\\\\.\\pipe\\Talvern_-2147483646",
                                 "\\\\.\\pipe\\Talvern_-2147483647"};
    const ScriptedPeer refuses(names[0], {{attach, {Message(1, sFail, "")}}});
    const ScriptedPeer accepts(names[1], {{attach, {Message(1, sOk, "")}},
                                          {Message(2, "PLAY", " -macro m "), {Message(2, sOk, "")}},
                                          {Message(3, "appEnd", ""), {Message(3, sOk, "")}}});
    const ScriptedPeer third(names[2]);
    const LogCapture log;
    AppClient app;
    ASSERT_EQ(app.Init("-runner", false, 20), sOk);
    const std::string open = kDebug + "[RemotePipeClient::OpenPipe] ";
    EXPECT_THAT(log.Lines(open), ElementsAre(open + kPipe, open + names[0], open + names[1]));
    EXPECT_EQ(app.Play("m"), sOk);
    EXPECT_EQ(app.Exit(), sOk) << "awaited and then terminated through the service";
}

TEST(RunnerInstances, InstancesAreListedForAQuarterOfTheTime)
{
    const ScriptedPeer service(
        kPipe, {{Asks(9, "talvern.exe")}, {testing::A<Bytes>(), {Message(2, 0, -7, 0, "")}}});
    AppClient app;
    int status = 0;
    EXPECT_THAT(Elapsed([&] { status = app.Init("-runner", false, 4); }), Within(950, 1900));
    EXPECT_EQ(status, sInstancesCountLimitReached) << "of the start that comes then";
}

TEST(RunnerInstances, AListOfAnyLengthHoldsNobody)
{
    constexpr DWORD kCount = 20000;
    Bytes list = Words({4 * (5 + 3 * kCount), 10, 0, 1, kCount});
    for (DWORD number = 0; number < kCount; ++number) {
        const Bytes instance = Words({number, 0, number + 1});
        list.insert(list.end(), instance.begin(), instance.end());
    }
    const ScriptedPeer service(kPipe, {{Asks(9, "talvern.exe"), {list}},
                                       {testing::A<Bytes>(), {Message(2, 0, -7, 0, "")}}});
    AppClient app;
    int status = 0;
    EXPECT_THAT(Elapsed([&] { status = app.Init("-runner", false, 1); }), Within(400, 1250));
    EXPECT_EQ(status, sInstancesCountLimitReached) << "of the start that comes then";
}

// ---- a real service

class Runner : public testing::Test
{
  protected:
    void Begin(const std::string& arguments = "")
    {
        EndBrowsers();
        service = Started("standins\\runner.exe", arguments);
        EXPECT_TRUE(Eventually([] { return WaitNamedPipeA(kPipe.c_str(), 1) != FALSE; }));
    }
    ~Runner() override { EndBrowsers(); }

    boost::shared_ptr<IProcess> service;
    AppClient app;
};

TEST_F(Runner, BrowsersAreStartedListedAwaitedAndEndedByTheirKeys)
{
    Begin();
    const ComString browser = (StandinFolder() + "\\talvern.exe").c_str();
    RunnerProcessFactory factory;
    const auto first = factory.NewProcess();
    const auto second = factory.NewProcess();
    EXPECT_EQ(first->Terminate(2000), sFail) << "an empty key names nothing";
    ASSERT_EQ(first->Start(browser, kNone, kNone, kNone, kNone, 10000), sOk);
    ASSERT_EQ(second->Start(browser, kNone, kNone, kNone, kNone, 10000), sOk);
    EXPECT_EQ(first->Start(L"C:\\none.exe", kNone, kNone, kNone, kNone, 10000), sFail);
    EXPECT_EQ(first->GetPid(), 0U);
    Instances instances;
    EXPECT_TRUE(Eventually([&] {
        factory.NewInstancesMgr()->GetInstancesByName(instances, L"talvern.exe", 5000);
        return instances.size() == 2;
    }));
    Processes processes;
    EXPECT_EQ(first->GetProcessesByName(L"talvern.exe", processes, 5000), sOk);
    ASSERT_EQ(processes.size(), 2U);
    EXPECT_EQ(second->WaitForExit(100), sTimeout);
    EXPECT_EQ(processes[1]->GetPid(), second->GetPid());
    EXPECT_EQ(processes[1]->Terminate(5000), sOk);
    EXPECT_EQ(second->WaitForExit(5000), sOk);
    EXPECT_EQ(std::minmax({instances[0]->process->GetPid(), instances[1]->process->GetPid()}),
              std::minmax({processes[0]->GetPid(), processes[1]->GetPid()}));
}

TEST_F(Runner, AScriptStartsAndAttachesThroughTheService)
{
    Begin();
    for (const char* options : {"-runner -fx", "-ie -runner"}) {
        ASSERT_EQ(app.Init(options), sOk);
        EXPECT_THAT(app.Played("!commandline"), HasSubstr("?authorizeAll=true&")) << options;
        EXPECT_EQ(app.Exit(), sOk);
    }
    const LogCapture log;
    ASSERT_EQ(app.Init("-runner"), sOk);
    EXPECT_THAT(app.Played("!commandline"),
                HasSubstr("talvern.exe  -runner -authorizeAll /pipeUuid="));
    app.Release();
    Sleep(500);  // the browser takes a moment to see that it has been let go
    AppClient next;
    ASSERT_EQ(next.Init("-runner", false), sOk);
    EXPECT_EQ(log.Lines(kTrace + "1 = createProcess(").size(), 1U);
    EXPECT_EQ(next.Exit(), sOk);
    EXPECT_TRUE(Running("talvern.exe").empty());
}

TEST_F(Runner, TheServiceHasALimitAndEndsABrowserThatDoesNotEnd)
{
    Begin("/limit=1");
    AppClient second;
    ASSERT_EQ(app.Init("-runner -standin=stay"), sOk);
    EXPECT_EQ(second.Init("-runner"), sInstancesCountLimitReached);
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(app.Exit(2), sOk); }), Within(900, 4000));
    EXPECT_TRUE(Eventually([] { return Running("talvern.exe").empty(); }));
    EXPECT_EQ(second.Init(), sOk);
    EXPECT_EQ(second.Exit(), sOk);
}

}  // namespace tvn::tests
