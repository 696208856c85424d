// Several commands, clients and browsers, and a web page, that must not get in each other's way.

#include <filesystem>

#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"
#include "tests/browser/real_browser.h"
#include "tests/messages.h"
#include "tests/moments.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

using BrowserClients = RealBrowser;

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

/// Writes a command, and drops no reply meanwhile.
static void Sends(CommandsProtocol& protocol, unsigned int id, std::string_view command,
                  const std::string& argument)
{
    const Bytes bytes = Message(id, command, argument);
    protocol.WritePipe(bytes.data(), static_cast<DWORD>(bytes.size()), 5000);
}

/// "ID:STATUS " of the next replies.
static std::string Replies(CommandsProtocol& protocol, int count)
{
    std::string replies;
    for (CommandReply reply; count > 0; --count) {
        unsigned int id = 0;
        protocol.ReadReply(id, reply, 10000);
        replies += std::to_string(id) + ":" + std::to_string(reply.status) + " ";
    }
    return replies;
}

TEST_F(BrowserClients, APlayGivesWayToTheNextAndLongCommandsWaitForOneAnother)
{
    const auto running = Started("browser\\talvern.exe");
    ASSERT_TRUE(Eventually([] { return InstancesOf(L"talvern.exe").size() == 1; }));
    RemotePipeClient client(InstancePipeName(WindowValue(InstancesOf(L"talvern.exe").at(0)->hwnd)));
    const auto pipe = client.OpenPipe(5000);
    CommandsProtocol protocol(pipe->Get(), nullptr);
    Sends(protocol, 1, "PLAY", "");
    Sends(protocol, 2, "tvnAuxAttachIfFree", "");
    EXPECT_EQ(Replies(protocol, 2), "1:-1 2:1 ") << "a play before anybody has attached";
    const std::string endless = " -macro for(;;)await[SP]page.title() ";
    Sends(protocol, 3, "PLAY", endless);
    Sleep(1000);  // it has begun; the next one waits for its end
    Sends(protocol, 4, "PLAY", endless);
    Sends(protocol, 5, "PLAY", " -macro extract(5) ");
    EXPECT_THAT(Replies(protocol, 3),
                testing::AllOf(testing::HasSubstr("3:-2 "), testing::HasSubstr("4:-2 "),
                               testing::EndsWith("5:1 ")));
    const std::string text(std::size_t{1} << 20, 'x');
    for (int round = 0; round < 6; ++round) {
        Sends(protocol, 7, "appSendText", text);
    }
    EXPECT_EQ(Replies(protocol, 6), "7:1 7:1 7:1 7:1 7:1 7:1 ");
    Sends(protocol, 8, "appEnd", "");
    EXPECT_EQ(Replies(protocol, 1), "8:1 ");
    EXPECT_TRUE(Eventually([] { return BrowserProcesses().empty(); }));
}

TEST_F(BrowserClients, AWebPageReachesNothingOfTheMacrosPageAndNobodyElseTheBrowser)
{
    Begin();
    EXPECT_EQ(
        Plays("let heard = 'nothing'; new BroadcastChannel('macro').onmessage = () => { heard "
              "= 'it'; }; await page.goto(options.site + '/curious.html'); extract(await "
              "page.evaluate(() => reached()), heard)"),
        "1||[][EXTRACT]nothing");
    std::vector<std::string> names;
    std::error_code error;  // of the mark beside the profile, which is no folder
    for (const std::string& one : ProfileFolders()) {
        const std::string folder = FreshProfiles() + "\\" + one;
        for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
            names.push_back(entry.path().filename().string());
        }
    }
    EXPECT_THAT(names, testing::Contains("Default"));
    const auto isWay = testing::AnyOf("DevToolsActivePort", "input", "output");
    EXPECT_THAT(names, testing::Not(testing::Contains(isWay)));
}

TEST_F(BrowserClients, AVisibleBrowserAsksNobodyForAPasswordAndPrintsNothing)
{
    // It has windows as on a desktop; they are drawn nowhere.
    ASSERT_EQ(app.Init("--browser-arguments \"--no-sandbox --ozone-platform=headless\"", true, 60),
              sOk);
    EXPECT_EQ(
        Plays("page.setDefaultTimeout(20000); await page.goto(options.site + '/frames.html'); "
              "const ask = () => fetch('/secret').then(({ status }) => status); extract(await "
              "page.evaluate(ask), await page.frame('**?far').evaluate(ask)); await "
              "page.evaluate(() => print()); extract(await page.title())"),
        "1||401[EXTRACT]401[EXTRACT]Frames");
}

TEST_F(BrowserClients, ARunnerServiceStartsAndFindsAndEndsOne)
{
    const auto service = Started("standins\\runner.exe");
    EXPECT_TRUE(Eventually([] { return WaitNamedPipeA(Narrow(RunnerPipeName()).c_str(), 1); }));
    const std::string visit = "await page.goto(options.site + '/second.html'); ";
    ASSERT_EQ(app.Init("-runner", true, 60), sOk);
    EXPECT_EQ(Plays(visit + "await page.evaluate(() => { document.cookie = 'a=1'; })"), "1||");
    app.Release();
    AppClient next;
    EXPECT_TRUE(Eventually([&] { return next.Init("-runner", false, 60) == sOk; }));
    EXPECT_EQ(Plays(next, "extract(await page.evaluate(() => document.cookie))"), "1||a=1");
    EXPECT_EQ(next.Exit(), sOk);
    ExpectNothingLeft();
    EXPECT_EQ(service->Terminate(5000), sOk);
}

TEST_F(BrowserClients, TwoBrowsersKnowNothingOfEachOther)
{
    Begin();
    AppClient second;
    ASSERT_EQ(second.Init("", true, 60), sOk);
    const std::string visit = "await page.goto(options.site + '/second.html'); ";
    const std::string cookies = "extract(await page.evaluate(() => document.cookie))";
    EXPECT_EQ(Plays(visit + "await page.evaluate(() => { document.cookie = 'a=1'; })"), "1||");
    EXPECT_EQ(app.Play("await new Promise(() => {})", 1), sTimeout);
    EXPECT_EQ(Plays(second, visit + cookies), "1||");
    EXPECT_EQ(second.Exit(), sOk);
    EXPECT_EQ(Plays(cookies), "1||a=1");
}

}  // namespace tvn::tests
