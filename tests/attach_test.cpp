// tvnInit's options, the search for a free instance, the three kinds of browser, credentials.

#include <gmock/gmock.h>

#include <regex>

#include "basicslib/StatusCode.h"
#include "tests/app_client.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

/// `text` with the two identifiers of a start written as P and C.
static std::string WithoutIds(std::string text, const LogCapture& log)
{
    const std::string ids = log.Lines(kTrace + "Allocated id's").back();
    ReplaceAll(text, ids.substr(ids.find("pipeUuid = ") + 11, 36), "P");
    ReplaceAll(text, ids.substr(ids.find("creatorUuid = ") + 14, 36), "C");
    return text;
}

class Attach : public testing::Test
{
  protected:
    ~Attach() override
    {
        SetEnvironmentVariableA("TALVERN_STANDIN", nullptr);
        SetRegistryValue(kProductKey, "PathBasic", kStandinFolder);
        EndBrowsers();
    }

    /// A Firefox that runs already, found by its window.
    static boost::shared_ptr<IProcess> RunningFirefox(const std::string& arguments = "")
    {
        const wchar_t* const firefox = L"firefox.exe";
        const std::size_t before = InstancesOf(firefox).size();
        auto process = Started("standins\\firefox.exe", arguments);
        EXPECT_TRUE(Eventually([&] { return InstancesOf(firefox).size() > before; }));
        Sleep(200);  // the pipe comes after the window
        return process;
    }

    std::string CommandLine()
    {
        EXPECT_EQ(app.Play("!commandline"), sOk);
        return app.Extract();
    }

    /// The command line of the browser that a tvnInit with these options starts.
    std::string Starts(const _variant_t& options)
    {
        const LogCapture log;
        EXPECT_EQ(app.Init(options), sOk) << testing::PrintToString(log.Lines());
        const std::string commandLine = CommandLine();
        EXPECT_EQ(app.Exit(), sOk);
        return WithoutIds(commandLine, log);
    }

    const std::string folder = kStandinFolder;
    AppClient app;
};

TEST_F(Attach, AFreeInstanceIsTakenAndOneIsStartedWhenNoneIsFree)
{
    const auto free = RunningFirefox();
    const auto taken = RunningFirefox();
    AppClient other;
    AppClient third;
    const LogCapture log;
    EXPECT_EQ(other.Init("-fx", false), sOk);
    EXPECT_EQ(app.Init("-FX", false), sOk);
    EXPECT_EQ(Running("firefox.exe").size(), 2U);
    const std::string line = kTrace + "CApp::AttachIfFree";
    const auto asked = MatchesRegex(".*\\(pipeHwnd = 0x\\w+, creatorUuid = \\(null\\)\\)");
    EXPECT_THAT(log.Lines(line), ElementsAre(asked, line + " - sOk", asked, line + " - sFail",
                                             asked, line + " - sOk"));
    EXPECT_EQ(third.Init("-fx", false), sOk);
    EXPECT_EQ(Running("firefox.exe").size(), 3U);
    EXPECT_EQ(log.Count(kDebug + "tvnInit, failed with 1"), 1);
    for (AppClient* each : {&app, &other, &third}) {
        EXPECT_EQ(each->Exit(), sOk);
    }
}

TEST_F(Attach, InstancesThatDoNotAnswerAreGivenHalfOfTheTime)
{
    for (const char* fault : {"-standin=no-answer", "-standin=no-pipe"}) {
        SCOPED_TRACE(fault);
        EndBrowsers();  // the last round's ends by itself, in its own time
        const auto ends = RunningFirefox();
        const auto faulty = RunningFirefox(fault);
        // The other one ends between being listed and being asked.
        CallLater(500, [&] {
            const Handle process(OpenProcess(PROCESS_TERMINATE, FALSE, ends->GetPid()));
            TVN_REAL_IMPORT(TerminateProcess)(process.Get(), 1);
        });
        const LogCapture log;
        EXPECT_THAT(Elapsed([&] { EXPECT_EQ(app.Init("-fx", false, 4), sOk); }),
                    Within(1800, 4000));
        EXPECT_EQ(log.Lines(kTrace + "CApp::AttachIfFree - s").size(), 3U);
        EXPECT_EQ(log.Lines(kTrace + "1 = createProcess").size(), 1U);
        EXPECT_THAT(CommandLine(), HasSubstr("-new-window"));
        EXPECT_EQ(app.Exit(), sOk);
    }
}

TEST_F(Attach, TheTraceTellsTheStepsOfAStart)
{
    const LogCapture log;
    ASSERT_EQ(app.Init("-fxLocale \"de DE\" -other"), sOk);
    std::string trace;
    for (const std::string& line : log.Lines(kTrace)) {
        trace += line.substr(kTrace.size()) + "\n";
    }
    trace = std::regex_replace(trace, std::regex("= 0x\\w{8}"), "= H");
    EXPECT_EQ(WithoutIds(trace, log),
              "Allocated id's: pipeUuid = P, creatorUuid = C\nCreated callback server P\n"
              "1 = createProcess(user:(null), domain:(null), password:(null), appPath:" +
                  folder + "\\talvern.exe, cmdLine: -fxLocale \"de DE\" -other /pipeUuid=P " +
                  "/creatorUuid=C)\nWait new instance to callback\nThe new instance HWND = H\n"
                  "CApp::AttachIfFree(pipeHwnd = H, creatorUuid = C)\nCApp::AttachIfFree - sOk\n");
    EXPECT_THAT(log.Lines(kDebug + "CreateNamedPipe, ").at(0), testing::EndsWith(" = 1"))
        << "a browser under another account calls back too";
    EXPECT_EQ(app.Exit(), sOk);
}

