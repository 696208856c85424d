// Browsers handled through the runner service: a real one, and ones that fail in every way.

#include <map>
#include <mutex>

#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/PipeNames.h"
#include "runner/RunnerInstancesMgr.h"
#include "runner/RunnerMessages.h"
#include "runner/RunnerProcess.h"
#include "runner/RunnerProcessFactory.h"
#include "standins/PipeListener.h"
#include "tests/support.h"

namespace tvn::tests
{

const std::string kPipe = Narrow(RunnerPipeName());

/// Makes a pipe and serves it as long as the process lasts; a client that goes away is no failure.
static void Serve(const std::string& pipe, const std::function<void(HANDLE)>& session)
{
    auto* listener = new standins::PipeListener(pipe, [session](const auto& end) {
        try {
            session(end->Get());
        } catch (const PipeException&) {
            // the client has closed the connection
        }
    });
    EXPECT_TRUE(listener->Start());
}

/// The fields of the last request of each type behind its id.
static std::map<std::uint32_t, Bytes> g_asked;

/// From now on the service answers a request with the bytes for its type, or for type 0, if there
/// are any, and keeps the connection until the client closes it. A type of 0 in the bytes stands
/// for the one that the request's own answer has.
static void Answer(const std::map<std::uint32_t, Bytes>& replies, bool keepOpen = true)
{
    static std::mutex mutex;
    static std::map<std::uint32_t, Bytes> answers;
    static bool waits;
    const std::lock_guard<std::mutex> lock(mutex);
    if (answers.empty()) {
        Serve(kPipe, [](HANDLE pipe) {
            BaseProtocol protocol(pipe, nullptr);
            DWORD size = 0;
            MessageBuffer fields;
            protocol.ReadMessage(size, fields, 5000);
            const std::unique_lock<std::mutex> own(mutex);
            const unsigned char type = fields.get()[0];
            g_asked[type] = Bytes(fields.get() + 8, fields.get() + size - 4);
            Bytes bytes = answers[answers.contains(type) ? type : 0];
            if (!bytes.empty()) {
                bytes[4] = bytes[4] == 0 ? static_cast<unsigned char>(type + 1) : bytes[4];
                protocol.WritePipe(bytes.data(), static_cast<DWORD>(bytes.size()), 1000);
            }
            if (waits) {
                protocol.ReadMessage(size, fields, 5000);
            }
        });
    }
    answers = replies;
    waits = keepOpen;
}

static int Start(IProcess& process, DWORD timeout)
{
    return process.Start(L"app", L"cmd", kNone, kNone, kNone, timeout);
}

/// The results of Start, Terminate, GetProcessesByName, WaitForExit and GetInstancesByName.
static std::vector<int> AllResults()
{
    RunnerProcess process;
    Processes processes(1);
    Instances instances(1);
    std::vector<int> results = {Start(process, 600), process.Terminate(600),
                                process.GetProcessesByName(L"p", processes, 600),
                                process.WaitForExit(600),
                                RunnerInstancesMgr().GetInstancesByName(instances, L"p", 600)};
    EXPECT_TRUE(processes.empty() && instances.empty());
    return results;
}

TEST(RunnerFailures, AnAbsentServiceIsWaitedForByStartAndABusyOneByTerminateToo)
{
    EXPECT_THAT(AllResults(), ElementsAre(-6, -1, -1, -1, -1));
    const auto before = CountHandles();
    RunnerProcess process;
    EXPECT_EQ(process.GetPid(), 0U);
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(Start(process, 3000), sRunnerNotReachable); }),
                Within(1900, 2900))
        << "two thirds of the time, and one pause";
    EXPECT_EQ(process.Terminate(0), sTimeout) << "before any attempt";
    EXPECT_TRUE(Eventually([&] { return CountHandles() == before; })) << CountHandles() - before;
    const PipePair taken(kPipe);
    EXPECT_THAT(AllResults(), ElementsAre(-6, -3, -1, -1, -1));
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(process.Terminate(500), sTimeout); }), Within(450, 1500));
}

