// Where the browsers are, read from a prepared registry.

#include <gmock/gmock.h>

#include "process/BrowserLocation.h"
#include "tests/log_capture.h"
#include "tests/surroundings.h"

using namespace tvn;
using tests::DeleteRegistryKey;
using tests::Narrow;
using tests::SetRegistryValue;

namespace
{

constexpr const char* kProduct = "SOFTWARE\\Talvern";
constexpr const char* kFirefox = "SOFTWARE\\Mozilla\\Mozilla Firefox";
constexpr const char* kExplorer = "CLSID\\{0002DF01-0000-0000-C000-000000000046}\\LocalServer32";

void AddFirefox(const std::string& name, const std::string& path, DWORD type = REG_SZ)
{
    SetRegistryValue(std::string(kFirefox) + "\\" + name + "\\Main", "PathToExe", path, type);
}

class BrowserLocation : public testing::Test
{
  protected:
    BrowserLocation() { DeleteRegistryKey(kFirefox); }
    ~BrowserLocation() override
    {
        const std::string folder = tests::StandinFolder();
        SetRegistryValue(kProduct, "PathBasic", folder);
        SetRegistryValue(kExplorer, "", "\"" + folder + "\\iexplore.exe\"", REG_SZ, KEY_WOW64_32KEY,
                         HKEY_CLASSES_ROOT);
        DeleteRegistryKey(kFirefox);
        AddFirefox("3.6.8 (en-US)", folder + "\\firefox.exe");
    }
};

}  // namespace

TEST_F(BrowserLocation, TheProductsFolderComesUnexpandedFromThe32BitView)
{
    SetRegistryValue(kProduct, "PathBasic", "%SystemRoot%\\T", REG_EXPAND_SZ);
    EXPECT_EQ(Narrow(GetPathBasic()), "%SystemRoot%\\T");
    SetRegistryValue(kProduct, "PathBasic", std::string(3000, 'p'));
    EXPECT_EQ(Narrow(GetPathBasic()), std::string(3000, 'p'));
    SetRegistryValue(kProduct, "PathBasic", "abc", REG_BINARY);
    EXPECT_EQ(Narrow(GetPathBasic()), "");
    DeleteRegistryKey(kProduct);
    SetRegistryValue(kProduct, "PathBasic", "C:\\64", REG_SZ, KEY_WOW64_64KEY);
    EXPECT_EQ(Narrow(GetPathBasic()), "");
    DeleteRegistryKey(kProduct, KEY_WOW64_64KEY);
}

TEST_F(BrowserLocation, InternetExplorersPathIsExpandedAndUnquoted)
{
    const auto set = [](const std::string& value, REGSAM view = KEY_WOW64_32KEY) {
        SetRegistryValue(kExplorer, "", value, REG_EXPAND_SZ, view, HKEY_CLASSES_ROOT);
    };
    set("\"%SystemRoot%\\ie.exe\"");
    EXPECT_EQ(Narrow(GetInternetExplorerPath()), "C:\\windows\\ie.exe");
    set("C:\\Program Files\\ie.exe -x");
    EXPECT_EQ(Narrow(GetInternetExplorerPath()), "C:\\Program Files\\ie.exe -x");
    DeleteRegistryKey(kExplorer, KEY_WOW64_32KEY, HKEY_CLASSES_ROOT);
    set("C:\\64.exe", KEY_WOW64_64KEY);
    EXPECT_EQ(Narrow(GetInternetExplorerPath()), "");
}

TEST_F(BrowserLocation, TextsAreUnquotedAndKeyNamesParsed)
{
    EXPECT_EQ(StripQuotes("\"a\" b"), "a\" ");
    EXPECT_EQ(StripQuotes("\""), "\"");
    EXPECT_EQ(StripQuotes("a\""), "a\"");
    std::string version;
    std::string locale;
    EXPECT_TRUE(ParseFirefoxKeyName(" 3.6.8 \t( en-US )x", version, locale));
    EXPECT_EQ(version, "3.6.8");
    EXPECT_EQ(locale, "en-US");
    EXPECT_FALSE(ParseFirefoxKeyName("3.6.8", version, locale));
    EXPECT_FALSE(ParseFirefoxKeyName("3.6.8 (en", version, locale));
}

TEST_F(BrowserLocation, WithoutFirefoxTheTraceSaysSo)
{
    const tests::LogCapture log;
    EXPECT_EQ(Narrow(GetFirefoxPath("", "")), "");
    EXPECT_THAT(log.Lines(),
                testing::ElementsAre("[tvn::debug] mzFIREFOX 2", "[tvn::debug] mzFIREFOX 3",
                                     "[tvn::debug] mzFX key access failed"));
}

TEST_F(BrowserLocation, TheFirefoxAskedForOrTheGreatestIsChosen)
{
    AddFirefox("3.6.10 (en-US)", "C:\\3.6.10");
    AddFirefox("3.6.8 (de)", "C:\\3.6.8de");
    AddFirefox("3.6.8 (en-US)", "C:\\3.6.8");
    AddFirefox("9.0", "C:\\no-parentheses");
    AddFirefox("9.1 (de)", "C:\\expand", REG_EXPAND_SZ);
    AddFirefox("9.2 (de)", std::string(600, 'x'));
    AddFirefox("2.0 (de)", "C:\\2.0");
    const tests::LogCapture log;
    const auto path = [](const char* version, const char* locale) {
        return Narrow(GetFirefoxPath(version, locale));
    };
    EXPECT_EQ(EnumFirefoxVersions().size(), 4U);
    EXPECT_THAT(path("", ""), testing::StartsWith("C:\\3.6.8")) << "versions compare as text";
    EXPECT_EQ(path("", "en-US"), "C:\\3.6.8");
    EXPECT_EQ(path("", "de"), "C:\\3.6.8de");
    EXPECT_EQ(path("3.6.10", ""), "C:\\3.6.10");
    EXPECT_EQ(path("2.0", "de"), "C:\\2.0");
    EXPECT_EQ(path("2.0", "en-US"), "");
    EXPECT_EQ(path("", "en-us"), "") << "letter case counts";
    EXPECT_EQ(path("9.0", ""), "");
    EXPECT_TRUE(
        log.Has("[tvn::debug] mzFIREFOXstrSubKey SOFTWARE\\Mozilla\\Mozilla Firefox\\"
                "3.6.8 (de)\\Main"));
}

TEST_F(BrowserLocation, OfEqualVersionsTheOneListedFirstWins)
{
    AddFirefox("5.0 (aa)", "C:\\aa");
    AddFirefox("5.0 (bb)", "C:\\bb");
    const auto versions = EnumFirefoxVersions();
    ASSERT_EQ(versions.size(), 2U);
    EXPECT_EQ(Narrow(GetFirefoxPath("", "")), versions[0]->pathToExe);
    EXPECT_EQ(Narrow(GetFirefoxPath("5.0", "")), versions[0]->pathToExe);
}

TEST_F(BrowserLocation, ANameTooLongForItsBufferEndsTheList)
{
    AddFirefox(std::string(60, '0') + " (de)", "C:\\long");
    EXPECT_TRUE(EnumFirefoxVersions().empty());
}
