// Several commands and several clients: who has given up, who has died, who comes next.

#include <map>

#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"
#include "process/Instance.h"
#include "process/InstancesMgr.h"
#include "tests/browser/real_browser.h"
#include "tests/messages.h"
#include "tests/moments.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

class BrowserClients : public RealBrowser
{};

TEST_F(BrowserClients, TheNextPlayStopsOneThatWasGivenUpAndADisplayGoesBesideIt)
{
    Begin();
    for (const char* endless : {"await new Promise(() => {})", "for (;;);",
                                "for (;;) { try { await page.click('#none'); } catch {} }"}) {
        EXPECT_EQ(app.Play(endless, 1), sTimeout) << endless;
        EXPECT_EQ(app.Display(endless), sOk);
        // The text is there to be seen, but not by the page.
        EXPECT_EQ(Plays("extract(await page.evaluate(() => { const bar = "
                        "document.documentElement.lastElementChild; return [bar.clientHeight > 20, "
                        "bar.innerHTML, bar.shadowRoot]; }))"),
                  "1||[true,\"\",null]");
    }
}

/// The status with which a command is answered.
static int Asked(CommandsProtocol& protocol, const wchar_t* command, const wchar_t* argument)
{
    CommandReply reply;
    protocol.SendCommand(1, command, argument, 5000);
    protocol.ReceiveReply(1, reply, 60000);
    return reply.status;
}

/// Waits until a command is written, and drops no reply meanwhile.
static void Sends(CommandsProtocol& protocol, unsigned int id, std::string_view command,
                  const std::string& argument)
{
    const Bytes bytes = Message(id, command, argument);
    protocol.WritePipe(bytes.data(), static_cast<DWORD>(bytes.size()), 5000);
}

TEST_F(BrowserClients, AClientThatDiesInMidPlayLeavesAFreeBrowserThatHasStopped)
{
    const auto running = Started("browser\\talvern.exe");
    std::vector<boost::shared_ptr<Instance>> instances;
    ASSERT_TRUE(Eventually([&] {
        InstancesMgr().GetInstancesByName(instances, L"talvern.exe", 5000);
        return instances.size() == 1;
    }));
    {
        RemotePipeClient client(InstancePipeName(WindowValue(instances[0]->hwnd)));
        const auto pipe = client.OpenPipe(5000);
        CommandsProtocol protocol(pipe->Get(), nullptr);
        EXPECT_EQ(Asked(protocol, kCommandPlay, L""), sFail) << "nobody has attached";
        ASSERT_EQ(Asked(protocol, kCommandAttachIfFree, L""), sOk);
        // A play that waits for its turn gives way to the next, as the one that it waits for.
        for (const auto& [id, waiting] : {std::pair(3U, " -macro for(;;)await[SP]page.title() "),
                                          {4U, " -macro for(;;)await[SP]page.title() "},
                                          {5U, " -macro extract(5) "}}) {
            Sends(protocol, id, "PLAY", waiting);
            Sleep(id == 3 ? 1000 : 0);  // the first one has begun
        }
        std::map<unsigned int, int> statuses;
        for (CommandReply reply; statuses.size() < 3;) {
            unsigned int id = 0;
            protocol.ReadReply(id, reply, 10000);
            statuses[id] = reply.status;
        }
        EXPECT_THAT(statuses,
                    testing::ElementsAre(testing::Pair(3U, sNotCompleted),
                                         testing::Pair(4U, sNotCompleted), testing::Pair(5U, sOk)));
        // Several long commands to the browser wait for one another.
        constexpr int kTexts = 6;
        const std::string text(std::size_t{1} << 20, 'x');
        for (int round = 0; round < kTexts; ++round) {
            Sends(protocol, 7, "appSendText", text);
        }
        for (int round = 0; round < kTexts; ++round) {
            unsigned int id = 0;
            CommandReply reply;
            protocol.ReadReply(id, reply, 10000);
            EXPECT_EQ(reply.status, sOk);
        }
        std::string macro = "await page.goto('" + site +
                            "/second.html'); await page.evaluate(() => { window.n = 0; "
                            "}); for (;;) await page.evaluate(() => { ++n; })";
        ReplaceAll(macro, " ", "[SP]");
        const std::string argument = " -macro " + macro + " ";
        Sends(protocol, 6, "PLAY", argument);
        Sleep(1500);
    }
    ASSERT_EQ(app.Init("", false, 20), sOk);
    EXPECT_EQ(Running("talvern.exe").size(), 1U);
    EXPECT_EQ(Plays("const n = await page.evaluate(() => n); await new Promise((resolve) => "
                    "setTimeout(resolve, 200)); extract(page.url() === options.site + "
                    "'/second.html', n > 0, n === await page.evaluate(() => n))"),
              "1||true[EXTRACT]true[EXTRACT]true");
    EXPECT_EQ(app.Exit(), sOk);
}

TEST_F(BrowserClients, TwoBrowsersKnowNothingOfEachOther)
{
    Begin();
    AppClient second;
    ASSERT_EQ(second.Init("", true, 60), sOk);
    const std::string keeps =
        "await page.goto(options.site + '/second.html'); "
        "await page.evaluate(() => { document.cookie = 'a=1'; });";
    EXPECT_EQ(Plays(keeps), "1||");
    EXPECT_EQ(app.Play("await new Promise(() => {})", 1), sTimeout);
    EXPECT_EQ(Plays(second,
                    "await page.goto(options.site + '/second.html'); extract(await "
                    "page.evaluate(() => document.cookie))"),
              "1||");
    EXPECT_EQ(second.Exit(), sOk);
    EXPECT_EQ(Plays("extract(await page.evaluate(() => document.cookie))"), "1||a=1");
}

TEST_F(BrowserClients, TheRunnerServiceStartsItToo)
{
    const auto service = Started("standins\\runner.exe");
    Sleep(500);
    ASSERT_EQ(app.Init("-runner", true, 60), sOk);
    EXPECT_EQ(Plays("extract(await page.title())"), "1||");
    EXPECT_EQ(app.Exit(), sOk);
    EXPECT_TRUE(Eventually([] { return BrowserProcesses().empty(); }));
}

}  // namespace tvn::tests
