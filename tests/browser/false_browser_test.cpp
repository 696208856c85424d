// Browsers that are none, or are out of order, and what is said about them; what a browser is
// started with, and what is left of it.

#include <filesystem>
#include <fstream>
#include <regex>

#include "basicslib/StatusCode.h"
#include "process/Process.h"
#include "tests/browser/real_browser.h"
#include "tests/moments.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class FalseBrowser : public RealBrowser
{
  protected:
    ~FalseBrowser() override
    {
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, kAppPath.c_str());
        SetRegistryValue(kProductKey, "Browser", "");
        SetRegistryValue(kProductKey, "BrowserArguments", "");
        Choose(nullptr, nullptr);  // the next test begins afresh
    }

    void SetUp() override {}  // no real one is needed

    /// What the environment says of the next browser.
    static void Choose(const char* path, const char* arguments)
    {
        SetEnvironmentVariableA("TALVERN_BROWSER", path);
        SetEnvironmentVariableA("TALVERN_BROWSER_ARGUMENTS", arguments);
    }

    /// What the last false browser has heard: its command line and the commands.
    static std::string Heard()
    {
        return Printed(BuildFolder() + "\\tests\\browser\\false_browser.txt");
    }

    static std::ptrdiff_t TimesHeard(const std::string& word)
    {
        const std::string heard = Heard();
        const std::regex one(word);
        return std::distance(std::sregex_iterator(heard.begin(), heard.end(), one), {});
    }

    inline static const std::string kAppPath =
        "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\msedge.exe";
    const std::string program = BuildFolder() + "\\tests\\browser\\false_browser.exe";
};

TEST_F(FalseBrowser, OneThatDoesNotComeUpIsNamedWithWhatIsWrong)
{
    Choose("Z:\\none", nullptr);
    const std::string chosen = "--browser \"" + program + "\" --browser-arguments ";
    const std::string noProgram = BuildFolder() + "\\tests\\CTestTestfile.cmake";
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {chosen + "--ends",
         {program + " ended at once. The browser has gone: ", " printed: there is no display"}},
        {chosen + "--goes", {"The browser has gone: "}},
        {chosen + "--old",
         {"The browser is too old: Chrome/137.0.1. The oldest that works is 138."}},
        {chosen + "--no-page",
         {"cannot be read (8 bytes)", "cannot be read (13 bytes)", "macro: a\\b 1\n",
          "The browser shows no page."}},
        {chosen + "--well --profile a/b", {"\"a/b\" is no name for a profile."}},
        {"--browser Z:\\other.exe",
         {"There is no such browser: Z:\\other.exe, as the command line's --browser"}},
        {"--browser \"" + noProgram + "\"", {noProgram + " ended at once. ", " printed: "}},
        {chosen,
         {"The command line cannot be read: --browser-arguments",
          "no such browser: Z:\\none, as the environment variable TALVERN_BROWSER"}},
    };
    for (const auto& [arguments, says] : cases) {
        const std::string lines = TraceOfOwnBrowser(arguments);
        for (const std::string& one : says) {
            EXPECT_THAT(lines, HasSubstr(one)) << arguments;
        }
        EXPECT_THAT(ProfileFolders(), IsEmpty()) << arguments;
    }
    SetRegistryValue(kProductKey, "Browser", "Z:\\theirs.exe");
    EXPECT_THAT(TraceOfOwnBrowser(), HasSubstr("no such browser: Z:\\theirs.exe, as the value"));
    SetRegistryValue(kProductKey, "Browser", "");
    Choose(nullptr, nullptr);
    const std::string lines = TraceOfOwnBrowser();
    for (const char* place : {"\"Browser\"", "TALVERN_BROWSER (not set)",
                              "App Paths of msedge.exe (not set)", "chrome.exe", "chromium.exe"}) {
        EXPECT_THAT(lines, HasSubstr(place));
    }
    std::filesystem::remove(FreshProfiles());
    std::ofstream(FreshProfiles().c_str()) << "no folder";
    EXPECT_THAT(TraceOfOwnBrowser(chosen + "--well"), HasSubstr(" cannot be made."));
    std::filesystem::remove(FreshProfiles());
}

TEST_F(FalseBrowser, OneThatIsOutOfOrderIsAFailureOfTheCommandOnly)
{
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
        Choose(nullptr, fault);
        ASSERT_EQ(app.Init("", true, 60), sOk) << fault;
        EXPECT_TRUE(Plays("extract(1)") == says) << fault << app.Error();
        EXPECT_EQ(app.Display("text"), sFail) << fault;
        EXPECT_EQ(app.Exit(), sOk) << fault;
        ExpectNothingLeft();
    }
}

