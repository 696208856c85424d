// tvnInit's options, the search for a free instance, the three kinds of browser, credentials.

#include <gmock/gmock.h>

#include "basicslib/StatusCode.h"
#include "process/InstancesMgr.h"
#include "process/Process.h"
#include "tests/app_client.h"
#include "tests/log_capture.h"
#include "tests/replaced_imports.h"

using testing::ElementsAre;
using testing::HasSubstr;
using tests::AppClient;
using tests::ChildProcess;
using tests::Elapsed;
using tests::g_imports;
using tests::LogCapture;

namespace
{

const std::string kTrace = "[tvn::HI_LEVEL_PROTOCOL] [C] ";

class Attach : public testing::Test
{
  protected:
    ~Attach() override
    {
        SetEnvironmentVariableA("TALVERN_STANDIN", nullptr);
        tests::SetRegistryValue("SOFTWARE\\Talvern", "PathBasic", tests::StandinFolder());
        for (const wchar_t* name : {L"firefox.exe", L"iexplore.exe", L"talvern.exe"}) {
            std::vector<boost::shared_ptr<tvn::IProcess>> list;
            tvn::Process().GetProcessesByName(name, list, 0);
            for (const auto& process : list) {
                process->Terminate(0);
                process->WaitForExit(5000);
            }
        }
    }

    static std::size_t Count(const wchar_t* name)
    {
        std::vector<boost::shared_ptr<tvn::IProcess>> list;
        tvn::Process().GetProcessesByName(name, list, 0);
        return list.size();
    }

    /// A Firefox that runs already, found by its window.
    static std::unique_ptr<ChildProcess> Running(const std::string& arguments = "")
    {
        std::vector<boost::shared_ptr<tvn::Instance>> before;
        std::vector<boost::shared_ptr<tvn::Instance>> after;
        tvn::InstancesMgr mgr;
        mgr.GetInstancesByName(before, L"firefox.exe", 0);
        auto process =
            std::make_unique<ChildProcess>(tests::StandinFolder() + "\\firefox.exe " + arguments);
        EXPECT_TRUE(tests::Eventually([&] {
            mgr.GetInstancesByName(after, L"firefox.exe", 0);
            return after.size() > before.size();
        }));
        Sleep(200);  // the pipe comes after the window
        return process;
    }

    std::string CommandLine()
    {
        EXPECT_EQ(app.Play(L"!commandline"), tvn::sOk);
        return tvn::ToNarrow(app.Extract());
    }

    AppClient app;
};

/// `text` with the two identifiers of a start put in the place of P and C.
std::string WithIds(std::string text, const LogCapture& log)
{
    const std::string ids = log.Starting(kTrace + "Allocated id's").back();
    text.replace(text.find("=P") + 1, 1, ids.substr(ids.find("pipeUuid = ") + 11, 36));
    return text.replace(text.find("=C") + 1, 1, ids.substr(ids.find("creatorUuid = ") + 14, 36));
}

}  // namespace

TEST_F(Attach, TakesTheFreeInstanceAndStartsOneWhenNoneIs)
{
    const auto first = Running();
    const auto second = Running();
    AppClient other;
    AppClient third;
    const LogCapture log;
    EXPECT_EQ(other.Init(L"-fx", false), tvn::sOk);
    EXPECT_EQ(app.Init(L"-FX", false), tvn::sOk);
    EXPECT_EQ(Count(L"firefox.exe"), 2U);
    EXPECT_EQ(log.Starting(kTrace + "CApp::AttachIfFree(pipeHwnd = 0x").size(), 3U);
    EXPECT_THAT(log.Starting(kTrace + "CApp::AttachIfFree(").front(),
                testing::EndsWith("creatorUuid = (null))"));
    EXPECT_THAT(
        log.Starting(kTrace + "CApp::AttachIfFree - "),
        ElementsAre(kTrace + "CApp::AttachIfFree - sOk", kTrace + "CApp::AttachIfFree - sFail",
                    kTrace + "CApp::AttachIfFree - sOk"));
    EXPECT_EQ(third.Init(L"-fx", false), tvn::sOk);
    EXPECT_EQ(Count(L"firefox.exe"), 3U);
    EXPECT_TRUE(log.Has("[tvn::debug] tvnInit, failed with 1"));
    EXPECT_EQ(app.Exit() + other.Exit() + third.Exit(), 3);
}

