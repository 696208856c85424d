// The own browser with the real one below it, as a script drives them.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/app_client.h"
#include "tests/browser/page_server.h"

namespace tvn::tests
{

/// Skips the test where there is no Chromium; otherwise the scripting object's own browser is the
/// one that plays macros, with what it needs on a machine without a display.
class RealBrowser : public testing::Test
{
  protected:
    RealBrowser();
    ~RealBrowser() override;
    void SetUp() override;

    /// Starts a browser for `app`.
    void Begin();

    /// Plays a macro with `site` in its options: "STATUS|ERROR|EXTRACT".
    std::string Plays(const std::string& macro) { return Plays(app, macro); }
    std::string Plays(AppClient& client, const std::string& macro, LONG time = 60);

    /// Plays the cases of a file of the folder macros/: "//> PAGE" is the page below pages/ that is
    /// gone to before, "-" for the one that is there; "//+ NAME=VALUE" is a variable; then come the
    /// macro and "//= WHAT IT SAYS". Other comments are left out.
    void PlaysAll(const std::string& file);

    /// Browsers, instances and profiles; helpers follow a browser.
    static void ExpectNothingLeft();

    const std::string site = ServePages();
    AppClient app;
};

/// The folder of the product among the user's own data, and the one of fresh profiles in it.
std::string UserFolder();
std::string FreshProfiles();

/// A path as the machine below has it.
std::string HostPath(const std::string& path);

/// The ids of the processes of real browsers that were started from here, as the machine below has
/// them; what lies in the folder of their profiles, two entries for each; and the end of them all
/// by force.
std::vector<std::string> BrowserProcesses();
std::vector<std::string> ProfileFolders();
void SignalBrowserProcesses(const wchar_t* signal);

/// What an own browser without a client says in the debug output until it ends.
std::string TraceOfOwnBrowser(const std::string& arguments = "");

}  // namespace tvn::tests
