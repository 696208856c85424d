#include "tests/browser/real_browser.h"

#include <windows.h>

#include <shlobj.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "basicslib/StatusCode.h"
#include "process/Process.h"
#include "tests/moments.h"
#include "tests/surroundings.h"
#include "tests/texts.h"
#include "tests/viewer.h"

namespace tvn::tests
{

RealBrowser::RealBrowser()
{
    if (GetEnvironmentVariableA("TALVERN_BROWSER", nullptr, 0) == 0) {
        SetEnvironmentVariableA("TALVERN_BROWSER", "Z:\\usr\\bin\\chromium");
        SetEnvironmentVariableA("TALVERN_BROWSER_ARGUMENTS", "--headless --no-sandbox");
    }
    SetRegistryValue(kProductKey, "PathBasic", BuildFolder() + "\\browser");
}

RealBrowser::~RealBrowser()
{
    app.Exit();
    EndBrowsers();
    SetRegistryValue(kProductKey, "PathBasic", kStandinFolder);
}

void RealBrowser::SetUp()
{
    char path[MAX_PATH] = "";
    GetEnvironmentVariableA("TALVERN_BROWSER", path, MAX_PATH);
    if (GetFileAttributesA(path) == INVALID_FILE_ATTRIBUTES) {
        GTEST_SKIP() << "NOT TESTED: there is no Chromium at " << path;
    }
}

void RealBrowser::Begin()
{
    ASSERT_EQ(app.Init("", true, 60), sOk);
}

std::string RealBrowser::Plays(AppClient& client, const std::string& macro, LONG time)
{
    client.Set("-site", site.c_str());
    const int status = client.Play(macro, time);
    return std::to_string(status) + "|" + client.Error() + "|" + client.Extract();
}

void RealBrowser::ExpectNothingLeft()
{
    std::vector<std::string> left;
    EXPECT_TRUE(Eventually([&] {
        left = ProfileFolders();
        for (const std::string& pid : BrowserProcesses()) {
            left.push_back("the browser's process " + pid);
        }
        for (const char* program : {"talvern.exe", "false_browser.exe"}) {
            left.insert(left.end(), Running(program).size(), program);
        }
        return left.empty();
    })) << testing::PrintToString(left);
}

void RealBrowser::PlaysAll(const std::string& file)
{
    std::istringstream text(Contents(MACROS_FOLDER "\\" + file));
    std::string macro;
    int cases = 0;
    for (std::string line; std::getline(text, line);) {
        const std::string rest = line.substr(std::min<std::size_t>(line.size(), 4));
        if (line.starts_with("//> ")) {
            macro = rest == "-" ? ""
                                : "await page.goto(options.site + '/" + rest +
                                      "'); page.setDefaultTimeout(2000); ";
        } else if (line.starts_with("//+ ")) {
            const std::size_t sign = rest.find('=');
            app.Set(ToComString(rest.substr(0, sign)), ToComString(rest.substr(sign + 1)));
        } else if (line.starts_with("//= ")) {
            EXPECT_EQ(Plays(macro), rest) << macro;
            ++cases;
        } else if (!line.starts_with("//")) {
            macro += line + "\n";
        }
    }
    EXPECT_GT(cases, 0);
}

std::string UserFolder()
{
    char path[MAX_PATH] = "";
    SHGetFolderPathA(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, path);
    return std::string(path) + "\\Talvern";
}

std::string FreshProfiles()
{
    return UserFolder() + "\\Fresh profiles";
}

std::string HostPath(const std::string& path)
{
    using GetName = char*(CDECL*)(const WCHAR*);
    const auto getName = reinterpret_cast<GetName>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleA("kernel32.dll"), "wine_get_unix_file_name")));
    const char* name = getName(std::filesystem::path(path).c_str());
    return name == nullptr ? "no such path" : name;
}

std::vector<std::string> BrowserProcesses()
{
    const std::string profiles = HostPath(UserFolder());
    std::vector<std::string> found;
    std::error_code error;
    for (const auto& process : std::filesystem::directory_iterator("Z:\\proc", error)) {
        std::ifstream file(process.path() / "cmdline", std::ios::binary);
        std::string line;
        std::getline(file, line, '\n');  // nothing of one that has just ended
        if (line.find(profiles) != std::string::npos) {
            found.push_back(process.path().filename().string());
        }
    }
    return found;
}

void SignalBrowserProcesses(const wchar_t* signal)
{
    std::wstring arguments = signal;
    for (const std::string& pid : BrowserProcesses()) {
        arguments += L" " + std::wstring(pid.begin(), pid.end());
    }
    Process().Start(L"Z:\\bin\\kill", ToComString(arguments), kNone, kNone, kNone, 5000);
}

std::string TraceOfOwnBrowser(const std::string& arguments)
{
    const Viewer viewer;
    EXPECT_EQ(Started("browser\\talvern.exe", arguments)->WaitForExit(30000), sOk);
    return viewer.End();
}

std::vector<std::string> ProfileFolders()
{
    std::vector<std::string> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(FreshProfiles(), error)) {
        found.push_back(entry.path().filename().string());
    }
    return found;
}

}  // namespace tvn::tests