TEST_F(Attach, GoesOnPastRefusalsToTheNextInTheList)
{
    const auto free = Running();
    const auto refusing = Running("-standin=refuse");
    const auto alsoRefusing = Running("-standin=refuse");
    EXPECT_EQ(app.Init(L"-fx", false), tvn::sOk);
    EXPECT_EQ(CommandLine(), tests::StandinFolder() + "\\firefox.exe ");
    EXPECT_EQ(Count(L"firefox.exe"), 3U);
}

TEST_F(Attach, GivesInstancesThatDoNotAnswerHalfOfTheTimeAndThenStartsOne)
{
    for (const char* fault : {"-standin=no-answer", "-standin=no-pipe"}) {
        SCOPED_TRACE(fault);
        auto ends = Running();
        const auto faulty = Running(fault);
        // The other one ends between being listed and being asked.
        tests::ActionWindow window([&] { ends.reset(); });
        window.CallLater(500);
        LogCapture log;
        long long attach = 0;
        const auto whole = Elapsed([&] { EXPECT_EQ(app.Init(L"-fx", false, 8), tvn::sOk); });
        EXPECT_GE(whole, 3500);
        EXPECT_LT(whole, 8000);
        EXPECT_EQ(log.Count(kTrace + "CApp::AttachIfFree - sFail") +
                      log.Count(kTrace + "CApp::AttachIfFree - sOk"),
                  3);
        attach = static_cast<long long>(log.Starting(kTrace + "1 = createProcess").size());
        EXPECT_EQ(attach, 1);
        EXPECT_THAT(CommandLine(), HasSubstr("-new-window"));
        EXPECT_EQ(app.Exit(), tvn::sOk);
    }
}

TEST_F(Attach, EachKindOfBrowserGetsItsCommandLineToTheLetter)
{
    const std::string folder = tests::StandinFolder();
    const std::string page = "file:///" + folder + "\\Welcome_plugin.htm";
    const std::string ids = "&pipeUuid=P&creatorUuid=C \"";
    const struct
    {
        const wchar_t* options;
        std::string expected;
    } cases[] = {
        {L"-ie", "\\iexplore.exe  \"" + page + "?authorizeAll=false" + ids},
        {L"-fx", "\\firefox.exe  -new-window \"about:blank?authorizeAll=false" + ids},
        {L"-ie -fx -authorizeALL -fxVersion 3.6.8 -fxLocale en-US",
         "\\firefox.exe  -new-window \"about:blank?authorizeAll=true" + ids},
        {L"-fx -ie -authorizeAll", "\\iexplore.exe  \"" + page + "?authorizeAll=true" + ids},
        {L"-authorizeAll \"a b\"",
         "\\talvern.exe  -authorizeAll \"a b\" /pipeUuid=P /creatorUuid=C"},
    };
    for (const auto& each : cases) {
        const LogCapture log;
        ASSERT_EQ(app.Init(each.options), tvn::sOk) << each.expected;
        EXPECT_EQ(CommandLine(), folder + WithIds(each.expected, log));
        EXPECT_EQ(app.Exit(), tvn::sOk);
    }
    const LogCapture log;
    tests::DeleteRegistryKey("SOFTWARE\\Talvern");
    ASSERT_EQ(app.Init(L"-ie"), tvn::sOk);
    EXPECT_EQ(CommandLine(),
              folder + WithIds("\\iexplore.exe  \"about:blank?authorizeAll=false" + ids, log));
    EXPECT_EQ(app.Exit(), tvn::sOk);
}

