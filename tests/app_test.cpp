// The scripting object's methods with a browser that behaves, and with one that does not; what one
// play costs in calls of the platform and in blocks of memory.

#include <map>

#include "Interface/AutomationValue.h"
#include "Interface/ServerModule.h"
#include "basicslib/StatusCode.h"
#include "tests/app_client.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/other_side.h"
#include "tests/resources.h"
#include "tests/surroundings.h"

namespace tvn::tests
{

using testing::MatchesRegex;

/// Whatever a test does, the object works afterwards, and every handle is closed.
class Scripting : public testing::Test
{
  protected:
    Scripting()
    {
        const LogCapture log;
        AppClient warmUp;
        EXPECT_EQ(warmUp.Init(AppClient::LeftOut(), false), sOk);
        EXPECT_EQ(warmUp.Exit(), sOk);
        m_handles.emplace();
    }
    ~Scripting() override
    {
        app.Exit();
        EndBrowsers();
        SetRegistryValue(kProductKey, "PathBasic", kStandinFolder);
        EXPECT_EQ(app.Init(), sOk);
        EXPECT_EQ(app.Played("m"), "1||m|m");
        EXPECT_EQ(app.Exit(), sOk);
    }

    AppClient app;

  private:
    std::optional<NoHandleStaysOpen> m_handles;
};

// What plays, replies and indexes give is with the scripts script_host_test.*.

TEST_F(Scripting, AnIndexMayBeAReferenceAndAResultMayHaveNoPlace)
{
    EXPECT_EQ(app.Get()->tvnGetInterfaceVersion(nullptr), S_OK);
    EXPECT_EQ(app.Get()->tvnExit(0, nullptr), S_OK);
    EXPECT_EQ(app.Get()->tvnGetLastError(nullptr), S_OK);
    ASSERT_EQ(app.Init(), sOk);
    const LogCapture log;
    const std::string macro = "!status 2\n!reply one[EXTRACT]two";
    EXPECT_EQ(app.Played(macro), "1||one[EXTRACT]two|one|two");
    EXPECT_EQ(log.Lines().front(), kTrace + "CApp::tvnPlay(command = " + macro + ")");
    EXPECT_EQ(log.Count(kTrace + "2 = CApp::tvnPlay"), 1) << "as the browser answers";
    SHORT two = 2;
    VARIANT index = {};
    V_VT(&index) = VT_I2 | VT_BYREF;
    V_I2REF(&index) = &two;
    VARIANT reference = Referring(index);
    EXPECT_EQ(app.Extract(index), "two");
    EXPECT_EQ(app.Extract(reference), "two");
    V_VARIANTREF(&reference) = &reference;
    EXPECT_EQ(app.Extract(reference), "NODATA");

    _bstr_t own = L"the caller's own";
    V_VT(&index) = VT_BSTR | VT_BYREF;
    V_BSTRREF(&index) = &own.GetBSTR();
    const ImportWatch watch;
    for (const VARIANT& each : {index, Referring(index)}) {
        ComString copy;
        EXPECT_TRUE(TextOf(each, copy));
        EXPECT_EQ(copy, own);
    }
    EXPECT_EQ(watch.IsOpen().blocks, 0);
}

TEST(ScriptingTime, AnExitGivesAThirdOfItsTimeToTheCommandAndHalfOfTheRestToTheWait)
{
    OtherSide other;
    AppClient app;
    ASSERT_EQ(app.Init("-runner", false, 5), sOk);
    other.Next(Stage::kEnd, [](Turn&) { return true; });
    std::uint32_t wait = 0;
    other.Next(Stage::kWaitForExit, [&wait](Turn& turn) {
        Fields fields(turn.request);
        fields.Number();  // the type and the id
        fields.Number();
        wait = fields.Number();
        return turn.peer.Write(Message(6, turn.id, sTimeout));
    });
    other.Next(Stage::kTerminate, OtherSide::Expects(Message(3, 0, "key"), Message(4, 0, -9)));
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(app.Exit(3), -9); }), Within(950, 1900));
    EXPECT_THAT(wait, Within(850, 1001));
}

TEST_F(Scripting, AnInitThatFailsEndsOnTimeWithItsStatusAndTrace)
{
    const std::string wait = kTrace + "Wait new instance to callback";
    const std::string noPipe = wait + " - pipe is NULL (remains = 0)";
    const std::string refused = kTrace + "CApp::AttachIfFree - sFail";
    const auto fails = [&](const char* line, LONG seconds, int status, const std::string& trace) {
        const LogCapture log;
        EXPECT_LT(Elapsed([&] { EXPECT_EQ(app.Init(line, true, seconds), status) << line; }),
                  seconds * 1000 + 2000)
            << line;
        EXPECT_EQ(log.Lines(trace).size(), 1U) << trace;
        EXPECT_EQ(app.Played("m"), "-4||");
    };
    fails("-standin=end", 1, sTimeout, noPipe);
    fails("", 0, sTimeout, noPipe);
    fails("-standin=silent-callback", 1, sTimeout, wait + " failed. ReadPipeTimeout( 0x");
    fails("-standin=closed-callback", 10, sFail, wait + " failed. ReadPipeError( 0x");
    fails("-standin=refuse", 10, sFail, refused);
    fails("-standin=no-pipe", 1, sFail, refused);
    fails("-standin=no-answer", 1, sFail, refused);
    SetRegistryValue(kProductKey, "PathBasic", "C:\\nowhere");
    fails("", 20, sFail, kTrace + "FFFFFFFF = createProcess(");
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kProductKey.c_str());
    fails("", 20, sFail, kDebug + "CreateAndAttach, [1]");
}