TEST(RunnerFailures, EveryKindOfBadAnswerHasItsResult)
{
    const std::tuple<const char*, Bytes, std::vector<int>> cases[] = {
        {"silent", {}, {-6, -1, -1, -3, -1}},
        {"unknown type", Words({16, 11, 0, 1}), {-6, -1, -1, -1, -1}},
        {"another type", Words({52, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), {-1, -1, -1, -1, -1}},
        {"too few fields", Words({12, 0, 0}), {-6, -1, -1, -1, -1}},
        {"more records claimed", Words({24, 0, 0, 1, 0x7FFFFFFF, 0}), {1, 1, -1, 1, -1}},
        {"negative count", Words({24, 0, 0, 1, 0xFFFFFFFF, 0}), {1, 1, 1, 1, 1}},
        {"its own code", Words({32, 0, 0, 0xFFFFFFF9, 1, 0, 0, 0}), {-7, -7, -7, -7, -7}},
    };
    for (const auto& [name, reply, results] : cases) {
        Answer({{0, reply}});
        EXPECT_EQ(AllResults(), results) << name;
    }
    Answer({{0, {}}}, false);
    EXPECT_THAT(AllResults(), ElementsAre(-6, -1, -1, -1, -1)) << "closes";
    RunnerProcess process;
    Answer({{0, Words({28, 0, 0, 0xFFFFFFFF, 99, 4, 0x420041})}});
    EXPECT_EQ(Start(process, 1000), sFail);
    EXPECT_EQ(process.Terminate(1000) + static_cast<int>(process.GetPid()), sFail + 99);
    EXPECT_EQ(g_asked[mtTerminate], Words({4, 0x420041})) << "key and id also of a failed reply";
    Answer({{0, {}}}, false);
    EXPECT_EQ(Start(process, 1000), sRunnerNotReachable);
    EXPECT_EQ(process.GetPid(), 99U) << "a failure leaves them as they were";
}

TEST(RunnerFailures, ReachTheScriptAsTheServiceGaveThem)
{
    AppClient app;
    EXPECT_EQ(app.Init("-runner", true, 1), sRunnerNotReachable);
    for (const int code : {+sInstancesCountLimitReached, 4711}) {
        Answer({{0, Words({24, 0, 0, static_cast<std::uint32_t>(code), 0, 0})}});
        EXPECT_EQ(app.Init("", true, 5), code);
    }
    EXPECT_EQ(app.Texts(), "|");
}

TEST(RunnerInstances, AreAskedInTheOrderOfTheReplyAtSignedPipeNames)
{
    // One that refuses and two that accept.
    Answer({{mtGetInstancesByName, Words({68, 0, 0, 1, 3, 11, 4, 0x310061, 0x80000003, 22, 4,
                                          0x320061, 0x80000002, 33, 4, 0x330061, 0x80000001})},
            {mtWaitForExit, Words({16, 0, 0, 0xFFFFFFFD})},
            {mtTerminate, Words({16, 0, 0, 1})}});
    std::vector<std::string> names;
    for (const DWORD hwnd : {0x80000003, 0x80000002, 0x80000001}) {
        names.push_back(Narrow(InstancePipeName(hwnd)));
        Serve(names.back(), [hwnd](HANDLE pipe) {
            CommandsProtocol protocol(pipe, nullptr);
            for (;;) {
                unsigned int id = 0;
                ComString command;
                ComString argument;
                protocol.ReceiveCommand(id, command, argument, 20000);
                protocol.SendReply(id, hwnd == 0x80000003 ? sFail : sOk, command, 1000);
            }
        });
    }
    const LogCapture log;
    AppClient app;
    ASSERT_EQ(app.Init("-runner", false, 20), sOk);
    const std::string open = kDebug + "[RemotePipeClient::OpenPipe] ";
    EXPECT_THAT(log.Lines(open), ElementsAre(open + kPipe, open + names[0], open + names[1]));
    EXPECT_EQ(app.Play("m"), sOk);
    EXPECT_EQ(app.Exit(), sOk) << "awaited and then terminated through the service";
    const Bytes wait(g_asked[mtWaitForExit].begin() + 4, g_asked[mtWaitForExit].end());
    EXPECT_EQ(wait, Words({4, 0x320061})) << "by the key of the one that accepted";
    EXPECT_EQ(g_asked[mtTerminate], Words({4, 0x320061}));
}

TEST(RunnerInstances, AreListedForAQuarterOfTheTime)
{
    Answer({{mtGetInstancesByName, {}}, {mtStart, Words({24, 0, 0, 0xFFFFFFF9, 0, 0})}});
    AppClient app;
    int status = 0;
    EXPECT_THAT(Elapsed([&] { status = app.Init("-runner", false, 8); }), Within(1900, 3500));
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

TEST_F(Runner, StartsListsAwaitsAndEndsBrowsersByTheirKeys)
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
    EXPECT_EQ(processes[1]->Terminate(5000) + second->WaitForExit(5000), sOk + sOk);
    EXPECT_EQ(instances[0]->process->GetPid() + instances[1]->process->GetPid(),
              processes[0]->GetPid() + processes[1]->GetPid());
}

TEST_F(Runner, AScriptPlaysThroughItAndAttachesThroughIt)
{
    Begin();
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

TEST_F(Runner, AnswersWithItsLimitAndEndsABrowserThatDoesNotEndItself)
{
    Begin("/limit=1");
    AppClient second;
    ASSERT_EQ(app.Init("-runner -standin=stay"), sOk);
    EXPECT_EQ(second.Init("-runner"), sInstancesCountLimitReached);
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(app.Exit(2), sOk); }), Within(900, 4000));
    EXPECT_TRUE(Eventually([] { return Running("talvern.exe").empty(); }));
    EXPECT_EQ(second.Init() + second.Exit(), sOk + sOk);
}

}  // namespace tvn::tests
