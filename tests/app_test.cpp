// The scripting object's eight methods with a browser that behaves.

#include <gmock/gmock.h>

#include "basicslib/StatusCode.h"
#include "process/Process.h"
#include "tests/app_client.h"
#include "tests/log_capture.h"

using tests::AppClient;
using tests::Lines;
using tests::LogCapture;

namespace
{

const std::string kProtocol = "[tvn::HI_LEVEL_PROTOCOL] [C] ";

class AttachedApp : public testing::Test
{
  protected:
    AttachedApp() { EXPECT_EQ(app.Init(), tvn::sOk); }
    ~AttachedApp() override { app.Exit(); }
    AppClient app;
};

int CountBrowsers()
{
    std::vector<boost::shared_ptr<tvn::IProcess>> list;
    tvn::Process().GetProcessesByName(L"talvern.exe", list, 0);
    return static_cast<int>(list.size());
}

}  // namespace

TEST(DetachedApp, WorksWithoutABrowserWhereItCan)
{
    const LogCapture log;
    AppClient app;
    LONG version = 0;
    EXPECT_EQ(app.Get()->tvnGetInterfaceVersion(&version), S_OK);
    EXPECT_EQ(version, 6300216);
    EXPECT_EQ(app.Error(), L"");
    EXPECT_EQ(app.Extract(), L"");
    EXPECT_EQ(app.Extract(1), L"NODATA");
    EXPECT_EQ(app.Set(L"a", L"b"), tvn::sOk);
    EXPECT_EQ(app.Play(L"m"), tvn::sNotStarted);
    EXPECT_EQ(app.Display(L"t"), tvn::sNotStarted);
    EXPECT_EQ(app.Exit(), tvn::sNotStarted);
    EXPECT_THAT(log.Lines(), testing::ElementsAre(kProtocol + "CApp::tvnPlay(command = m)"));
    EXPECT_EQ(app.Get()->tvnGetInterfaceVersion(nullptr), S_OK);
    EXPECT_EQ(app.Get()->tvnExit(0, nullptr), S_OK);
    EXPECT_EQ(app.Get()->tvnGetLastError(nullptr), S_OK);
}

TEST_F(AttachedApp, WhatGoesIntoAPlayComesOut)
{
    app.Set(L"city", L"New York");
    app.Set(L"-fast", L"1 2");
    app.Set(L"x-y", L"a\r\n[SP]b");
    app.Set(nullptr, nullptr);
    const LogCapture log;
    EXPECT_EQ(app.Play(L"Search\nnow please"), tvn::sOk);
    EXPECT_EQ(app.Error(), L"");
    EXPECT_EQ(app.Extract(),
              L"Search\nnow please[EXTRACT]city=New York[EXTRACT]-fast=1 2[EXTRACT]x-y=a\r\n "
              L"b[EXTRACT]=");
    EXPECT_EQ(app.Extract(2), L"city=New York");
    EXPECT_EQ(app.Extract(5), L"=");
    EXPECT_EQ(app.Extract(6), L"NODATA");
    EXPECT_EQ(log.Lines().front(), kProtocol + "CApp::tvnPlay(command = Search\nnow please)");
    EXPECT_TRUE(log.Has(kProtocol + "1 = CApp::tvnPlay"));

    EXPECT_EQ(app.Play(L"again"), tvn::sOk);
    EXPECT_EQ(app.Extract(), L"again") << "the variables were used up";
    const std::wstring zeros(L"a\0b", 3);
    EXPECT_EQ(app.Play(zeros), tvn::sOk);
    EXPECT_EQ(app.Extract(), zeros);
}

TEST_F(AttachedApp, RepliesAreCutIntoErrorAndPieces)
{
    EXPECT_EQ(app.Play(Lines({L"!status -1", L"!reply Error text[tvn!E!tvn]x[EXTRACT]y"})), -1);
    EXPECT_EQ(app.Error(), L"Error text (-1)");
    EXPECT_EQ(app.Extract(), L"x[EXTRACT]y");
    EXPECT_EQ(app.Extract(1) + app.Extract(2) + app.Extract(3), L"xyNODATA");

    EXPECT_EQ(app.Play(Lines({L"!status 2", L"!reply Done[tvn!E!tvn][EXTRACT]b[EXTRACT]"})), 1);
    EXPECT_EQ(app.Error(), L"Done (1)");
    EXPECT_EQ(app.Extract(1) + L"|" + app.Extract(2) + L"|" + app.Extract(3), L"|b|");
    EXPECT_EQ(app.Extract(4), L"NODATA");

    EXPECT_EQ(app.Play(Lines({L"!status 70000", L"!reply [tvn!E!tvn]x"})), 70000);
    EXPECT_EQ(app.Error(), L"");
    EXPECT_EQ(app.Extract(), L"[tvn!E!tvn]x");

    EXPECT_EQ(app.Play(Lines({L"!reply a[tvn!E!tvn]b[tvn!E!tvn]c"})), 1);
    EXPECT_EQ(app.Extract(), L"b[tvn!E!tvn]c");
    EXPECT_EQ(app.Play(L"!status -100"), tvn::sMacroError);
    EXPECT_EQ(app.Error() + app.Extract(), L"");
    EXPECT_EQ(app.Extract(1), L"NODATA");
}

