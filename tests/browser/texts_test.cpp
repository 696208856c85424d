// Macros that are files, what they print, and where their pictures go.

#include <filesystem>
#include <fstream>

#include "basicslib/Handle.h"
#include "basicslib/ScopeExit.h"
#include "basicslib/StatusCode.h"
#include "tests/browser/real_browser.h"
#include "tests/surroundings.h"

namespace tvn::tests
{

namespace fs = std::filesystem;

using BrowserTexts = RealBrowser;

TEST_F(BrowserTexts, OfAnyLengthCrossAndHalfACharacterIsReplaced)
{
    Begin();
    EXPECT_EQ(app.Play("extract('\\u20ac\\ud800' + await page.evaluate(() => "
                       "'a\\udc00\\ud83d\\ude00'), 'x'.repeat(17 << 20))",
                       60),
              sOk);
    EXPECT_TRUE(app.LastExtract() ==
                L"\x20AC\xFFFD\x61\xFFFD\xD83D\xDE00[EXTRACT]" + std::wstring(17 << 20, L'x'));
}

TEST_F(BrowserTexts, AMacroIsPlayedByItsNameOutOfTheFoldersOfMacrosOnly)
{
    const fs::path programs = BuildFolder() + "\\browser\\Macros";
    const fs::path own = UserFolder() + "\\Macros";
    fs::create_directories(own);
    const std::pair<fs::path, std::string> files[] = {
        {programs / "two words.js", "\xEF\xBB\xBF/**/ extract('played', vars.city)"},
        {programs / "broken.js", "\n\nthrow new Error('broken')"},
        {programs / "..\\outside.js", "extract('outside')"},
        {programs / "Comp.js", "extract('not mine')"},
        {own / "Comp.js", "extract('mine', '\xE2\x82\xAC' === '\\u20ac')"},
        {own / "latin.js", "extract('\xE9t\xE9')"},
        {own / "wide.js", std::string("\xFF\xFE/\0/\0", 6)},
        {own / "zeros.js", std::string("/\0/\0", 4)},
        {own / "taken.js", ""},
    };
    for (const auto& [file, text] : files) {
        std::ofstream(file, std::ios::binary) << text;
    }
    Begin();
    app.Set("city", "Rome");
    const std::string is = "-100|The macro " + own.string() + "\\";
    const std::string encoding = " is not in UTF-8; save it in that encoding. (-100)|";
    const Handle taken(CreateFileW((own / "taken.js").c_str(), GENERIC_READ, FILE_SHARE_DELETE,
                                   nullptr, OPEN_EXISTING, 0, nullptr));
    const std::pair<std::string, std::string> cases[] = {
        {"two words", "1||played[EXTRACT]Rome"},
        {"two words.js", "1||played[EXTRACT]"},
        {"broken", "-100|broken (line 3) (-100)|"},
        {"No Such", "-100|There is no macro \"No Such\" in " + own.string() + " or " +
                        programs.string() + " (-100)|"},
        {"Comp", "1||mine[EXTRACT]true"},
        {"latin", is + "latin.js" + encoding},
        {"wide", is + "wide.js" + encoding},
        {"zeros", is + "zeros.js" + encoding},
        {"taken", is + "taken.js cannot be read. (-100)|"},
    };
    for (const auto& [name, says] : cases) {
        EXPECT_EQ(Plays(name), says);
    }
    for (const char* outside : {"../outside.js", "..\\outside.js", "..\\outside"}) {
        EXPECT_THAT(Plays(outside), testing::MatchesRegex("-100\\|.*\\|")) << outside;
    }
    for (const auto& [file, text] : files) {
        fs::remove(file);
    }
}

TEST_F(BrowserTexts, TheMacrosThatComeWithTheBrowserDoWhatTheySay)
{
    // Where the program's own folder cannot be written, pictures go to the user's.
    const fs::path output = BuildFolder() + "\\browser\\Output";
    const fs::path own = UserFolder() + "\\Output";
    fs::remove_all(output);
    fs::remove_all(own);
    std::ofstream(output) << "no folder";
    const ScopeExit restored([&] { fs::remove(output); });
    Begin();
    app.Set("city", "New York");
    app.Set("nights", "3");
    EXPECT_EQ(Plays("Hotel Search"),
              "1||Harbour View, New York, 540[EXTRACT]The Elm, New York, 285");
    EXPECT_THAT(Plays("Hotel Search"), testing::EndsWith("Casa Lupa, Rome, 75")) << "everywhere";
    app.Set("page", (site + "/second.html").c_str());
    EXPECT_EQ(Plays("table"), "1||Room\tPrice[EXTRACT]Single\t80");
    app.Set("page", (site + "/second.html").c_str());
    EXPECT_EQ(Plays("picture"), "1||" + (own / "page.png").string());
    EXPECT_TRUE(fs::exists(own / "page.png"));
    fs::create_directories(own / "taken.png");
    EXPECT_EQ(Plays("await page.screenshot({ path: 'taken.png' })"),
              "-100|screenshot: \"taken.png\" cannot be written (line 1) (-100)|");
}

}  // namespace tvn::tests
