// The pipes and keys of the stand-in runner service, and of whoever serves a pipe as it does.

#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <cstdio>
#include <tuple>

#include "basicslib/Exceptions.h"
#include "basicslib/StatusCode.h"
#include "instance/PipeListener.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"
#include "runner/RunnerMessages.h"
#include "runner/RunnerProcess.h"
#include "runner/RunnerProtocol.h"
#include "tests/moments.h"
#include "tests/replaced_imports.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

TEST(PipeListener, ServesANameAloneAndNoOtherMachine)
{
    // The listeners live as long as their process.
    using instance::PipeAccess;
    const auto listener = [](const char* name, PipeAccess access) {
        return new instance::PipeListener(name, access, [](const auto&) {});
    };
    EXPECT_TRUE(listener("\\\\.\\pipe\\TalvernTestOwn", PipeAccess::kOwnAccount)->Start());
    EXPECT_TRUE(
        Eventually([] { return g_imports.newPipe == "40000003 e 255 1024 1024 5000 default"; }));
    EXPECT_TRUE(listener("\\\\.\\pipe\\TalvernTestAll", PipeAccess::kEveryone)->Start());
    EXPECT_TRUE(Eventually([] {
        return g_imports.newPipe == "40000003 e 255 1024 1024 5000 null list";
    })) << g_imports.newPipe;
    for (const char* taken : {"\\\\.\\pipe\\TalvernTestOwn", "\\\\.\\pipe\\TalvernTestAll"}) {
        EXPECT_FALSE(listener(taken, PipeAccess::kEveryone)->Start()) << taken;
    }
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
    const std::tuple<const char*, const char*, int> cases[] = {
        {"", "runner: the runner's pipe cannot be made; does another one run?\n", 1},
        {"/limits=1", "runner: unknown argument '/limits=1'; /limit=N and /keep=SECONDS are\n", 2},
    };
    for (const auto& [arguments, says, code] : cases) {
        const std::string second =
            "\"\"" + BuildFolder() + "\\standins\\runner.exe\" " + arguments + " 2>&1\"";
        // NOLINTNEXTLINE(cert-env33-c): the command line is this program's own
        FILE* output = _popen(second.c_str(), "r");
        ASSERT_NE(output, nullptr);
        char line[256] = "";
        EXPECT_NE(std::fgets(line, sizeof line, output), nullptr);
        EXPECT_STREQ(line, says);
        EXPECT_EQ(_pclose(output), code);
    }
}

TEST_F(RunnerService, WhoSendsAnAnswerIsNotAnswered)
{
    const auto service = Service();
    const auto pipe = RemotePipeClient(RunnerPipeName()).OpenPipe(5000);
    RunnerProtocol protocol(pipe->Get(), nullptr);
    boost::shared_ptr<BaseMsg> message = boost::make_shared<MsgStartComplete>(1U);
    protocol.WriteMsg(message, nullptr, 5000);
    EXPECT_THROW(protocol.ReadMsg(message, 5000), ReadPipeError);
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
