#include "tests/browser/real_browser.h"

#include <windows.h>

#include <shlobj.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "basicslib/Handle.h"
#include "basicslib/Log.h"
#include "basicslib/StatusCode.h"
#include "process/Process.h"
#include "tests/moments.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

static bool IsSet(const char* variable)
{
    return GetEnvironmentVariableA(variable, nullptr, 0) > 0;
}

RealBrowser::RealBrowser()
{
    if (!IsSet("TALVERN_BROWSER")) {
        SetEnvironmentVariableA("TALVERN_BROWSER", "Z:\\usr\\bin\\chromium");
        SetEnvironmentVariableA("TALVERN_BROWSER_ARGUMENTS", "--headless --no-sandbox");
    }
    SetRegistryValue(kProductKey, "PathBasic", BuildFolder() + "\\browser");
}

RealBrowser::~RealBrowser()
{
    app.Exit();
    EndBrowsers();
    SetRegistryValue(kProductKey, "PathBasic", StandinFolder());
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

std::vector<RealBrowser::Case> RealBrowser::CasesOf(const std::string& file)
{
    std::ifstream text(MACROS_FOLDER "\\" + file, std::ios::binary);
    std::vector<Case> cases;
    Case one;
    for (std::string line; std::getline(text, line);) {
        if (line.rfind("//> ", 0) == 0) {
            one = {line.substr(4), "", ""};
        } else if (line.rfind("//= ", 0) == 0) {
            one.says = line.substr(4);
            cases.push_back(one);
        } else if (line.rfind("//", 0) != 0) {
            one.macro += (one.macro.empty() ? "" : "\n") + line;
        }
    }
    return cases;
}

void RealBrowser::PlaysAll(const std::vector<Case>& cases)
{
    EXPECT_FALSE(cases.empty());
    for (const Case& one : cases) {
        const std::string visit =
            "await page.goto(options.site + '/" + one.page + "'); page.setDefaultTimeout(2000); ";
        EXPECT_EQ(Plays((one.page == "-" ? "" : visit) + one.macro), one.says) << one.macro;
    }
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
    const std::string file = BuildFolder() + "\\own_browser.txt";
    std::filesystem::remove(file);
    const auto viewer = Started("tvntrace\\tvntrace.exe", "--out \"" + file + "\"");
    EXPECT_TRUE(Eventually([] {
        const Handle buffer(OpenFileMappingW(FILE_MAP_READ, FALSE, L"DBWIN_BUFFER"));
        return buffer.IsValid();
    }));
    EXPECT_EQ(Started("browser\\talvern.exe", arguments)->WaitForExit(30000), sOk);
    LogDebug("it has ended");
    std::string lines;
    EXPECT_TRUE(Eventually([&] {
        std::ifstream trace(file);
        lines.assign(std::istreambuf_iterator<char>(trace), {});
        return lines.find("it has ended") != std::string::npos;
    }));
    return lines;
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