TEST_F(Scripting, APlayThatGetsNoReplyEndsWithAStatus)
{
    EXPECT_EQ(app.Init("", true, -1), sOk) << "a negative time-out is a very long one";
    EXPECT_EQ(app.Play("m", -1), sOk);
    EXPECT_EQ(app.Played("!wait 300", 0), "-3||");
    EXPECT_EQ(app.Played("next"), "1||next|next") << "the late reply was skipped";
    EXPECT_EQ(app.Played("!wait 300\n!reply old[tvn!E!tvn]x", 0), "-3||");
    EXPECT_EQ(app.Played("!silent", 1), "-3||") << "the late reply has come meanwhile";
    EXPECT_EQ(app.Played("own"), "1||own|own");
    app.Set("v", "1");
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(app.Played("!silent", 1), "-3||"); }), Within(900, 3000));
    EXPECT_EQ(app.Played("m"), "1||m|m") << "a play that failed has used its variables up";
    EXPECT_EQ(app.Play("!close"), sFail);
    EXPECT_EQ(app.Play("m"), sFail) << "until tvnExit";
    EXPECT_EQ(app.Exit(1), sOk) << "ended, since it does not end by itself";
}

TEST_F(Scripting, AnExceptionEndsAsAStatusWithItsText)
{
    ImportWatch watch;
    watch.Fail("CreateEventA", ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_EQ(app.Init(), sFail);
    EXPECT_THAT(app.Error(), MatchesRegex("Win32Exception\\( 0x000005AA \\), line: \\d+, file: "
                                          "pipeutils/Overlapped.cpp"));
    VARIANT broken = {};
    V_VT(&broken) = VT_BSTR | VT_BYREF;
    EXPECT_EQ(app.Init(AppClient::LeftOut(), true, 20, broken), sFail);
    EXPECT_THAT(app.Error(), MatchesRegex("tvnMethod. Unexpected exception catched. \\d+, "
                                          "Interface/App.cpp"));
    ASSERT_EQ(app.Init(), sOk);
    app.Set("kept", "1");
    watch.Fail("MsgWaitForMultipleObjectsEx", ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_EQ(app.Play("!wait 200"), sFail) << "its answer is not there before the wait";
    EXPECT_EQ(app.Play("second"), sOk);
    EXPECT_EQ(app.Extract(_variant_t(1L)), "second") << "in front of what the failed play has left";
    EXPECT_EQ(app.Play("!hang", 0), sTimeout) << "no answer is there before the wait";
    watch.Fail("MsgWaitForMultipleObjectsEx", ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_EQ(app.Exit(), sFail);
    EXPECT_EQ(app.Exit(), sNotStarted) << "detached all the same";
}

TEST(ScriptingMemory, ThatIsShortForTheTextOfAFailureLeavesItsStatus)
{
    OtherSide other;
    AppClient app;
    unsigned int lastText = 0;
    const auto failedInit = [&](bool saysNothing) {
        const LogCapture log;
        other.Next(Stage::kCallback, [saysNothing](Turn&) {
            Sleep(saysNothing ? 1500 : 0);
            return false;
        });
        ImportWatch watch;
        watch.Fail("SysAllocStringLen", ERROR_NOT_ENOUGH_MEMORY, lastText);
        const int status = app.Init("-runner", true, 1);
        lastText = watch.Calls()["SysAllocStringLen"];
        return std::to_string(status) + log.Lines(kTrace + "Wait new instance to callback ").at(0);
    };
    const std::string line = kTrace + "Wait new instance to callback failed. ";
    EXPECT_THAT(failedInit(false), testing::StartsWith("-1" + line + "ReadPipeError( 0x"));
    EXPECT_EQ(failedInit(false), "-1" + line + "ReadPipeError");
    EXPECT_EQ(failedInit(true), "-3" + line + "ReadPipeTimeout");
}

// A number that grows fails this; one that has shrunk is entered here, so that it stays.
TEST(Costs, APlayCostsNoMoreThanItDid)
{
    const std::map<std::string, unsigned int> most = {
        {"GetLastError", 4},       {"GetOverlappedResult", 1},
        {"GetTickCount", 10},      {"MsgWaitForMultipleObjectsEx", 1},
        {"OutputDebugStringA", 5}, {"ReadFile", 3},
        {"SysStringLen", 1},       {"WideCharToMultiByte", 1},
        {"WriteFile", 1},          {"new", 8}};
    AppClient app;
    ASSERT_EQ(app.Init(), sOk);
    // The reply comes after the wait for it has begun, in every run.
    const _bstr_t macro = L"!wait 30\n!reply text";
    int status = 0;
    std::map<std::string, unsigned int> cost;
    for (int plays = 0; plays < 3; ++plays) {  // the first makes what is kept for later ones
        const ImportWatch watch;
        app.Get()->tvnPlay(macro, 20, reinterpret_cast<Status*>(&status));
        cost = watch.Calls();
    }
    EXPECT_EQ(status, sOk);
    for (const auto& [what, number] : cost) {
        const auto before = most.find(what);
        EXPECT_LE(number, before == most.end() ? 0 : before->second) << what;
    }
    app.Exit();
}

}  // namespace tvn::tests
