// Browsers that are none, or are out of order, and what is said about them.

#include "basicslib/StatusCode.h"
#include "tests/browser/real_browser.h"
#include "tests/moments.h"
#include "tests/surroundings.h"

namespace tvn::tests
{

class FalseBrowser : public RealBrowser
{
  protected:
    ~FalseBrowser() override
    {
        SetEnvironmentVariableA("TMP", m_temporary.c_str());
        DeleteRegistryKey(kAppPath);
    }

    void SetUp() override {}  // no real one is needed

    static std::string Variable(const char* name)
    {
        char value[MAX_PATH] = "";
        GetEnvironmentVariableA(name, value, MAX_PATH);
        return value;
    }

    inline static const std::string kAppPath =
        "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\msedge.exe";
    const std::string program = BuildFolder() + "\\tests\\browser\\false_browser.exe";

  private:
    const std::string m_temporary = Variable("TMP");
};

TEST_F(FalseBrowser, OneThatDoesNotComeUpIsNamedWithWhatIsWrong)
{
    SetEnvironmentVariableA("TALVERN_BROWSER", "Z:\\none");
    const auto choice = [&](const char* fault) {
        return "--browser \"" + program + "\" --browser-arguments " + fault;
    };
    const std::string noProgram = BuildFolder() + "\\tests\\CTestTestfile.cmake";
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {choice("--ends"), {program + " ended at once. It has printed: there is no display"}},
        {choice("--refuses"),
         {"There is no connection to the browser at 127.0.0.1:", "does not end when it is told"}},
        {choice("--goes"), {"The browser has gone: "}},
        {choice("--no-page"),
         {"cannot be read (8 bytes)", "cannot be read (13 bytes)", "macro: a\\b\n",
          "The browser shows no page."}},
        {"--browser \"" + noProgram + "\"", {noProgram + " cannot be started (error "}},
        {"--browser \"" + program + "\" --browser-arguments",
         {"The command line cannot be read: --browser-arguments", "There is no browser to drive."}},
    };
    for (const auto& [arguments, says] : cases) {
        const std::string lines = TraceOfOwnBrowser(arguments);
        for (const std::string& one : says) {
            EXPECT_THAT(lines, testing::HasSubstr(one)) << arguments;
        }
        EXPECT_THAT(ProfileFolders(), testing::IsEmpty()) << arguments;
    }
    SetEnvironmentVariableA("TMP", "Z:\\none");
    EXPECT_THAT(TraceOfOwnBrowser(choice("--well")),
                testing::HasSubstr("There is no folder for temporary files: "));
}

TEST_F(FalseBrowser, OneThatIsOutOfOrderIsAFailureOfTheCommandOnly)
{
    SetEnvironmentVariableA("TALVERN_BROWSER", "Z:\\none");
    SetRegistryValue(kAppPath, nullptr, "\"" + program + "\"");
    for (const auto& [fault, says] :
         {std::pair("", "1||played"),
          {"--torn", "-1|The macro page is out of order: \"torn\" (-1)|"},
          {"--closed", "-1|The page was closed. (-1)|"}}) {
        SetEnvironmentVariableA("TALVERN_BROWSER_ARGUMENTS", fault);
        ASSERT_EQ(app.Init("", true, 60), sOk) << fault;
        EXPECT_EQ(Plays("extract(1)"), says) << fault;
        EXPECT_EQ(app.Display("text"), sFail) << fault;
        EXPECT_EQ(app.Exit(), sOk) << fault;
        EXPECT_TRUE(Eventually([] { return Running("talvern.exe").empty(); }));
    }
}

TEST_F(FalseBrowser, AnInstanceWhoseStarterGoesAwayEndsWithItsBrowser)
{
    SetEnvironmentVariableA("TALVERN_BROWSER", program.c_str());
    SetEnvironmentVariableA("TALVERN_BROWSER_ARGUMENTS", "--well");
    EXPECT_EQ(StartedAndLeft("browser\\talvern.exe")->WaitForExit(10000), sOk);
    EXPECT_TRUE(Eventually([] { return Running("false_browser.exe").empty(); }));
    EXPECT_THAT(ProfileFolders(), testing::IsEmpty());
}

}  // namespace tvn::tests
