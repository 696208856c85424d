// The scripting object's methods with a browser that behaves, and with one that does not.

#include "Interface/ServerModule.h"
#include "basicslib/StatusCode.h"
#include "tests/attached_app.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/other_side.h"
#include "tests/replaced_imports.h"
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
        SetRegistryValue(kProductKey, "PathBasic", StandinFolder());
        EXPECT_EQ(app.Init(), sOk);
        EXPECT_EQ(app.Played("m"), "1||m|m");
        EXPECT_EQ(app.Exit(), sOk);
    }

    AppClient app;

  private:
    std::optional<NoHandleStaysOpen> m_handles;
};

// What plays, replies and indexes give is with the scripts of script_host_test.cpp.

TEST_F(Scripting, AnIndexMayBeAReferenceAndAResultMayHaveNoPlace)
{
    LONG version = 0;
    EXPECT_EQ(app.Get()->tvnGetInterfaceVersion(&version), S_OK);
    EXPECT_EQ(version, 6300216);
    EXPECT_EQ(app.Get()->tvnGetInterfaceVersion(nullptr), S_OK);
    EXPECT_EQ(app.Get()->tvnExit(0, nullptr), S_OK);
    EXPECT_EQ(app.Get()->tvnGetLastError(nullptr), S_OK);
    ASSERT_EQ(app.Init(), sOk);
    const LogCapture log;
    EXPECT_EQ(app.Played("!reply one[EXTRACT]two"), "1||one[EXTRACT]two|one|two");
    EXPECT_EQ(log.Lines().front(), kTrace + "CApp::tvnPlay(command = !reply one[EXTRACT]two)");
    EXPECT_EQ(log.Count(kTrace + "1 = CApp::tvnPlay"), 1);
    SHORT two = 2;
    VARIANT index = {};
    V_VT(&index) = VT_I2 | VT_BYREF;
    V_I2REF(&index) = &two;
    VARIANT reference = Referring(index);
    EXPECT_EQ(app.Extract(index), "two");
    EXPECT_EQ(app.Extract(reference), "two");
    V_VARIANTREF(&reference) = &reference;
    EXPECT_EQ(app.Extract(reference), "NODATA");
}

TEST_F(Scripting, AnIndexIsANumberUpTo32767)
{
    std::string macro = "!reply ";
    for (int separators = 0; separators < 32766; ++separators) {
        macro += "[EXTRACT]";
    }
    ASSERT_EQ(app.Init(), sOk);
    EXPECT_EQ(app.Play(macro + "last[EXTRACT]one more"), sOk);
    EXPECT_EQ(app.Extract(_variant_t(32767L)), "last");
    for (const double index : {32768.0, 65536.0, 98303.0, 2147483647.0, 4294967297.0, -1.0}) {
        EXPECT_EQ(app.Extract(_variant_t(index)), "NODATA") << index;
    }
}

TEST(ScriptingTime, AnExitGivesAThirdOfItsTimeToTheCommandAndHalfOfTheRestToTheWait)
{
    AttachedApp attached({{Message(2, "appEnd", "")}},
                         {{AsksForExit("key", Within(850, 1001)), {Message(6, 0, sTimeout)}},
                          {Asks(3, "key"), {Message(4, 0, -9)}}});
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(attached.app.Exit(3), -9); }), Within(950, 1900));
}

TEST_F(Scripting, EachObjectHasABrowserThatOutlivesItsRelease)
{
    AppClient second;
    EXPECT_EQ(app.Set("lost", "1"), sOk);
    EXPECT_EQ(app.Init(), sOk);
    EXPECT_EQ(second.Init(), sOk);
    EXPECT_EQ(app.Played("one"), "1||one|one");
    EXPECT_EQ(second.Played("two"), "1||two|two");
    EXPECT_EQ(app.Exit(), sOk);
    EXPECT_EQ(second.Play("three"), sOk);
    second.Release();
    Sleep(500);  // the browser takes a moment to see that it has been let go
    EXPECT_EQ(app.Init(AppClient::LeftOut(), false), sOk);
    EXPECT_EQ(Running("talvern.exe").size(), 1U) << "it was attached to, none was started";
    EXPECT_EQ(app.Exit(), sOk);
    EXPECT_TRUE(Running("talvern.exe").empty());
}

TEST_F(Scripting, AnInitThatFailsEndsOnTimeWithItsStatusAndTrace)
{
    const std::string wait = kTrace + "Wait new instance to callback";
    const std::string noPipe = wait + " - pipe is NULL (remains = 0)";
    const std::string refused = kTrace + "CApp::AttachIfFree - sFail";
    const std::tuple<const char*, LONG, int, std::string> cases[] = {
        {"-standin=end", 1, sTimeout, noPipe},
        {"", 0, sTimeout, noPipe},
        {"-standin=silent-callback", 1, sTimeout, wait + " failed. ReadPipeTimeout( 0x"},
        {"-standin=closed-callback", 10, sFail, wait + " failed. ReadPipeError( 0x"},
        {"-standin=refuse", 10, sFail, refused},
        {"-standin=no-pipe", 1, sFail, refused},
        {"-standin=no-answer", 1, sFail, refused},
        {"wrong folder", 20, sFail, kTrace + "FFFFFFFF = createProcess("},
        {"no folder", 20, sFail, kDebug + "CreateAndAttach, [1]"},
    };
    for (const auto& [line, seconds, expected, trace] : cases) {
        if (std::string(line) == "wrong folder") {
            SetRegistryValue(kProductKey, "PathBasic", "C:\\nowhere");
        } else if (std::string(line) == "no folder") {
            DeleteRegistryKey(kProductKey);
        }
        const LogCapture log;
        int status = 0;
        const long long elapsed = Elapsed(
            [&, options = line, time = seconds] { status = app.Init(options, true, time); });
        EXPECT_EQ(status, expected) << line;
        EXPECT_LT(elapsed, seconds * 1000 + 2000) << line;
        EXPECT_EQ(log.Lines(trace).size(), 1U) << line;
        EXPECT_EQ(app.Played("m"), "-4||");
    }
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
    EXPECT_EQ(app.Played("!claim"), "1||") << "whatever length it claims, its fields are there";
    EXPECT_EQ(app.Played("m"), "1||m|m") << "a play that failed has used its variables up";
    EXPECT_EQ(app.Play("!close"), sFail);
    EXPECT_EQ(app.Play("m"), sFail) << "until tvnExit";
    EXPECT_EQ(app.Exit(1), sOk) << "ended, since it does not end by itself";

    ASSERT_EQ(app.Init(), sOk);
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(app.Play("!end", 60), sFail); }), Within(0, 10000));
    EXPECT_EQ(app.Display("t"), sFail);
    EXPECT_EQ(app.Exit(0), sOk);
}

