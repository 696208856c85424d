// Browsers that are none, or are out of order, and what is said about them; what a browser is
// started with, and what is left of it.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "basicslib/StatusCode.h"
#include "process/Process.h"
#include "tests/browser/real_browser.h"
#include "tests/moments.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

class FalseBrowser : public RealBrowser
{
  protected:
    ~FalseBrowser() override
    {
        DeleteRegistryKey(kAppPath);
        SetRegistryValue(kProductKey, "Browser", "");
        SetRegistryValue(kProductKey, "BrowserArguments", "");
        SetEnvironmentVariableA("TALVERN_BROWSER", nullptr);  // the next test begins afresh
        SetEnvironmentVariableA("TALVERN_BROWSER_ARGUMENTS", nullptr);
    }

    void SetUp() override {}  // no real one is needed

    /// Has the next browser be the false one with this fault.
    void Choose(const char* fault)
    {
        SetEnvironmentVariableA("TALVERN_BROWSER", program.c_str());
        SetEnvironmentVariableA("TALVERN_BROWSER_ARGUMENTS", fault);
    }

    /// What the last false browser has heard: its command line and the commands.
    static std::string Heard()
    {
        std::ifstream file(BuildFolder() + "\\tests\\browser\\false_browser.txt");
        return {std::istreambuf_iterator<char>(file), {}};
    }

    static std::size_t TimesHeard(const std::string& word)
    {
        const std::string heard = Heard();
        std::size_t times = 0;
        for (std::size_t at = 0; (at = heard.find(word, at)) != std::string::npos; ++at) {
            ++times;
        }
        return times;
    }

    static bool HaveAllEnded()
    {
        return Running("talvern.exe").empty() && Running("false_browser.exe").empty();
    }

    inline static const std::string kAppPath =
        "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\msedge.exe";
    const std::string program = BuildFolder() + "\\tests\\browser\\false_browser.exe";
};

TEST_F(FalseBrowser, OneThatDoesNotComeUpIsNamedWithWhatIsWrong)
{
    SetEnvironmentVariableA("TALVERN_BROWSER", "Z:\\none");
    const auto choice = [&](const char* fault) {
        return "--browser \"" + program + "\" --browser-arguments " + fault;
    };
    const std::string noProgram = BuildFolder() + "\\tests\\CTestTestfile.cmake";
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {choice("--ends"),
         {program + " ended at once. The browser has gone: ", " printed: there is no display"}},
        {choice("--goes"), {"The browser has gone: "}},
        {choice("--old"),
         {"The browser is too old: Chrome/137.0.1. The oldest that works is 138."}},
        {choice("--no-page"),
         {"cannot be read (8 bytes)", "cannot be read (13 bytes)", "macro: a\\b\n",
          "The browser shows no page."}},
        {choice("--well") + " --profile a/b", {"\"a/b\" is no name for a profile."}},
        {"--browser Z:\\other.exe",
         {"There is no such browser: Z:\\other.exe, as the command line's --browser"}},
        {"--browser \"" + noProgram + "\"", {noProgram + " cannot be started (error "}},
        {"--browser \"" + program + "\" --browser-arguments",
         {"The command line cannot be read: --browser-arguments",
          "no such browser: Z:\\none, as "}},
    };
    for (const auto& [arguments, says] : cases) {
        const std::string lines = TraceOfOwnBrowser(arguments);
        for (const std::string& one : says) {
            EXPECT_THAT(lines, testing::HasSubstr(one)) << arguments;
        }
        EXPECT_THAT(ProfileFolders(), testing::IsEmpty()) << arguments;
    }
    std::filesystem::remove(FreshProfiles());
    std::ofstream(FreshProfiles().c_str()) << "no folder";
    EXPECT_THAT(TraceOfOwnBrowser(choice("--well")), testing::HasSubstr(" cannot be made."));
    std::filesystem::remove(FreshProfiles());
}

TEST_F(FalseBrowser, OneThatIsOutOfOrderIsAFailureOfTheCommandOnly)
{
    SetEnvironmentVariableA("TALVERN_BROWSER", nullptr);
    SetRegistryValue(kAppPath, nullptr, "\"" + program + "\"");
    const std::string longText(std::size_t{17} << 20, 'x');
    for (const auto& [fault, says] :
         {std::pair<const char*, std::string>("", "1||played"),
          {"--torn", "-1|The macro page is out of order: \"torn\" (-1)|"},
          {"--closed", "-1|The page was closed. (-1)|"},
          {"--refuses", "-100|Runtime.callFunctionOn: not now (-100)|"},
          {"--crashes",
           "-100|The macro was stopped with its own page: The page has crashed. (-100)|"},
          {"--long", "1||" + longText}}) {
        SetEnvironmentVariableA("TALVERN_BROWSER_ARGUMENTS", fault);
        ASSERT_EQ(app.Init("", true, 60), sOk) << fault;
        EXPECT_TRUE(Plays("extract(1)") == says) << fault << app.Error();
        EXPECT_EQ(app.Display("text"), sFail) << fault;
        EXPECT_EQ(app.Exit(), sOk) << fault;
        EXPECT_TRUE(Eventually(HaveAllEnded)) << fault;
    }
}

