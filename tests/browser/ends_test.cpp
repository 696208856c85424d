// Browsers that end, in every way, or never come up; what is left of them.

#include <filesystem>
#include <fstream>

#include "basicslib/StatusCode.h"
#include "process/Process.h"
#include "tests/browser/real_browser.h"
#include "tests/moments.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

using BrowserEnds = RealBrowser;

TEST_F(BrowserEnds, TenRoundsLeaveNoProcessAndNoFolder)
{
    const std::filesystem::path downloads = BuildFolder() + "\\browser\\Output\\Downloads";
    std::filesystem::remove_all(downloads);
    for (int round = 0; round < 10; ++round) {
        Begin();
        EXPECT_EQ(Plays("extract(await page.evaluate(() => 1))"), "1||1");
        EXPECT_EQ(app.Exit(), sOk);
        ExpectNothingLeft();
    }
    EXPECT_TRUE(std::filesystem::is_empty(downloads)) << "there was nothing to download";
}

TEST_F(BrowserEnds, ABrowserThatCrashesOrIsClosedEndsThePlayAndTheInstance)
{
    for (const std::string closes : {"", "await page.evaluate(() => window.close()); "}) {
        SCOPED_TRACE(closes);
        Begin();
        CallLater(500, [&] {
            if (closes.empty()) {
                SignalBrowserProcesses(L"-KILL");
            }
        });
        EXPECT_EQ(app.Play(closes + "await new Promise(() => {})", 30), sFail);
        ExpectNothingLeft();
        EXPECT_EQ(app.Play("extract(1)"), sFail);
        EXPECT_EQ(app.Exit(), sOk);
    }
}

TEST_F(BrowserEnds, ABrowserThatIsStoppedHoldsNobody)
{
    Begin();
    SignalBrowserProcesses(L"-STOP");
    EXPECT_THAT(
        Elapsed([&] { EXPECT_EQ(app.Play("await page.goto('about:blank')", 3), sTimeout); }),
        Within(2900, 5000));
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(app.Exit(5), sOk); }), Within(0, 7000));
    SignalBrowserProcesses(L"-CONT");
    Begin();
    EXPECT_EQ(app.Exit(), sOk);
    ExpectNothingLeft();
}

TEST_F(BrowserEnds, ADiskWithoutRoomHoldsNobodyAndLeavesNothing)
{
    const std::string folder = FreshProfiles();
    std::filesystem::create_directories(folder);
    const auto run = [&](const wchar_t* program, const std::string& arguments) {
        Process().Start(program, (arguments + " \"" + HostPath(folder) + "\"").c_str(), kNone,
                        kNone, kNone, 5000);
    };
    const auto isSmall = [&] {
        const std::string probe = folder + "\\probe";
        const bool isWritten =
            std::ofstream(probe).write(std::string(0x80000, 'x').data(), 0x80000).flush().good();
        std::error_code error;  // the disk may come or go between the two
        std::filesystem::remove(probe, error);
        return !isWritten;
    };
    run(L"Z:\\bin\\mount", "-t tmpfs -o size=256k none");
    if (!Eventually(isSmall)) {
        GTEST_SKIP() << "NOT TESTED: nobody can make a small disk here";
    }
    // Some browsers come up all the same; what they play is then right, or has failed.
    int status = sOk;
    EXPECT_THAT(Elapsed([&] { status = app.Init("", true, 10); }), Within(0, 11500));
    if (status == sOk) {
        status = app.Play("await page.goto('data:text/html,x'); extract('one')", 10);
        EXPECT_TRUE(status < 0 || app.Extract() == "one");
        EXPECT_EQ(app.Exit(), sOk);
    } else {
        EXPECT_EQ(status, sFail);
    }
    EndBrowsers();  // what came up after all, too late
    SignalBrowserProcesses(L"-KILL");
    run(L"Z:\\bin\\umount", "-l");
    EXPECT_TRUE(Eventually([&] { return !isSmall(); }));
    Begin();
    EXPECT_EQ(app.Exit(), sOk);
    ExpectNothingLeft();
}

TEST_F(BrowserEnds, AnInstanceEndedByForceIsClearedAwayByTheNext)
{
    Begin();
    EndBrowsers();
    EXPECT_TRUE(Eventually([] { return BrowserProcesses().empty(); })) << "the real one stays";
    EXPECT_EQ(app.Exit(), sOk);
    EXPECT_EQ(ProfileFolders().size(), 1U);
    std::filesystem::create_directory(FreshProfiles() + "\\of one that never came up");
    Begin();
    EXPECT_TRUE(Eventually([] { return ProfileFolders().size() == 2; }));
    EXPECT_EQ(app.Exit(), sOk);
    ExpectNothingLeft();
}

TEST_F(BrowserEnds, AKeptProfileRemembersAndBelongsToOneInstanceAtATime)
{
    const char* cookie =
        "await page.goto(options.site + '/second.html'); extract(await page.evaluate(() => { const "
        "before = document.cookie; document.cookie = 'a=1; max-age=1000'; return before; }))";
    for (const char* remembered : {"1||", "1||a=1"}) {
        ASSERT_EQ(app.Init("--profile \"the login\"", true, 60), sOk);
        EXPECT_EQ(Plays(cookie), remembered);
        AppClient second;
        EXPECT_EQ(second.Init("--profile \"the login\"", true, 60), sFail);
        EXPECT_EQ(app.Exit(), sOk);
        ExpectNothingLeft();
    }
    ASSERT_EQ(app.Init("--profile \"the login\"", true, 60), sOk);
    EndBrowsers();  // the real one may stay, in the way of the next
    EXPECT_EQ(app.Exit(), sOk);
    ASSERT_EQ(app.Init("--profile \"the login\"", true, 60), sOk);
    EXPECT_EQ(Plays(cookie), "1||a=1");
    EXPECT_EQ(app.Exit(), sOk);
    ExpectNothingLeft();
    const std::filesystem::path kept = UserFolder() + "\\Profiles\\the login";
    EXPECT_THAT(Contents((kept / "Default" / "Preferences").string()),
                testing::HasSubstr(R"("printing":{"enabled":false})"));
    EXPECT_GT(std::filesystem::remove_all(kept), 0U);
}

}  // namespace tvn::tests