TEST_F(Scripting, ABrowserThatDoesNotReadOrDoesNotEndHoldsNobody)
{
    ASSERT_EQ(app.Init(), sOk);
    EXPECT_EQ(app.Play("!hang", 0), sTimeout);
    const std::string macro(16 << 20, 'm');
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(app.Play(macro, 1), sTimeout); }), Within(950, 3500));
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(app.Exit(1), sOk); }), Within(0, 3000));

    ASSERT_EQ(app.Init("-standin=stay"), sOk);
    EXPECT_EQ(app.Exit(1), sOk);
    EXPECT_TRUE(Eventually([] { return Running("talvern.exe").empty(); }));
}

TEST_F(Scripting, AnExceptionEndsAsAStatusWithItsText)
{
    g_imports.failCreateEvent = true;
    EXPECT_EQ(app.Init(), sFail);
    g_imports.failCreateEvent = false;
    EXPECT_THAT(app.Error(), MatchesRegex("Win32Exception\\( 0x000005AA \\), line: \\d+, file: "
                                          "pipeutils/Overlapped.cpp"));
    VARIANT broken = {};
    V_VT(&broken) = VT_BSTR | VT_BYREF;
    EXPECT_EQ(app.Init(AppClient::LeftOut(), true, 20, broken), sFail);
    EXPECT_THAT(app.Error(), MatchesRegex("tvnMethod. Unexpected exception catched. \\d+, "
                                          "Interface/App.cpp"));
    ASSERT_EQ(app.Init(), sOk);
    app.Set("kept", "1");
    ImportWatch watch;
    watch.Fail("MsgWaitForMultipleObjectsEx", ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_EQ(app.Play("!wait 200"), sFail) << "its answer is not there before the wait";
    EXPECT_EQ(app.Play("second"), sOk);
    EXPECT_EQ(app.Extract(_variant_t(1L)), "second") << "in front of what the failed play has left";
    EXPECT_EQ(app.Play("!hang", 0), sTimeout) << "no answer is there before the wait";
    watch.Fail("MsgWaitForMultipleObjectsEx", ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_EQ(app.Exit(), sFail);
    EXPECT_EQ(app.Exit(), sNotStarted) << "detached all the same";
}

TEST(ScriptingMemory, ThatStaysShortFromAnyMomentOnFailsTheMethodAndSparesItsCaller)
{
    OtherSide other;
    other.ListInstance(false);
    AppClient app;
    IApp& raw = *app.Get();
    const _variant_t line = "-runner";
    const _variant_t none = AppClient::LeftOut();
    const _variant_t index = 1L;
    const _bstr_t text = L"longer than what a string holds without memory";
    int status = 0;
    auto* const result = reinterpret_cast<Status*>(&status);
    BSTR value = nullptr;
    const auto nothing = [] {
    };
    const auto attach = [&] {
        app.Init(line, false);
    };
    const std::pair<std::function<void()>, std::function<HRESULT()>> methods[] = {
        {nothing,
         [&] {
             return raw.tvnInit(line, VARIANT_FALSE, none, none, none, 20, result);
         }},
        {nothing,
         [&] {
             return raw.tvnSet(text, text, result);
         }},
        {nothing,
         [&] {
             return raw.tvnDisplay(text, 20, result);
         }},
        {nothing,
         [&] {
             return raw.tvnPlay(text, 20, result);
         }},
        {nothing,
         [&] {
             return raw.tvnGetLastError(&value);
         }},
        {nothing,
         [&] {
             return raw.tvnGetLastExtract(index, &value);
         }},
        {attach,
         [&] {
             return raw.tvnExit(20, result);
         }},
    };
    for (const auto& [before, method] : methods) {
        bool failed = true;
        for (unsigned int block = 1; failed; ++block) {
            before();
            status = 0;
            value = nullptr;
            {
                ImportWatch watch;
                watch.Fail(kMemory, ERROR_NOT_ENOUGH_MEMORY, block, Fails::kFromHereOn);
                EXPECT_EQ(method(), S_OK);
                failed = watch.Failed() != nullptr;
            }
            const bool done = status == sOk || value != nullptr;
            EXPECT_EQ(done, !failed) << &method - &methods[0].second << ", block " << block;
            SysFreeString(value);
        }
    }
}

TEST(ScriptingMemory, ThatIsShortForTheTextOfAFailureLeavesItsStatus)
{
    OtherSide other;
    AppClient app;
    unsigned int lastText = 0;
    const auto failedInit = [&](bool saysNothing) {
        const LogCapture log;
        other.Next(Stage::Callback, [saysNothing](Turn&) {
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

}  // namespace tvn::tests