TEST_F(Attach, OptionsOfAFailedInitLastUntilExit)
{
    EXPECT_EQ(app.Init(L"-fx -fxVersion 99", true), tvn::sFail);
    EXPECT_EQ(app.Init(AppClient::LeftOut(), true), tvn::sFail) << "still that Firefox";
    EXPECT_EQ(app.Init(L"-fxVersion \"3.6.8\" -fxVersion"), tvn::sOk) << "at the end: no value";
    EXPECT_THAT(CommandLine(), HasSubstr("firefox.exe"));
    EXPECT_EQ(app.Exit(), tvn::sOk);
    EXPECT_EQ(app.Init(), tvn::sOk);
    EXPECT_THAT(CommandLine(), HasSubstr("talvern.exe"));
    EXPECT_EQ(app.Exit(), tvn::sOk);
}

TEST_F(Attach, AnyCommandLineIsTaken)
{
    for (const std::wstring& text :
         {std::wstring(), std::wstring(L"   "), std::wstring(L"\"-fx"), std::wstring(L"\\\"-fx"),
          std::wstring(L"-x \"open"), std::wstring(32000, L'a')}) {
        const LogCapture log;
        ASSERT_EQ(app.Init(text.c_str()), tvn::sOk) << text.size();
        const bool firefox = text == L"\"-fx";
        const std::string command = CommandLine();
        if (firefox) {
            EXPECT_THAT(command, HasSubstr("firefox.exe")) << "a quote that is left open groups";
        } else {
            EXPECT_EQ(command, tests::StandinFolder() + "\\talvern.exe  " + tvn::ToNarrow(text) +
                                   WithIds(" /pipeUuid=P /creatorUuid=C", log));
        }
        EXPECT_EQ(app.Exit(), tvn::sOk);
    }
    const LogCapture log;
    ASSERT_EQ(app.Init(5L), tvn::sOk) << "a number is no command line";
    EXPECT_EQ(CommandLine(), tests::StandinFolder() + "\\talvern.exe " +
                                 WithIds(" /pipeUuid=P /creatorUuid=C", log));
    EXPECT_EQ(app.Exit(), tvn::sOk);
}

TEST_F(Attach, AFirefoxIsLeftToEndByItself)
{
    SetEnvironmentVariableA("TALVERN_STANDIN", "stay");
    ASSERT_EQ(app.Init(L"-fx"), tvn::sOk);
    EXPECT_LT(Elapsed([&] { EXPECT_EQ(app.Exit(20), tvn::sOk); }), 3000);
    EXPECT_EQ(Count(L"firefox.exe"), 1U);
    ASSERT_EQ(app.Init(L"-fx"), tvn::sOk);
    EXPECT_EQ(app.Play(L"!hang", 1), tvn::sTimeout);
    EXPECT_EQ(app.Exit(3), tvn::sTimeout) << "the status of the command";
    EXPECT_EQ(app.Exit(), tvn::sNotStarted);
}

TEST_F(Attach, CredentialsLastOverAFailureAndAreGoneAfterExit)
{
    const auto credentials = [] {
        return std::vector<std::wstring>(g_imports.logon.begin(), g_imports.logon.begin() + 3);
    };
    EXPECT_EQ(app.Init(L"-a", true, 20, L"U", L"P", L"D"), tvn::sFail);
    EXPECT_THAT(credentials(), ElementsAre(L"U", L"D", L"P"));
    EXPECT_EQ(tvn::ToNarrow(g_imports.logon[4]), tests::StandinFolder() + "\\talvern.exe");
    EXPECT_EQ(g_imports.logon[5].rfind(L" -a /pipeUuid=", 0), 0U) << "without the program's path";
    VARIANT byReference = {};
    _variant_t password(L"Q");
    V_VT(&byReference) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(&byReference) = &password;
    EXPECT_EQ(app.Init(L"-a", true, 20, 5L, byReference), tvn::sFail);
    EXPECT_THAT(credentials(), ElementsAre(L"U", L"D", L"Q"));

    const auto running = Running();
    EXPECT_EQ(app.Init(L"-fx", false), tvn::sOk) << "no logon to attach to one that runs";
    EXPECT_EQ(app.Exit(), tvn::sOk);
    g_imports.logon.clear();
    EXPECT_EQ(app.Init(), tvn::sOk);
    EXPECT_TRUE(g_imports.logon.empty());
    EXPECT_EQ(app.Exit(), tvn::sOk);
}
