// Where the browsers are, read from a prepared registry.

#include <gmock/gmock.h>

#include "process/BrowserLocation.h"
#include "process/FirefoxVersions.h"
#include "process/RegistryReading.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

using testing::ElementsAre;

class BrowserLocation : public testing::Test
{
  protected:
    BrowserLocation() { RegDeleteTreeA(HKEY_LOCAL_MACHINE, firefox.c_str()); }
    ~BrowserLocation() override
    {
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, firefox.c_str());
        AddFirefox("3.6.8 (en-US)", kStandinFolder + "\\firefox.exe");
        SetRegistryValue(kProductKey, "PathBasic", kStandinFolder);
        SetRegistryValue(explorer32, "", "\"" + kStandinFolder + "\\iexplore.exe\"");
    }
    void AddFirefox(const std::string& name, const std::string& path, DWORD type = REG_SZ) const
    {
        SetRegistryValue(firefox + "\\" + name + "\\Main", "PathToExe", path, type);
    }

    const std::string firefox = kSoftware32 + "Mozilla\\Mozilla Firefox";
    const std::string explorer = "CLSID\\{0002DF01-0000-0000-C000-000000000046}\\LocalServer32";
    const std::string explorer32 = "SOFTWARE\\Classes\\WOW6432Node\\" + explorer;
};

TEST_F(BrowserLocation, PathsComeFromThe32BitViewAndExplorersIsExpandedAndUnquoted)
{
    static REGSAM access;
    const auto opens = TVN_REPLACE_IMPORT(
        RegOpenKeyExA, [](HKEY root, LPCSTR path, DWORD options, REGSAM asked, HKEY* key) {
            access = asked;
            return TVN_REAL_IMPORT(RegOpenKeyExA)(root, path, options, asked, key);
        });
    SetEnvironmentVariableA("TALVERN_QUOTED", "\"C:\\a b.exe\"");
    const std::tuple<std::string, DWORD, std::string, std::string> cases[] = {
        {"%TALVERN_QUOTED%", REG_EXPAND_SZ, "%TALVERN_QUOTED%", "C:\\a b.exe"},
        {"%SystemRoot%\\T", REG_EXPAND_SZ, "%SystemRoot%\\T", "C:\\windows\\T"},
        {std::string(3000, 'p'), REG_SZ, std::string(3000, 'p'), std::string(3000, 'p')},
        {"abc", REG_BINARY, "", ""},
        {"\"C:\\a b.exe\"", REG_SZ, "\"C:\\a b.exe\"", "C:\\a b.exe"},
        {"\"a\" b", REG_SZ, "\"a\" b", "a\" "},
        {"a b\"", REG_SZ, "a b\"", "a b\""},
        {"\"", REG_SZ, "\"", "\""},
    };
    for (const auto& [value, type, folder, program] : cases) {
        SetRegistryValue(kProductKey, "PathBasic", value, type);
        SetRegistryValue(explorer32, "", value, type);
        EXPECT_EQ(Narrow(GetPathBasic()), folder);
        EXPECT_EQ(Narrow(GetInternetExplorerPath()), program);
    }
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kProductKey.c_str());
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, explorer32.c_str());
    SetRegistryValue("SOFTWARE\\Talvern", "PathBasic", "C:\\64");
    SetRegistryValue("SOFTWARE\\Classes\\" + explorer, "", "C:\\64.exe");
    EXPECT_EQ(Narrow(GetPathBasic()), "");
    EXPECT_EQ(Narrow(GetInternetExplorerPath()), "");
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Talvern");
    EXPECT_EQ(access, static_cast<REGSAM>(KEY_READ | KEY_WOW64_32KEY)) << "what every account may";
}

TEST_F(BrowserLocation, TheFirefoxAskedForOrElseTheGreatestIsChosen)
{
    const LogCapture log;
    EXPECT_EQ(Narrow(GetFirefoxPath("", "")), "");
    EXPECT_THAT(log.Lines(), ElementsAre(kDebug + "mzFIREFOX 2", kDebug + "mzFIREFOX 3",
                                         kDebug + "mzFX key access failed"));
    AddFirefox(std::string(60, '0') + " (de)", "C:\\long");
    EXPECT_TRUE(EnumFirefoxVersions().empty()) << "a name too long for its buffer ends the list";
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, firefox.c_str());

    const std::string longest(511, 'l');
    const std::pair<const char*, std::string> installed[] = {
        {"3.6.10 (en-US)", "3.6.10"},   {"3.6.8 (de)", "3.6.8de"},
        {"3.6.8 (en-US)", "3.6.8"},     {"9.0", "no-parentheses"},
        {"9.2 (de", "one-parenthesis"}, {"2.0 (de)", longest},
        {" 2.1 \t( fr )x", "blanks"},   {"9.3 (de)", std::string(600, 'x')}};
    for (const auto& [name, path] : installed) {
        AddFirefox(name, path);
    }
    AddFirefox("9.1 (de)", "expand", REG_EXPAND_SZ);
    const auto versions = EnumFirefoxVersions();
    EXPECT_EQ(versions.size(), 5U);
    const std::string start = kDebug + "mzFIREFOXstrSubKey SOFTWARE\\Mozilla\\Mozilla Firefox\\";
    EXPECT_EQ(log.Count(start + "3.6.8 (de)\\Main"), 1);
    const auto first = std::find_if(versions.begin(), versions.end(),
                                    [](const auto& each) { return each->version == "3.6.8"; });
    const std::string listedFirst = (*first)->pathToExe;
    const std::tuple<const char*, const char*, std::string> cases[] = {
        {"", "", listedFirst},   {"3.6.8", "", listedFirst}, {"", "en-US", "3.6.8"},
        {"", "de", "3.6.8de"},   {"3.6.10", "", "3.6.10"},   {"2.0", "de", longest},
        {"2.0", "en-US", ""},    {"", "en-us", ""},          {"9.0", "", ""},
        {"2.1", "fr", "blanks"},
    };
    for (const auto& [version, locale, path] : cases) {
        EXPECT_EQ(Narrow(GetFirefoxPath(version, locale)), path) << version << " " << locale;
    }
}

}  // namespace tvn::tests
