// What a web page can reach of the system that drives it.

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/browser/real_browser.h"
#include "tests/moments.h"

namespace tvn::tests
{

class BrowserIsolation : public RealBrowser
{};

TEST_F(BrowserIsolation, AWebPageReachesNothingOfTheMacrosPageOrItsProtocol)
{
    Begin();
    ASSERT_TRUE(Eventually([] { return ProfileFolders().size() == 2; }));
    const std::vector<std::string> profiles = ProfileFolders();
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

TEST_F(BrowserIsolation, ATextOfAPageInTheMacrosOwnDocumentRunsNothingAndLoadsNothing)
{
    Begin();
    EXPECT_EQ(Plays("globalThis.heard = []; const box = document.createElement("
                    "'div'); document.body.append(box); box.innerHTML = `<img src='x:' "
                    "onerror='heard.push(1)'><svg onload='heard.push(2)'></svg><iframe srcdoc=\""
                    "<script>parent.heard.push(3)</script>\"></iframe>`; const image = new Image();"
                    "image.onload = () => heard.push(4); image.src = 'data:image/gif;base64,"
                    "R0lGODlhAQABAAAAACwAAAAAAQABAAA='; const script = document.createElement("
                    "'script'); script.textContent = 'heard.push(5)'; document.body.append(script);"
                    "await page.goto(options.site + '/slow'); extract(box.children.length, heard)"),
              "1||3[EXTRACT][]");
}

}  // namespace tvn::tests
