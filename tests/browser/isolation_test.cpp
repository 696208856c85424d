// What a web page can reach of the system that drives it.

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/browser/real_browser.h"

namespace tvn::tests
{

class BrowserIsolation : public RealBrowser
{};

TEST_F(BrowserIsolation, AWebPageReachesNothingOfTheMacrosPageOrItsProtocol)
{
    Begin();
    const std::vector<std::string> profiles = ProfileFolders();
    ASSERT_EQ(profiles.size(), 2U);
    std::string port;
    std::string path;
    std::ifstream(std::filesystem::path(FreshProfiles()) / std::min(profiles[0], profiles[1]) /
                  "DevToolsActivePort") >>
        port >> path;
    ASSERT_NE(path, "");
    app.Set("-port", port.c_str());
    app.Set("-path", path.c_str());
    EXPECT_EQ(
        Plays("let heard = 'nothing'; new BroadcastChannel('macro').onmessage = () => { heard "
              "= 'it'; }; await page.goto(options.site + '/curious.html'); extract(await "
              "page.evaluate(({ port, path }) => reach(port, path), { ...options }), heard)"),
        "1||[][EXTRACT]nothing");
}

}  // namespace tvn::tests
