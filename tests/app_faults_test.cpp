// What a script gets when the browser does not behave, and that the next tvnInit works.

#include <gmock/gmock.h>

#include "basicslib/StatusCode.h"
#include "process/Process.h"
#include "tests/app_client.h"
#include "tests/log_capture.h"
#include "tests/replaced_imports.h"

using tests::AppClient;
using tests::Elapsed;
using tests::g_imports;
using tests::Lines;

namespace
{

constexpr const char* kProduct = "SOFTWARE\\Talvern";

/// Every browser that a test leaves running is ended, and every handle must be closed.
class AppFaults : public testing::Test
{
  protected:
    AppFaults()
    {
        AppClient warmUp;
        EXPECT_EQ(warmUp.Init(), tvn::sOk);
        EXPECT_EQ(warmUp.Exit(), tvn::sOk);
        m_handles = tests::CountHandles();
    }

    ~AppFaults() override
    {
        EndBrowsers();
        tests::SetRegistryValue(kProduct, "PathBasic", tests::StandinFolder());
        EXPECT_EQ(app.Init(), tvn::sOk) << "the object still works";
        EXPECT_EQ(app.Play(L"m"), tvn::sOk);
        EXPECT_EQ(app.Exit(), tvn::sOk);
        EXPECT_EQ(tests::CountHandles(), m_handles);
    }

    static void EndBrowsers()
    {
        std::vector<boost::shared_ptr<tvn::IProcess>> list;
        tvn::Process().GetProcessesByName(L"talvern.exe", list, 0);
        for (const auto& process : list) {
            process->Terminate(0);
            process->WaitForExit(5000);
        }
    }

    /// A tvnInit of `seconds` that gives `expected`, leaves the object detached, and takes no
    /// longer.
    void ExpectInit(int expected, const wchar_t* commandLine, LONG seconds)
    {
        SCOPED_TRACE(testing::PrintToString(std::wstring(commandLine)));
        const auto elapsed =
            Elapsed([&] { EXPECT_EQ(app.Init(commandLine, true, seconds), expected); });
        EXPECT_LT(elapsed, seconds * 1000LL + 2000);
        EXPECT_EQ(app.Error(), L"");
        EXPECT_EQ(app.Play(L"m"), tvn::sNotStarted);
    }

    AppClient app;

  private:
    int m_handles = 0;
};

}  // namespace

TEST_F(AppFaults, NoFolderOrAWrongOneFailsAtOnce)
{
    const tests::LogCapture log;
    tests::SetRegistryValue(kProduct, "PathBasic", "C:\\nowhere");
    ExpectInit(tvn::sFail, L"", 20);
    tests::DeleteRegistryKey(kProduct);
    ExpectInit(tvn::sFail, L"", 20);
    EXPECT_TRUE(log.Has("[tvn::debug] CreateAndAttach, [1]"));
    EXPECT_EQ(log.Starting("[tvn::HI_LEVEL_PROTOCOL] [C] FFFFFFFF = createProcess(").size(), 2U);
}

TEST_F(AppFaults, ABrowserThatDoesNotCallBackIsWaitedForOnTime)
{
    const tests::LogCapture log;
    ExpectInit(tvn::sTimeout, L"-standin=end", 1);
    ExpectInit(tvn::sTimeout, L"-standin=no-callback", 1);
    EXPECT_EQ(log.Starting("[tvn::HI_LEVEL_PROTOCOL] [C] Wait new instance to callback - pipe is "
                           "NULL (remains = 0)")
                  .size(),
              2U);
}

TEST_F(AppFaults, ACallbackWithoutAMessageIsATimeOutOrAFailure)
{
    const tests::LogCapture log;
    const std::string failed =
        "[tvn::HI_LEVEL_PROTOCOL] [C] Wait new instance to callback failed. ";
    ExpectInit(tvn::sTimeout, L"-standin=silent-callback", 2);
    EXPECT_EQ(log.Starting(failed + "ReadPipeTimeout( 0x").size(), 1U);
    ExpectInit(tvn::sFail, L"-standin=closed-callback", 10);
    EXPECT_EQ(log.Starting(failed + "ReadPipeError( 0x").size(), 1U);
}

TEST_F(AppFaults, AnInstanceThatDoesNotAttachIsAFailure)
{
    const tests::LogCapture log;
    ExpectInit(tvn::sFail, L"-standin=refuse", 10);
    ExpectInit(tvn::sFail, L"-standin=no-pipe", 2);
    ExpectInit(tvn::sFail, L"-standin=no-answer", 2);
    EXPECT_EQ(log.Count("[tvn::HI_LEVEL_PROTOCOL] [C] CApp::AttachIfFree - sFail"), 3);
}