TEST_F(AttachedApp, IndexesConvertTheAutomationWay)
{
    app.Play(Lines({L"!reply one[EXTRACT]two"}));
    VARIANT byReference = {};
    _variant_t referred(2L);
    V_VT(&byReference) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(&byReference) = &referred;
    VARIANT selfReference = {};
    V_VT(&selfReference) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(&selfReference) = &selfReference;
    VARIANT shortReference = {};
    SHORT two = 2;
    V_VT(&shortReference) = VT_I2 | VT_BYREF;
    V_I2REF(&shortReference) = &two;
    _variant_t null;
    V_VT(&null) = VT_NULL;
    for (const VARIANT& index :
         {VARIANT(_variant_t(2L)), VARIANT(_variant_t(2.0)),
          VARIANT(_variant_t(static_cast<short>(2))), byReference, shortReference}) {
        EXPECT_EQ(app.Extract(index), L"two") << V_VT(&index);
    }
    EXPECT_EQ(app.Extract(L"2"), L"two");
    for (const _variant_t& nothing :
         {_variant_t(-1L), _variant_t(3L), _variant_t(32768L), _variant_t(65537L), _variant_t(1e12),
          _variant_t(L"x"), null, _variant_t(true)}) {
        EXPECT_EQ(app.Extract(nothing), L"NODATA") << V_VT(&nothing);
    }
    EXPECT_EQ(app.Extract(selfReference), L"NODATA");
    for (const _variant_t& whole : {_variant_t(), _variant_t(0L), _variant_t(L"0")}) {
        EXPECT_EQ(app.Extract(whole), L"one[EXTRACT]two");
    }
}

TEST_F(AttachedApp, ADisplayedTextArrivesUnchangedAndTouchesNothing)
{
    app.Play(Lines({L"!status -5", L"!reply old[tvn!E!tvn]kept"}));
    app.Set(L"v", L"1");
    EXPECT_EQ(app.Display(L"a b\r\nc"), tvn::sOk);
    EXPECT_EQ(app.Error(), L"old (-5)");
    EXPECT_EQ(app.Extract(), L"kept");
    EXPECT_EQ(app.Play(L"m"), tvn::sOk);
    EXPECT_EQ(app.Extract(2), L"v=1");
    app.Play(L"!displayed");
    EXPECT_EQ(app.Extract(), L"a b\r\nc");
}

TEST_F(AttachedApp, ASecondInitIsRefusedAndEmptiesTheTexts)
{
    app.Play(Lines({L"!status -5", L"!reply old[tvn!E!tvn]x[EXTRACT]y"}));
    app.Set(L"v", L"1");
    EXPECT_EQ(app.Init(L"-fx"), tvn::sInternal);
    EXPECT_EQ(app.Error() + app.Extract(), L"");
    EXPECT_EQ(app.Extract(2), L"y") << "the pieces are those of the last play";
    EXPECT_EQ(app.Play(L"m"), tvn::sOk);
    EXPECT_EQ(app.Extract(), L"m");
}

TEST(App, InitLosesEarlierVariablesAndExitKeepsTheTexts)
{
    AppClient app;
    app.Set(L"lost", L"1");
    ASSERT_EQ(app.Init(), tvn::sOk);
    app.Play(Lines({L"!status -5", L"!reply e[tvn!E!tvn]x"}));
    EXPECT_EQ(CountBrowsers(), 1);
    EXPECT_EQ(app.Exit(), tvn::sOk);
    EXPECT_EQ(CountBrowsers(), 0);
    EXPECT_EQ(app.Error() + app.Extract(), L"e (-5)x");
    EXPECT_EQ(app.Play(L"m"), tvn::sNotStarted);
    ASSERT_EQ(app.Init(), tvn::sOk) << "the same object attaches again";
    app.Play(L"m");
    EXPECT_EQ(app.Extract(), L"m");
    EXPECT_EQ(app.Exit(), tvn::sOk);
}