TEST_F(Attach, TheTraceOfAStartNeedsNoMemory)
{
    static ImportWatch* watch;
    static bool started;
    const auto starts = TVN_REPLACE_IMPORT(CreateProcessA, [](auto... arguments) -> BOOL {
        started = TVN_REAL_IMPORT(CreateProcessA)(arguments...) != FALSE;
        return started;
    });
    // The thread's handle is closed as soon as the process has been started.
    const auto closes = TVN_REPLACE_IMPORT(CloseHandle, [](HANDLE handle) -> BOOL {
        if (std::exchange(started, false)) {
            watch->Fail(kMemory, ERROR_NOT_ENOUGH_MEMORY, 1, Fails::kFromHereOn);
        }
        return TVN_REAL_IMPORT(CloseHandle)(handle);
    });
    static bool traced;  // seen without memory, too
    const auto traces = TVN_REPLACE_IMPORT(OutputDebugStringA, [](const char* line) {
        traced = traced || std::strstr(line, "1 = createProcess(user:(null), domain:(null),");
    });
    int status = 0;
    {
        ImportWatch shortOfMemory;
        watch = &shortOfMemory;
        status = app.Init("-a", true, 5);
        watch = nullptr;
    }
    EXPECT_EQ(status, sFail);
    EXPECT_TRUE(traced);
}

TEST_F(Attach, EachKindOfBrowserGetsItsCommandLineToTheLetter)
{
    const std::string url = "&pipeUuid=P&creatorUuid=C \"";
    const std::string page = "\\iexplore.exe  \"file:///" + folder + "\\Welcome_plugin.htm";
    const std::string firefox = "\\firefox.exe  -new-window \"about:blank?authorizeAll=";
    const std::string own = "\\talvern.exe ";
    const std::string ids = " /pipeUuid=P /creatorUuid=C";
    const std::string longest(32000, 'a');
    const std::pair<_variant_t, std::string> cases[] = {
        {"-ie", page + "?authorizeAll=false" + url},
        {"-fx", firefox + "false" + url},
        {"-ie -fx -authorizeALL -fxVersion 3.6.8 -fxLocale en-US", firefox + "true" + url},
        {"-authorizeAll \"a b\"", own + " -authorizeAll \"a b\"" + ids},
        {"", own + " " + ids},
        {"   ", own + "    " + ids},
        {"\\\"-fx", own + " \\\"-fx" + ids},
        {"\"-ie -fx\" /ie -iex", own + " \"-ie -fx\" /ie -iex" + ids},
        {"\"-ie", page + "?authorizeAll=false" + url},
        {"-fxVersion -ie -authorizeAll x", own + " -fxVersion -ie -authorizeAll x" + ids},
        {"-x \"open", own + " -x \"open" + ids},
        {longest.c_str(), own + " " + longest + ids},
        {5L, own + ids},  // a number is no command line
    };
    for (const auto& [options, expected] : cases) {
        EXPECT_EQ(Starts(options), folder + expected);
    }
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kProductKey.c_str());
    EXPECT_EQ(Starts("-ie"), folder + "\\iexplore.exe  \"about:blank?authorizeAll=false" + url);
}

TEST_F(Attach, TheOptionsOfAFailedInitLastUntilExit)
{
    EXPECT_EQ(app.Init("-fx -fxVersion 99 -fxVersion"), sFail) << "at the end it has no value";
    EXPECT_EQ(app.Init(), sFail) << "still that Firefox";
    EXPECT_THAT(Starts("-fxVersion \"3.6.8\""), HasSubstr("firefox.exe"));
    EXPECT_THAT(Starts(AppClient::LeftOut()), HasSubstr("talvern.exe"));
}

TEST_F(Attach, AFirefoxIsLeftToEndByItself)
{
    SetEnvironmentVariableA("TALVERN_STANDIN", "stay");
    EXPECT_EQ(app.Init("-fx"), sOk);
    EXPECT_EQ(app.Exit(20), sOk);
    EXPECT_EQ(Running("firefox.exe").size(), 1U);
    ASSERT_EQ(app.Init("-ie"), sOk);
    EXPECT_EQ(app.Exit(2), sOk);
    EXPECT_TRUE(Running("iexplore.exe").empty()) << "every other one is awaited, and then ended";
    ASSERT_EQ(app.Init("-fx"), sOk);
    EXPECT_EQ(app.Play("!hang", 0), sTimeout);
    EXPECT_EQ(app.Exit(1), sTimeout) << "the status of the command";
    EXPECT_EQ(app.Exit(), sNotStarted);
}

TEST_F(Attach, CredentialsLastOverAFailureAndAreGoneAfterExit)
{
    _variant_t texts[] = {"U", "P", "D", "Q"};
    EXPECT_EQ(app.Init(_variant_t("-a"), true, 20, texts[0], texts[1], texts[2]), sFail);
    const std::string program = folder + "\\talvern.exe| -a /pipeUuid=";  // the line without it
    EXPECT_EQ(ToNarrow(g_imports.logon).rfind("U|D|P|" + program, 0), 0U);
    EXPECT_EQ(app.Init(_variant_t("-a"), true, 20, _variant_t(5L), Referring(texts[3])), sFail);
    EXPECT_EQ(ToNarrow(g_imports.logon).rfind("U|D|Q|" + program, 0), 0U);

    const auto running = RunningFirefox();
    EXPECT_EQ(app.Init("-fx", false), sOk) << "no logon to attach to one that runs";
    EXPECT_EQ(app.Exit(), sOk);
    g_imports.logon.clear();
    EXPECT_THAT(Starts(AppClient::LeftOut()), HasSubstr("talvern.exe"));
    EXPECT_TRUE(g_imports.logon.empty());
}

}  // namespace tvn::tests
