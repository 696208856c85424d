// Browsers handled through the runner service: a real one, and ones that fail in every way.

#include <gmock/gmock.h>

#include <functional>
#include <mutex>

#include "basicslib/Exceptions.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/PipeNames.h"
#include "process/Process.h"
#include "runner/RunnerInstancesMgr.h"
#include "runner/RunnerMessages.h"
#include "runner/RunnerProcess.h"
#include "runner/RunnerProcessFactory.h"
#include "standins/PipeListener.h"
#include "tests/app_client.h"
#include "tests/log_capture.h"
#include "tests/test_pipe.h"

namespace tvn
{

using testing::ElementsAre;
using tests::AppClient;
using tests::Bytes;
using tests::Elapsed;
using tests::LogCapture;
using tests::Words;

namespace
{

const std::string kPipe = tests::Narrow(RunnerPipeName());

/// A service that answers every request with what a function makes of its type; no bytes, no
/// answer. There is one for the process, and it lasts as long.
class FakeService
{
  public:
    using Reply = std::function<Bytes(std::uint32_t type)>;

    /// From now on requests are answered so, and the connection is kept until the client closes it.
    static void Answer(const Reply& reply, bool keepOpen = true)
    {
        static FakeService service;
        const std::lock_guard<std::mutex> lock(service.m_mutex);
        service.m_reply = reply;
        service.m_keepOpen = keepOpen;
    }

  private:
    FakeService()
        : m_listener(kPipe, [this](const boost::shared_ptr<Handle>& pipe) { Serve(pipe->Get()); })
    {
        EXPECT_TRUE(m_listener.Start());
    }

    void Serve(HANDLE pipe)
    {
        try {
            BaseProtocol protocol(pipe, nullptr);
            DWORD size = 0;
            MessageBuffer fields;
            protocol.ReadMessage(size, fields, 5000);
            const std::unique_lock<std::mutex> lock(m_mutex);
            const Bytes bytes = m_reply(fields.get()[0]);
            if (!bytes.empty()) {
                protocol.WritePipe(bytes.data(), static_cast<DWORD>(bytes.size()), 1000);
            }
            if (m_keepOpen) {
                protocol.ReadMessage(size, fields, 5000);
            }
        } catch (const PipeException&) {
            // the client has closed the connection
        }
    }