TEST(App, TwoObjectsDriveTwoBrowsersAndLeaveNoHandle)
{
    {
        AppClient warmUp;
        warmUp.Init();
        warmUp.Exit();
    }
    const int before = tests::CountHandles();
    {
        AppClient first;
        AppClient second;
        EXPECT_EQ(first.Init(), tvn::sOk);
        EXPECT_EQ(second.Init(), tvn::sOk);
        first.Play(L"one");
        second.Play(L"two");
        EXPECT_EQ(first.Extract() + second.Extract(), L"onetwo");
        EXPECT_EQ(first.Exit(), tvn::sOk);
        EXPECT_EQ(second.Play(L"three"), tvn::sOk);
        EXPECT_EQ(second.Exit(), tvn::sOk);
    }
    EXPECT_EQ(tests::CountHandles(), before);
    EXPECT_EQ(tvn::g_module.CanUnloadNow(), S_OK);
}

TEST(App, TheTraceNamesTheIdentifiersThatTheBrowserWasGiven)
{
    const LogCapture log;
    AppClient app;
    ASSERT_EQ(app.Init(L"-fxLocale \"de DE\" -other"), tvn::sOk);
    const auto start = log.Starting(kProtocol + "1 = createProcess(");
    ASSERT_EQ(start.size(), 1U);
    const std::string ids = log.Starting(kProtocol + "Allocated id's: ").at(0);
    const std::string pipeUuid = ids.substr(ids.find("pipeUuid = ") + 11, 36);
    const std::string creatorUuid = ids.substr(ids.find("creatorUuid = ") + 14, 36);
    const std::string path = tests::StandinFolder() + "\\talvern.exe";
    const std::string arguments =
        " -fxLocale \"de DE\" -other /pipeUuid=" + pipeUuid + " /creatorUuid=" + creatorUuid;
    EXPECT_EQ(start[0], kProtocol +
                            "1 = createProcess(user:(null), domain:(null), password:(null), "
                            "appPath:" +
                            path + ", cmdLine:" + arguments + ")");
    app.Play(L"!commandline");
    EXPECT_EQ(tvn::ToNarrow(app.Extract()), path + " " + arguments);
    EXPECT_TRUE(log.Has(kProtocol + "Created callback server " + pipeUuid));
    EXPECT_TRUE(log.Has(kProtocol + "CApp::AttachIfFree - sOk"));
    app.Exit();
}

TEST(App, ReleasedWithoutExitLeavesTheBrowserRunningAndFree)
{
    AppClient app;
    ASSERT_EQ(app.Init(), tvn::sOk);
    app.Release();
    EXPECT_EQ(CountBrowsers(), 1);
    AppClient next;
    EXPECT_EQ(next.Init(AppClient::LeftOut(), false), tvn::sOk);
    EXPECT_EQ(CountBrowsers(), 1) << "it was attached to, none was started";
    EXPECT_EQ(next.Exit(), tvn::sOk);
    EXPECT_EQ(CountBrowsers(), 0);
}

TEST(App, MethodsCalledByAMessageDuringAPlayAreServed)
{
    CoInitialize(nullptr);
    {
        AppClient app;
        ASSERT_EQ(app.Init(), tvn::sOk);
        std::vector<int> nested;
        tests::ActionWindow window([&] {
            nested = {app.Play(L"nested"), app.Display(L"nested"), app.Set(L"a", L"b"), app.Init(),
                      app.Exit(2)};
            app.Release();
        });
        window.CallLater(100);
        IApp* raw = app.Get();
        int status = 0;
        raw->tvnPlay(_bstr_t(L"!wait 20000"), 60, reinterpret_cast<Status*>(&status));
        EXPECT_EQ(status, tvn::sFail) << "the browser was ended under it";
        EXPECT_THAT(nested, testing::ElementsAre(tvn::sFail, tvn::sFail, tvn::sOk, tvn::sInternal,
                                                 tvn::sOk));
        EXPECT_EQ(tvn::g_module.CanUnloadNow(), S_OK) << "the last reference went during the play";
    }
    EXPECT_EQ(CountBrowsers(), 0);
    CoUninitialize();
}