TEST_F(FalseBrowser, IsChosenByTheFirstPlaceThatNamesOneAndTakesEverybodysArguments)
{
    Choose("Z:\\none", "--ends");
    SetRegistryValue(kProductKey, "Browser", "Z:\\none.exe");
    SetRegistryValue(kProductKey, "BrowserArguments", "--disable-features=One,Two --well");
    ASSERT_EQ(app.Init(("--browser \"" + program + "\"").c_str(), true, 60), sOk);
    EXPECT_EQ(app.Exit(), sOk);
    const std::string heard = Heard();
    const std::string line = heard.substr(0, heard.find('\n'));
    EXPECT_THAT(line, ContainsRegex(" --disable-features=BackForwardCache,.+,One,"
                                    "Two --well about:blank$"));
    EXPECT_EQ(line.find("--disable-features"), line.rfind("--disable-features"));
    EXPECT_THAT(line,
                ContainsRegex(" --remote-debugging-pipe --remote-debugging-io-pipes=\\d+,\\d+ "));
    EXPECT_THAT(line, Not(HasSubstr("-port")));
    EXPECT_THAT(line, HasSubstr(" --do-not-de-elevate "));
    // It is visible, so nobody must be asked for the passwords of sites.
    EXPECT_THAT(heard, ContainsRegex("continueRequest.+\"one\".+\"visible\""));
    EXPECT_THAT(heard, ContainsRegex("continueWithAuth.+CancelAuth.+\"two\""));
}

TEST_F(FalseBrowser, EndsWithAnInstanceWhoseStarterGoesAwayAndInheritsNothingButItsPipes)
{
    Choose(program.c_str(), "--well");
    EXPECT_EQ(StartedAndLeft("browser\\talvern.exe")->WaitForExit(10000), sOk);
    ExpectNothingLeft();

    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const Handle others(CreateEventA(&inherited, TRUE, FALSE, nullptr));
    const auto instance = StartedInto(others.Get(), BuildFolder() + "\\browser\\talvern.exe");
    EXPECT_TRUE(Eventually([] { return !Running("false_browser.exe").empty(); }));
    ASSERT_EQ(app.Init("", false, 60), sOk);
    EXPECT_EQ(app.Exit(), sOk);
    EXPECT_EQ(TimesHeard("inherited: "), 4) << Heard();
}

TEST_F(FalseBrowser, EndsWithAnInstanceThatIsEndedByForceAndTheNextClearsUpWithoutFollowingLinks)
{
    Choose(program.c_str(), "--stays");
    ASSERT_EQ(app.Init("", true, 60), sOk);
    ASSERT_EQ(Running("false_browser.exe").size(), 1U);
    EXPECT_EQ(Running("talvern.exe").at(0)->Terminate(5000), sOk);
    EXPECT_TRUE(Eventually(
        [] { return Running("talvern.exe").empty() && Running("false_browser.exe").empty(); }));
    EXPECT_EQ(app.Exit(), sOk);
    ASSERT_EQ(ProfileFolders().size(), 1U);

    const std::filesystem::path somebodys = BuildFolder() + "\\somebodys";
    const std::filesystem::path link = FreshProfiles() + "\\" + ProfileFolders()[0] + "\\link";
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
    EXPECT_THAT(ProfileFolders(), IsEmpty());
    EXPECT_TRUE(std::filesystem::exists(somebodys / "file"));
    std::filesystem::remove_all(somebodys);
}

TEST_F(FalseBrowser, APlayThatIsGivenUpOrWhoseClientDiesIsEndedWithAllThatItHasOpened)
{
    Choose(program.c_str(), "--headless --endless");
    const auto running = Started("browser\\talvern.exe");
    {
        AppClient client;
        ASSERT_EQ(client.Init("", false, 60), sOk);
        for (int round = 0; round < 3; ++round) {
            EXPECT_EQ(client.Play("extract(1)", 1), sTimeout);
        }
        EXPECT_EQ(TimesHeard("\"Target.disposeBrowserContext\""), 2);
    }
    EXPECT_TRUE(Eventually([] { return TimesHeard("\"Target.disposeBrowserContext\"") == 3; }));
    EXPECT_EQ(TimesHeard("\"Target.createBrowserContext\""), 3);
    EXPECT_THAT(Heard(), HasSubstr(R"({"targetId":"popup"})"));
    EXPECT_THAT(Heard(), Not(HasSubstr("Fetch.")));
    EXPECT_THAT(Heard(), Not(HasSubstr(R"({"targetId":"page"})")));
}

}  // namespace tvn::tests