TEST_F(FalseBrowser, IsChosenByTheFirstPlaceThatNamesOneAndTakesEverybodysArguments)
{
    SetEnvironmentVariableA("TALVERN_BROWSER", "Z:\\none");
    SetEnvironmentVariableA("TALVERN_BROWSER_ARGUMENTS", "--ends");
    SetRegistryValue(kProductKey, "Browser", "Z:\\none.exe");
    SetRegistryValue(kProductKey, "BrowserArguments", "--disable-features=One,Two --well");
    ASSERT_EQ(app.Init(("--browser \"" + program + "\"").c_str(), true, 60), sOk);
    EXPECT_EQ(app.Exit(), sOk);
    const std::string heard = Heard();
    const std::string line = heard.substr(0, heard.find('\n'));
    EXPECT_THAT(line, testing::ContainsRegex(" --disable-features=BackForwardCache,.+,One,"
                                             "Two --well about:blank$"));
    EXPECT_EQ(line.find("--disable-features"), line.rfind("--disable-features"));
    EXPECT_THAT(line, testing::ContainsRegex(
                          " --remote-debugging-pipe --remote-debugging-io-pipes=\\d+,\\d+ "));
    EXPECT_THAT(line, testing::Not(testing::HasSubstr("-port")));
    EXPECT_THAT(line, testing::HasSubstr(" --do-not-de-elevate "));
    // It is visible, so nobody must be asked for the passwords of sites.
    EXPECT_THAT(heard, testing::ContainsRegex("continueRequest.+\"one\".+\"visible\""));
    EXPECT_THAT(heard, testing::ContainsRegex("continueWithAuth.+CancelAuth.+\"two\""));
}

TEST_F(FalseBrowser, AnInstanceWhoseStarterGoesAwayEndsWithItsBrowser)
{
    Choose("--well");
    EXPECT_EQ(StartedAndLeft("browser\\talvern.exe")->WaitForExit(10000), sOk);
    EXPECT_TRUE(Eventually(HaveAllEnded));
    EXPECT_THAT(ProfileFolders(), testing::IsEmpty());
}

TEST_F(FalseBrowser, EndsWithAnInstanceThatIsEndedByForceAndTheNextClearsUpWithoutFollowingLinks)
{
    Choose("--stays");
    ASSERT_EQ(app.Init("", true, 60), sOk);
    ASSERT_EQ(Running("false_browser.exe").size(), 1U);
    EXPECT_EQ(Running("talvern.exe").at(0)->Terminate(5000), sOk);
    EXPECT_TRUE(Eventually(HaveAllEnded));
    EXPECT_EQ(app.Exit(), sOk);
    ASSERT_EQ(ProfileFolders().size(), 1U);

    const std::filesystem::path somebodys = BuildFolder() + "\\somebodys";
    const std::filesystem::path link =
        std::filesystem::path(FreshProfiles()) / ProfileFolders()[0] / "link";
    std::filesystem::create_directory(somebodys);
    std::ofstream(somebodys / "file") << "kept";
    CreateSymbolicLinkW(link.c_str(), somebodys.c_str(), SYMBOLIC_LINK_FLAG_DIRECTORY);
    if (GetFileAttributesW(link.c_str()) == INVALID_FILE_ATTRIBUTES) {
        // Under Wine a process that has started a program of the host loses its registry.
        Process().Start(L"cmd.exe",
                        ToComString("/c start /unix /bin/ln -s \"" + HostPath(somebodys.string()) +
                                    "\" \"" + HostPath(link.string()) + "\""),
                        kNone, kNone, kNone, 5000);
    }
    ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(link / "file"); }));
    ASSERT_EQ(app.Init("", true, 60), sOk);
    EXPECT_TRUE(Eventually([] { return ProfileFolders().size() == 2; }));
    EXPECT_EQ(app.Exit(), sOk);
    EXPECT_THAT(ProfileFolders(), testing::IsEmpty());
    EXPECT_TRUE(std::filesystem::exists(somebodys / "file"));
    std::filesystem::remove_all(somebodys);
}

TEST_F(FalseBrowser, APlayThatIsGivenUpOrWhoseClientDiesIsEndedWithAllThatItHasOpened)
{
    Choose("--headless --endless");
    const auto running = Started("browser\\talvern.exe");
    {
        AppClient client;
        ASSERT_EQ(client.Init("", false, 60), sOk);
        for (int round = 0; round < 3; ++round) {
            EXPECT_EQ(client.Play("extract(1)", 1), sTimeout);
        }
        EXPECT_EQ(TimesHeard("\"Target.disposeBrowserContext\""), 2U);
    }
    EXPECT_TRUE(Eventually([] { return TimesHeard("\"Target.disposeBrowserContext\"") == 3; }));
    EXPECT_EQ(TimesHeard("\"Target.createBrowserContext\""), 3U);
    EXPECT_THAT(Heard(), testing::HasSubstr(R"({"targetId":"popup"})"));
    EXPECT_THAT(Heard(), testing::Not(testing::HasSubstr("Fetch.")));
    EXPECT_THAT(Heard(), testing::Not(testing::HasSubstr(R"({"targetId":"page"})")));
}

}  // namespace tvn::tests
