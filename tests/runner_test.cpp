// Browsers handled through the runner service: a real one, and ones that fail in every way.

#include <gmock/gmock.h>

#include "basicslib/StatusCode.h"
#include "pipeutils/PipeNames.h"
#include "runner/RunnerInstancesMgr.h"
#include "runner/RunnerProcess.h"
#include "tests/app_client.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/other_side.h"
#include "tests/resources.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

using testing::ElementsAre;
using testing::HasSubstr;

const std::string kPipe = Narrow(RunnerPipeName());

/// The results of Start, Terminate, GetProcessesByName, WaitForExit and GetInstancesByName.
static std::vector<int> AllResults(DWORD timeout, const ComString& text = L"p")
{
    RunnerProcess process(text, 1);
    Processes processes(1);
    Instances instances(1);
    std::vector<int> results = {
        process.Start(text, kNone, kNone, kNone, kNone, timeout), process.Terminate(timeout),
        process.GetProcessesByName(text, processes, timeout), process.WaitForExit(timeout),
        RunnerInstancesMgr().GetInstancesByName(instances, text, timeout)};
    EXPECT_TRUE(processes.empty());
    EXPECT_TRUE(instances.empty());
    return results;
}

TEST(RunnerFailures, StartAwaitsAnAbsentServiceAndTerminateABusyOne)
{
    EXPECT_THAT(AllResults(200), ElementsAre(-6, -1, -1, -1, -1));
    const NoHandleStaysOpen handles;
    RunnerProcess process;
    EXPECT_THAT(
        Elapsed([&] { EXPECT_EQ(process.Start(L"app", kNone, kNone, kNone, kNone, 1500), -6); }),
        Within(950, 1450))
        << "two thirds of the time, and one pause";
    EXPECT_EQ(process.Terminate(0), sTimeout) << "before any attempt";
    const BytePeer service(kPipe);
    const auto taken = BytePeer::Open(kPipe);
    EXPECT_THAT(AllResults(200), ElementsAre(-6, -3, -1, -1, -1));
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(process.Terminate(300), sTimeout); }), Within(280, 1500));
}

TEST(RunnerFailures, AnAnswerIsGivenTheTimeThatOpeningHasLeft)
{
    std::optional<OtherSide> service;
    const std::jthread late([&service] {
        Sleep(250);
        service.emplace(OtherSide::Pipes::kRunnerOnly).Next(Stage::kStart, [](Turn& turn) {
            Sleep(50);
            return turn.peer.Write(turn.answer);
        });
    });
    const LogCapture log;
    EXPECT_EQ(RunnerProcess().Start(L"app", kNone, kNone, kNone, kNone, 10000), sOk);
    const auto pauses = log.Count(kDebug + "[RemotePipeClient::OpenPipe] " + kPipe) - 1;
    EXPECT_LE(g_imports.lastWait, 10000 - 50 * pauses);
}

TEST(RunnerFailures, ARequestThatIsNotTakenInTimeIsATimeout)
{
    const PeerHost deaf(kPipe, 5, [](BytePeer& client) { client.Hold(); });
    EXPECT_THAT(AllResults(300, ToComString(std::wstring(4000, L'n'))), testing::Each(sTimeout));
}

TEST(RunnerRequests, CarryWhatTheyAreAboutAndAFailedStartKeepsItsKeyAndId)
{
    OtherSide service(OtherSide::Pipes::kRunnerOnly);
    RunnerProcess process;
    EXPECT_EQ(process.GetPid(), 0U);
    const auto start = [&process] {
        return process.Start(L"app", L"cmd", L"user", kNone, L"password", 1000);
    };
    service.Next(Stage::kStart,
                 OtherSide::Expects(Message(1, 0, "app", "cmd", "user", "", "password"),
                                    Message(2, 0, sFail, 99, "AB")));
    EXPECT_EQ(start(), sFail);
    service.Next(Stage::kTerminate, OtherSide::Expects(Message(3, 0, "AB"), Message(4, 0, sFail)));
    EXPECT_EQ(process.Terminate(1000), sFail);
    EXPECT_EQ(process.GetPid(), 99U);
    service.Next(Stage::kStart, [](Turn&) { return false; });
    EXPECT_EQ(start(), sRunnerNotReachable);
    for (const auto& [type, status] : {std::pair{12, +sRunnerNotReachable}, {4, +sFail}}) {
        service.Next(Stage::kStart, [type = type](Turn& turn) {
            return turn.peer.Write(Message(type, turn.id, sOk));
        });
        EXPECT_EQ(start(), status) << "an answer of no type, and of another one";
    }
    EXPECT_EQ(process.GetPid(), 99U) << "without a reply it is as it was";
    service.Next(Stage::kWaitForExit,
                 OtherSide::Expects(Message(5, 0, 1000, "AB"), Message(6, 0, sTimeout)));
    EXPECT_EQ(process.WaitForExit(1000), sTimeout);

    Processes listed;
    service.Next(Stage::kList,
                 OtherSide::Expects(Message(7, 0, "exe"), Message(8, 0, 1, 2, 11, "C", 22, "D")));
    EXPECT_EQ(process.GetProcessesByName(L"exe", listed, 1000), sOk);
    ASSERT_EQ(listed.size(), 2U);
    EXPECT_EQ(listed[1]->GetPid(), 22U);
    service.Next(Stage::kTerminate, OtherSide::Expects(Message(3, 0, "D"), Message(4, 0, sOk)));
    EXPECT_EQ(listed[1]->Terminate(1000), sOk);
}

