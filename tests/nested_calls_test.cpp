// Methods called by a window message during a method of the same object.

#include <vector>

#include "basicslib/StatusCode.h"
#include "tests/app_client.h"
#include "tests/moments.h"
#include "tests/surroundings.h"

namespace tvn::tests
{

using testing::ElementsAre;

class NestedCalls : public testing::Test
{
  protected:
    ~NestedCalls() override
    {
        app.Exit();
        EndBrowsers();
    }

    AppClient app;
    std::vector<int> nested;
};

TEST_F(NestedCalls, AnInitDuringAnInitIsRefusedAndChangesNothing)
{
    SetEnvironmentVariableA("TALVERN_STANDIN", "no-callback");
    CallLater(300, [&] {
        nested = {app.Init("-ie -authorizeAll", true, 5), app.Play("m"), app.Exit(1)};
    });
    EXPECT_EQ(app.Init("-fx", true, 2), sTimeout);
    SetEnvironmentVariableA("TALVERN_STANDIN", nullptr);
    EXPECT_THAT(nested, ElementsAre(sInternal, sNotStarted, sNotStarted));
    EXPECT_TRUE(Running("iexplore.exe").empty());

    EXPECT_EQ(app.Init(), sOk);
    EXPECT_EQ(app.Play("!commandline"), sOk);
    EXPECT_THAT(app.Extract(), testing::HasSubstr("firefox.exe"));
    EXPECT_THAT(app.Extract(), testing::HasSubstr("authorizeAll=false"));
    EXPECT_EQ(app.Exit(), sOk);
}

TEST_F(NestedCalls, AnExitLeavesAloneWhatANestedCallHasAttached)
{
    ASSERT_EQ(app.Init(), sOk);
    EXPECT_EQ(app.Play("!hang", 0), sTimeout);
    CallLater(300, [&] { nested = {app.Exit(1), app.Init("-fx")}; });
    EXPECT_EQ(app.Exit(6), sOk);
    EXPECT_THAT(nested, ElementsAre(sOk, sOk));
    EXPECT_EQ(Running("firefox.exe").size(), 1U);
    EXPECT_EQ(app.Played("still"), "1||still|still");
    EXPECT_EQ(app.Exit(), sOk);
    EXPECT_TRUE(Running("talvern.exe").empty());
}

TEST_F(NestedCalls, APlayThatTimesOutShowsNoOtherPlaysTexts)
{
    ASSERT_EQ(app.Init(), sOk);
    EXPECT_EQ(app.Played("!wait 300\n!reply old[tvn!E!tvn]x", 0), "-3||");
    EXPECT_EQ(app.Played("!silent", 1), "-3||") << "the late reply has come meanwhile";
    EXPECT_EQ(app.Played("own"), "1||own|own");
}

}  // namespace tvn::tests