    std::mutex m_mutex;
    Reply m_reply;
    bool m_keepOpen = true;
    standins::PipeListener m_listener;
};

/// The results of Start, Terminate, GetProcessesByName, WaitForExit and GetInstancesByName.
std::vector<int> AllResults(DWORD timeout = 600)
{
    RunnerProcess process;
    std::vector<boost::shared_ptr<IProcess>> processes(1);
    std::vector<boost::shared_ptr<Instance>> instances(1);
    std::vector<int> results;
    results.push_back(process.Start(L"app", L"cmd", L"", L"", L"", timeout));
    results.push_back(process.Terminate(timeout));
    results.push_back(process.GetProcessesByName(L"p", processes, timeout));
    results.push_back(process.WaitForExit(timeout));
    results.push_back(RunnerInstancesMgr().GetInstancesByName(instances, L"p", timeout));
    EXPECT_TRUE(processes.empty());
    EXPECT_TRUE(instances.empty());
    return results;
}

}  // namespace

TEST(RunnerFailures, AnAbsentServiceIsWaitedForByStartAlone)
{
    EXPECT_THAT(AllResults(), ElementsAre(-6, -1, -1, -1, -1));
    const int before = tests::CountHandles();
    RunnerProcess process;
    EXPECT_EQ(process.GetPid(), 0U);
    const auto start = Elapsed(
        [&] { EXPECT_EQ(process.Start(L"", L"", L"", L"", L"", 1500), sRunnerNotReachable); });
    EXPECT_GE(start, 900);
    EXPECT_LT(start, 1450) << "two thirds of the time, and one pause";
    EXPECT_EQ(process.Terminate(0), sTimeout) << "before any attempt";
    EXPECT_EQ(tests::CountHandles(), before);
}

TEST(RunnerFailures, ABusyServiceIsTriedAgainByStartAndTerminate)
{
    const tests::PipePair taken(kPipe);
    EXPECT_THAT(AllResults(), ElementsAre(-6, -3, -1, -1, -1));
    RunnerProcess process;
    const auto elapsed = Elapsed([&] { EXPECT_EQ(process.Terminate(500), sTimeout); });
    EXPECT_GE(elapsed, 450);
    EXPECT_LT(elapsed, 1500);
}

TEST(RunnerFailures, EveryKindOfBadAnswerHasItsResult)
{
    const struct
    {
        const char* name;
        FakeService::Reply reply;
        bool keepOpen;
        std::vector<int> results;
    } cases[] = {
        {"silent", [](std::uint32_t) { return Bytes(); }, true, {-6, -1, -1, -3, -1}},
        {"closing", [](std::uint32_t) { return Bytes(); }, false, {-6, -1, -1, -1, -1}},
        {"another type",
         [](std::uint32_t type) {
             return Words({16, type == 3 ? 6U : 4U, 0, 1});
         },
         true,
         {-1, -1, -1, -1, -1}},
        {"unknown type",
         [](std::uint32_t) {
             return Words({16, 11, 0, 1});
         },
         true,
         {-6, -1, -1, -1, -1}},
        {"too few fields",
         [](std::uint32_t type) {
             return Words({12, type + 1, 0});
         },
         true,
         {-6, -1, -1, -1, -1}},
        {"more records claimed",
         [](std::uint32_t type) {
             return Words({24, type + 1, 0, 1, 0x7FFFFFFF, 0});
         },
         true,
         {1, 1, -1, 1, -1}},
        {"negative count",
         [](std::uint32_t type) {
             return Words({24, type + 1, 0, 1, 0xFFFFFFFF, 0});
         },
         true,
         {1, 1, 1, 1, 1}},
        {"its own code",
         [](std::uint32_t type) {
             return Words({32, type + 1, 0, 0xFFFFFFF9, 1, 0, 0, 0});
         },
         true,
         {-7, -7, -7, -7, -7}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        FakeService::Answer(each.reply, each.keepOpen);
        EXPECT_EQ(AllResults(), each.results);
    }
}

TEST(RunnerFailures, StartKeepsKeyAndIdAlsoOfAFailedReply)
{
    RunnerProcess process;
    FakeService::Answer([](std::uint32_t) {
        return Words({28, 2, 0, 0xFFFFFFFF, 99, 4, 0x420041});
    });
    EXPECT_EQ(process.Start(L"", L"", L"", L"", L"", 1000), sFail);
    EXPECT_EQ(process.GetPid(), 99U);
    FakeService::Answer([](std::uint32_t) { return Bytes(); }, false);
    EXPECT_EQ(process.Start(L"", L"", L"", L"", L"", 1000), sRunnerNotReachable);
    EXPECT_EQ(process.GetPid(), 99U) << "a failure leaves them as they were";
}

TEST(RunnerFailures, ReachTheScriptAsTheServiceGaveThem)
{
    AppClient app;
    EXPECT_EQ(app.Init(L"-runner", true, 1), sRunnerNotReachable);
    FakeService::Answer([](std::uint32_t) { return Words({24, 2, 0, 0xFFFFFFF9, 0, 0}); });
    EXPECT_EQ(app.Init(L"", true, 5), sInstancesCountLimitReached);
    FakeService::Answer([](std::uint32_t) { return Words({24, 2, 0, 4711, 0, 0}); });
    EXPECT_EQ(app.Init(L"", true, 5), 4711);
    EXPECT_EQ(app.Error(), L"");
}

TEST(RunnerInstances, AreAskedInTheOrderOfTheReplyAtSignedPipeNames)
{
    // Three instances: one that is not there, one that refuses, one that accepts.
    FakeService::Answer([](std::uint32_t type) {
        switch (type) {
            case mtGetInstancesByName:
                return Words({68, 10, 0, 1, 3, 11, 4, 0x310061, 0x80000003, 22, 4, 0x320061,
                              0x80000002, 33, 4, 0x330061, 0x80000001});
            case mtWaitForExit:
                return Words({16, 6, 0, 0xFFFFFFFD});
            default:
                return Words({16, 4, 0, 1});
        }
    });
    const auto serve = [](DWORD hwnd, int status) {
        auto* listener = new standins::PipeListener(
            tests::Narrow(InstancePipeName(hwnd)), [status](const boost::shared_ptr<Handle>& pipe) {
                CommandsProtocol protocol(pipe->Get(), nullptr);
                try {
                    for (;;) {
                        unsigned int id = 0;
                        ComString command;
                        ComString argument;
                        protocol.ReceiveCommand(id, command, argument, 20000);
                        protocol.SendReply(id, status, command, 1000);
                    }
                } catch (const PipeException&) {
                    // the client has gone
                }
            });
        EXPECT_TRUE(listener->Start());
    };
    serve(0x80000003, sFail);
    serve(0x80000002, sOk);
    serve(0x80000001, sOk);
    const LogCapture log;
    AppClient app;
    ASSERT_EQ(app.Init(L"-runner", false, 20), sOk);
    EXPECT_TRUE(
        log.Has("[tvn::debug] [RemotePipeClient::OpenPipe] \\\\.\\pipe\\Talvern_-2147483645"));
    EXPECT_TRUE(
        log.Has("[tvn::debug] [RemotePipeClient::OpenPipe] \\\\.\\pipe\\Talvern_-2147483646"));
    EXPECT_FALSE(
        log.Has("[tvn::debug] [RemotePipeClient::OpenPipe] \\\\.\\pipe\\Talvern_-2147483647"));
    EXPECT_EQ(app.Play(L"m"), sOk);
    EXPECT_EQ(app.Exit(), sOk) << "awaited and then terminated through the service";
}

// ---- a real service

namespace
{

class Runner : public testing::Test
{
  protected:
    explicit Runner(const char* arguments = "")
        : service(tests::StandinFolder() + "\\runner.exe " + arguments)
    {
        EXPECT_TRUE(tests::Eventually([] { return WaitNamedPipeA(kPipe.c_str(), 1) != FALSE; }));
    }
    ~Runner() override
    {
        std::vector<boost::shared_ptr<IProcess>> list;
        Process().GetProcessesByName(L"talvern.exe", list, 0);
        for (const auto& process : list) {
            process->Terminate(0);
            process->WaitForExit(5000);
        }
    }
    tests::ChildProcess service;
};

class LimitedRunner : public Runner
{
  protected:
    LimitedRunner() : Runner("/limit=1") {}
};

}  // namespace

TEST_F(Runner, StartsListsAwaitsAndEndsBrowsersByTheirKeys)
{
    const ComString browser = (tests::StandinFolder() + "\\talvern.exe").c_str();
    RunnerProcessFactory factory;
    const auto first = factory.NewProcess();
    const auto second = factory.NewProcess();
    EXPECT_EQ(first->GetPid(), 0U);
    EXPECT_EQ(first->Terminate(2000), sFail) << "an empty key names nothing";
    ASSERT_EQ(first->Start(browser, L"", L"", L"", L"", 10000), sOk);
    ASSERT_EQ(second->Start(browser, L"", L"", L"", L"", 10000), sOk);
    EXPECT_EQ(first->Start(L"C:\\none.exe", L"", L"", L"", L"", 10000), sFail);
    EXPECT_EQ(first->GetPid(), 0U);

    std::vector<boost::shared_ptr<Instance>> instances;
    EXPECT_TRUE(tests::Eventually([&] {
        factory.NewInstancesMgr()->GetInstancesByName(instances, L"talvern.exe", 5000);
        return instances.size() == 2;
    }));
    std::vector<boost::shared_ptr<IProcess>> processes;
    EXPECT_EQ(first->GetProcessesByName(L"talvern.exe", processes, 5000), sOk);
    ASSERT_EQ(processes.size(), 2U);
    EXPECT_EQ(second->WaitForExit(100), sTimeout);
    EXPECT_EQ(processes[1]->GetPid(), second->GetPid());
    EXPECT_EQ(processes[1]->Terminate(5000), sOk);
    EXPECT_EQ(second->WaitForExit(5000), sOk);
    EXPECT_EQ(instances[0]->process->GetPid() + instances[1]->process->GetPid(),
              processes[0]->GetPid() + processes[1]->GetPid());
}

TEST_F(Runner, AScriptPlaysThroughItAndAttachesThroughIt)
{
    AppClient app;
    const LogCapture log;
    ASSERT_EQ(app.Init(L"-runner"), sOk);
    EXPECT_EQ(app.Play(L"!commandline"), sOk);
    EXPECT_THAT(ToNarrow(app.Extract()),
                testing::HasSubstr("talvern.exe  -runner -authorizeAll /pipeUuid="));
    app.Release();
    AppClient next;
    ASSERT_EQ(next.Init(L"-runner", false), sOk);
    EXPECT_EQ(log.Starting("[tvn::HI_LEVEL_PROTOCOL] [C] 1 = createProcess(").size(), 1U);
    EXPECT_EQ(next.Exit(), sOk);
    std::vector<boost::shared_ptr<IProcess>> list;
    Process().GetProcessesByName(L"talvern.exe", list, 0);
    EXPECT_TRUE(list.empty());
}

TEST_F(Runner, EndsABrowserThatDoesNotEndItself)
{
    AppClient app;
    ASSERT_EQ(app.Init(L"-runner -standin=stay"), sOk);
    EXPECT_LT(Elapsed([&] { EXPECT_EQ(app.Exit(2), sOk); }), 4000);
    std::vector<boost::shared_ptr<IProcess>> list;
    EXPECT_TRUE(tests::Eventually([&] {
        Process().GetProcessesByName(L"talvern.exe", list, 0);
        return list.empty();
    }));
}

TEST_F(LimitedRunner, AnswersWithItsLimit)
{
    AppClient first;
    AppClient second;
    ASSERT_EQ(first.Init(L"-runner"), sOk);
    EXPECT_EQ(second.Init(L"-runner"), sInstancesCountLimitReached);
    EXPECT_EQ(first.Exit(), sOk);
    EXPECT_EQ(second.Init(), sOk);
    EXPECT_EQ(second.Exit(), sOk);
}

}  // namespace tvn