TEST_F(AppFaults, TimeOutsOfZeroAndMinusOne)
{
    ExpectInit(tvn::sTimeout, L"", 0);
    EndBrowsers();
    EXPECT_EQ(app.Init(L"", true, -1), tvn::sOk) << "a negative time-out is a very long one";
    EXPECT_EQ(app.Play(L"m", -1), tvn::sOk);
    EXPECT_EQ(app.Play(L"!wait 300", 0), tvn::sTimeout);
    EXPECT_EQ(app.Error() + app.Extract(), L"");
    EXPECT_EQ(app.Play(L"next"), tvn::sOk);
    EXPECT_EQ(app.Extract(), L"next") << "the late reply was skipped";
    EXPECT_EQ(app.Exit(0), tvn::sOk);
}

TEST_F(AppFaults, RepliesThatAreStaleLateMissingOrMalformed)
{
    ASSERT_EQ(app.Init(), tvn::sOk);
    EXPECT_EQ(app.Play(Lines({L"!stale", L"!reply own"})), tvn::sOk);
    EXPECT_EQ(app.Extract(), L"own");
    app.Set(L"v", L"1");
    EXPECT_LT(Elapsed([&] { EXPECT_EQ(app.Play(L"!silent", 1), tvn::sTimeout); }), 3000);
    EXPECT_EQ(app.Extract() + app.Error(), L"");
    EXPECT_EQ(app.Extract(1), L"NODATA");
    EXPECT_EQ(app.Play(L"!break"), tvn::sFail);
    EXPECT_EQ(app.Play(L"!claim"), tvn::sFail);
    EXPECT_EQ(app.Play(L"m"), tvn::sOk) << "a malformed reply loses nothing but itself";
    EXPECT_EQ(app.Extract(), L"m") << "a play that failed has used its variables up";
    EXPECT_EQ(app.Play(L"!close"), tvn::sFail);
    EXPECT_EQ(app.Play(L"m"), tvn::sFail) << "attached to nothing, until tvnExit";
    EXPECT_EQ(app.Exit(2), tvn::sOk) << "ended, since it does not end by itself";
}

TEST_F(AppFaults, ABrowserThatDiesDuringAPlay)
{
    ASSERT_EQ(app.Init(), tvn::sOk);
    EXPECT_LT(Elapsed([&] { EXPECT_EQ(app.Play(L"!end", 60), tvn::sFail); }), 10000);
    EXPECT_EQ(app.Display(L"t"), tvn::sFail);
    EXPECT_EQ(app.Exit(), tvn::sOk);
}

TEST_F(AppFaults, ABrowserThatHasStoppedReadingHoldsNobody)
{
    ASSERT_EQ(app.Init(), tvn::sOk);
    EXPECT_EQ(app.Play(L"!hang", 1), tvn::sTimeout);
    const std::wstring macro(16 << 20, L'm');
    EXPECT_LT(Elapsed([&] { EXPECT_EQ(app.Play(macro, 2), tvn::sTimeout); }), 4500);
    EXPECT_LT(Elapsed([&] { EXPECT_EQ(app.Exit(3), tvn::sOk); }), 5000);
}

TEST_F(AppFaults, ABrowserThatDoesNotEndIsTerminatedWithinTheTime)
{
    ASSERT_EQ(app.Init(L"-standin=stay"), tvn::sOk);
    const auto elapsed = Elapsed([&] { EXPECT_EQ(app.Exit(2), tvn::sOk); });
    EXPECT_GE(elapsed, 900) << "half of what was left was waited for";
    EXPECT_LT(elapsed, 3000);
    std::vector<boost::shared_ptr<tvn::IProcess>> list;
    EXPECT_TRUE(tests::Eventually([&] {
        tvn::Process().GetProcessesByName(L"talvern.exe", list, 0);
        return list.empty();
    }));
}

TEST_F(AppFaults, ExceptionsEndAsAStatusWithTheirText)
{
    g_imports.failCreateEvent = true;
    EXPECT_EQ(app.Init(), tvn::sFail);
    EXPECT_THAT(tvn::ToNarrow(app.Error()),
                testing::MatchesRegex("Win32Exception\\( 0x000005AA \\), line: \\d+, file: "
                                      "pipeutils/Overlapped.cpp"));
    g_imports.failCreateEvent = false;

    VARIANT broken = {};
    V_VT(&broken) = VT_BSTR | VT_BYREF;
    EXPECT_EQ(app.Init(broken), tvn::sFail);
    EXPECT_THAT(tvn::ToNarrow(app.Error()),
                testing::MatchesRegex("tvnMethod. Unexpected exception catched. \\d+, "
                                      "Interface/App.cpp"));

    ASSERT_EQ(app.Init(), tvn::sOk);
    app.Set(L"kept", L"1");
    g_imports.failCreateEvent = true;
    EXPECT_EQ(app.Play(L"first"), tvn::sFail);
    g_imports.failCreateEvent = false;
    EXPECT_EQ(app.Play(L"second"), tvn::sOk);
    EXPECT_EQ(app.Extract(1), L"second") << "in front of what the failed play has left";
    g_imports.failCreateEvent = true;
    EXPECT_EQ(app.Exit(), tvn::sFail);
    g_imports.failCreateEvent = false;
    EXPECT_EQ(app.Exit(), tvn::sNotStarted) << "detached all the same";
}