TEST(RunnerInstances, InstancesAreAskedInTheOrderOfTheReply)
{
    OtherSide service(OtherSide::Pipes::kRunnerOnly);
    service.Next(Stage::kList, OtherSide::Expects(Message(9, 0, "talvern.exe"),
                                                  Message(10, 0, 1, 3, 11, "1", 0x80000003, 22, "2",
                                                          5, 33, "3", 6)));
    const std::string names[] = {R"(\\.\pipe\Talvern_-2147483645)", R"(\\.\pipe\Talvern_5)",
                                 R"(\\.\pipe\Talvern_6)"};
    const auto answering = [](int status) {
        return [status](BytePeer& client) {
            for (Bytes command; client.Read(command);) {
                client.Write(Message(Fields(command).Number(), status, ""));
            }
        };
    };
    const PeerHost refuses(names[0], 1, answering(sFail));
    const PeerHost accepts(names[1], 1, answering(sOk));
    const PeerHost third(names[2], 1, answering(sOk));
    const LogCapture log;
    AppClient app;
    ASSERT_EQ(app.Init("-runner", false, 20), sOk);
    const std::string open = kDebug + "[RemotePipeClient::OpenPipe] ";
    EXPECT_THAT(log.Lines(open), ElementsAre(open + kPipe, open + names[0], open + names[1]));
    EXPECT_EQ(app.Play("m"), sOk);
    service.Next(Stage::kWaitForExit, [](Turn&) { return false; });
    service.Next(Stage::kTerminate, OtherSide::Expects(Message(3, 0, "2"), Message(4, 0, -9)));
    EXPECT_EQ(app.Exit(), -9) << "awaited and then terminated through the service";
}

TEST(RunnerInstances, AreListedForAQuarterOfTheTimeHoweverManyThereAre)
{
    OtherSide service(OtherSide::Pipes::kRunnerOnly);
    const auto inits = [&service](LONG seconds, int code) {
        service.Next(Stage::kStart,
                     [code](Turn& turn) { return turn.peer.Write(Message(2, 0, code, 0, "")); });
        EXPECT_EQ(AppClient().Init("-runner", false, seconds), code)
            << "of the start that comes then";
    };
    service.Next(Stage::kList, &Hold);
    EXPECT_THAT(Elapsed([&] { inits(4, sInstancesCountLimitReached); }), Within(950, 1900));

    constexpr DWORD kCount = 20000;
    Bytes list = Words({4 * (5 + 3 * kCount), 10, 0, 1, kCount});
    for (DWORD number = 0; number < kCount; ++number) {
        const Bytes instance = Words({number, 0, number + 1});
        list.insert(list.end(), instance.begin(), instance.end());
    }
    service.Next(Stage::kList, [&list](Turn& turn) { return turn.peer.Write(list); });
    EXPECT_THAT(Elapsed([&] { inits(1, 4711); }), Within(400, 1250));
}

// ---- a real service

TEST(Runner, AScriptStartsAndAttachesThroughTheService)
{
    const auto service = Started("standins\\runner.exe");
    EXPECT_TRUE(Eventually([] { return WaitNamedPipeA(kPipe.c_str(), 1) != FALSE; }));
    AppClient app;
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
    EndBrowsers();
}

}  // namespace tvn::tests
