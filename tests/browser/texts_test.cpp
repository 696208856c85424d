// What goes into a macro and what comes out of it.

#include <filesystem>
#include <fstream>
#include <iterator>

#include "basicslib/Handle.h"
#include "basicslib/StatusCode.h"
#include "process/Instance.h"
#include "process/InstancesMgr.h"
#include "tests/browser/real_browser.h"
#include "tests/moments.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

class BrowserTexts : public RealBrowser
{};

TEST_F(BrowserTexts, CrossUnchangedWhateverTheyHold)
{
    Begin();
    EXPECT_EQ(Plays(""), "1||");
    EXPECT_EQ(Plays("extract('a', '', 1.5, null, undefined, [1], { b: 'c' }, true)"),
              "1||a[EXTRACT][EXTRACT]1.5[EXTRACT][EXTRACT][EXTRACT][1][EXTRACT]{\"b\":\"c\"}"
              "[EXTRACT]true");
    app.Set("city", "New York\r\n");
    app.Set("-fast", "1");
    app.Set("empty", "");
    EXPECT_EQ(Plays("extract(vars.city, vars.empty, vars.none, options.fast, vars.toString)"),
              "1||New York\r\n[EXTRACT][EXTRACT][EXTRACT]1[EXTRACT]");
    EXPECT_EQ(Plays("extract(vars.city)"), "1||") << "they are for one play";
    // Texts of pages and variables are no part of any source.
    app.Set("text", L"`${x}'\"\\ </script> \x130\x20AC\xD83D\xDE00");
    EXPECT_EQ(Plays("await page.evaluate((t) => { document.title = t; }, vars.text); "
                    "extract(await page.title() === vars.text, vars.text)"),
              "1||true[EXTRACT]" + Narrow(L"`${x}'\"\\ </script> \x130\x20AC\xD83D\xDE00"));
    BSTR extract = nullptr;
    EXPECT_EQ(app.Play("extract('\\u20ac\\ud800' + await page.evaluate(() => "
                       "'a\\udc00\\ud83d\\ude00'))"),
              sOk);
    EXPECT_EQ(app.Get()->tvnGetLastExtract(AppClient::LeftOut(), &extract), S_OK);
    EXPECT_EQ(ToView(ComString(extract, false)),
              L"\x20AC\xFFFD"
              L"a\xFFFD\xD83D\xDE00");
    EXPECT_EQ(app.Play("extract('x'.repeat(17 << 20))", 60), sOk);
    EXPECT_TRUE(app.Extract() == std::string(17 << 20, 'x'));
    EXPECT_EQ(Plays("extract('a[tvn!E!tvn]b[tvn!E!tvn]')"), "1||a[ tvn!E!tvn]b[ tvn!E!tvn]");
    EXPECT_EQ(Plays("extract('a'); throw new Error('b[tvn!E!tvn]c')"),
              "-100|b[ tvn!E!tvn]c (line 1) (-100)|a");
    for (const char* name : {"two words", "a b c", "-two words"}) {
        app.Set(name, "1");
        EXPECT_EQ(Plays("extract(1)"),
                  "-100|A variable's name holds a blank, which tvnSet cannot send; use another "
                  "name. (-100)|")
            << name;
    }
}

TEST_F(BrowserTexts, WhatAMacroThrowsComesWithItsLineAndTheExtractsUntilThen)
{
    Begin();
    const std::pair<const char*, const char*> cases[] = {
        {"extract('a');\nextract('b');\nthrow new Error('Stop');",
         "-100|Stop (line 3) (-100)|a[EXTRACT]b"},
        {"\n\nnull.x;", "-100|Cannot read properties of null (reading 'x') (line 3) (-100)|"},
        {"function f() {\n  throw new TypeError('deep');\n}\nf();", "-100|deep (line 2) (-100)|"},
        {"const f = async () => {\n  await page.title();\n  await page.click('#none', { timeout: 1 "
         "});\n};\nawait f();",
         "-100|#none is not there (line 3) (-100)|"},
        {"await page.title();\nawait page.evaluate(() => { throw new RangeError('inside'); });",
         "-100|RangeError: inside (line 2) (-100)|"},
        {"let a = 1;\nlet b = ;", "-100|Unexpected token ';' (line 2) (-100)|"},
        {"extract('a');\nthrow 'text';", "-100|text (line 1) (-100)|a"},
        {"await new Promise((resolve) => setTimeout(resolve, 20));\nthrow new Error('late');",
         "-100|late (line 2) (-100)|"},
        {"setTimeout(() => { throw new Error('nobody waits'); }); await page.title(); extract(1)",
         "1||1"},
    };
    for (const auto& [macro, says] : cases) {
        EXPECT_EQ(Plays(macro), says) << macro;
    }
}

TEST_F(BrowserTexts, TheDebugOutputHasEachStepOfAMacroAndWhatItWrites)
{
    const std::filesystem::path file = BuildFolder() + "\\steps.txt";
    std::filesystem::remove(file);
    const auto viewer = Started("tvntrace\\tvntrace.exe", "--out \"" + file.string() + "\"");
    const auto browser = Started("browser\\talvern.exe", "--trace");
    ASSERT_TRUE(Eventually([] {
        std::vector<boost::shared_ptr<Instance>> instances;
        InstancesMgr().GetInstancesByName(instances, L"talvern.exe", 5000);
        return instances.size() == 1;
    }));
    ASSERT_EQ(app.Init("", false, 60), sOk);
    EXPECT_EQ(Plays("console.log('wrote', 1, 'word');\nawait page.title();\nawait "
                    "page.click('#none', { timeout: 1 })"),
              "-100|#none is not there (line 3) (-100)|");
    std::string lines;
    EXPECT_TRUE(Eventually([&] {
        std::ifstream trace(file);
        lines.assign(std::istreambuf_iterator<char>(trace), {});
        return lines.find("macro, line 3") != std::string::npos;
    }));
    for (const char* step :
         {"macro: wrote 1 word\n", "macro, line 2: title() done after ", "macro, line 3: click("}) {
        EXPECT_THAT(lines, testing::HasSubstr(step));
    }
    EXPECT_EQ(app.Exit(), sOk);
}

TEST_F(BrowserTexts, WhatASiteOffersToDownloadGoesBelowOutputAndIsNoPage)
{
    const std::filesystem::path downloads = BuildFolder() + "\\browser\\Output\\Downloads";
    std::filesystem::remove_all(downloads);
    Begin();
    EXPECT_EQ(Plays("await page.goto(options.site + '/second.html');\n"
                    "await page.goto(options.site + '/prices.csv')"),
              "-100|goto " + site + "/prices.csv: this is a download, no page (line 2) (-100)|");
    EXPECT_EQ(Plays("extract(page.url() === options.site + '/second.html')"), "1||true");
    std::string content;
    EXPECT_TRUE(Eventually([&] {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(downloads)) {
            if (entry.path().filename() == "prices.csv") {
                std::ifstream(entry.path()) >> content;
            }
        }
        return content == "Single;80";
    }));
    EXPECT_EQ(app.Exit(), sOk);
    std::filesystem::remove_all(downloads);
    Begin();
    EXPECT_EQ(app.Exit(), sOk);
    EXPECT_TRUE(std::filesystem::is_empty(downloads)) << "there was nothing to download";
}

TEST_F(BrowserTexts, AMacroIsPlayedByItsNameOutOfTheFolderMacrosOnly)
{
    const std::filesystem::path folder = BuildFolder() + "\\browser\\Macros";
    std::ofstream(folder / "two words.js") << "\xEF\xBB\xBF"
                                              "extract('played', vars.city)";
    std::ofstream(folder / "broken.js") << "\n\nthrow new Error('broken')";
    std::ofstream(folder.parent_path() / "outside.js") << "extract('outside')";
    const std::filesystem::path own = UserFolder() + "\\Macros";
    std::filesystem::create_directories(own);
    std::ofstream(folder / "Comp.js") << "extract('not mine')";
    std::ofstream(own / "Comp.js") << "extract('mine', '\xE2\x82\xAC' === '\\u20ac')";
    std::ofstream(own / "latin.js") << "extract('\xE9t\xE9')";
    std::ofstream(own / "wide.js", std::ios::binary) << std::string("\xFF\xFE/\0/\0", 6);
    std::ofstream(own / "zeros.js", std::ios::binary) << std::string("/\0/\0", 4);
    Begin();
    app.Set("city", "Rome");
    EXPECT_EQ(Plays("two words"), "1||played[EXTRACT]Rome");
    EXPECT_EQ(Plays("two words.js"), "1||played[EXTRACT]");
    EXPECT_EQ(Plays("broken"), "-100|broken (line 3) (-100)|");
    EXPECT_EQ(Plays("No Such"), "-100|There is no macro \"No Such\" in " + own.string() + " or " +
                                    folder.string() + " (-100)|");
    EXPECT_EQ(Plays("Comp"), "1||mine[EXTRACT]true");
    for (const char* other : {"latin", "wide", "zeros"}) {
        EXPECT_EQ(Plays(other), "-100|The macro " + (own / other).string() +
                                    ".js is not in UTF-8; save it in that encoding. (-100)|");
    }
    std::filesystem::remove_all(own);
    for (const char* outside : {"../outside.js", "..\\outside.js", "..\\outside"}) {
        EXPECT_THAT(Plays(outside), testing::StartsWith("-100|")) << outside;
        EXPECT_EQ(app.Extract(), "") << outside;
    }
    {
        const Handle other(CreateFileW((folder / "broken.js").c_str(), GENERIC_READ, 0, nullptr,
                                       OPEN_EXISTING, 0, nullptr));
        EXPECT_EQ(Plays("broken"),
                  "-100|The macro " + (folder / "broken.js").string() + " cannot be read. (-100)|");
    }
    for (const char* file : {"two words.js", "Comp.js", "broken.js", "..\\outside.js"}) {
        std::filesystem::remove(folder / file);
    }

    // Those that come with the browser.
    app.Set("city", "New York");
    app.Set("nights", "3");
    EXPECT_EQ(Plays("Hotel Search"),
              "1||Harbour View, New York, 540[EXTRACT]The Elm, New York, 285");
    EXPECT_THAT(Plays("Hotel Search"), testing::EndsWith("Casa Lupa, Rome, 75")) << "everywhere";
    app.Set("page", (site + "/second.html").c_str());
    EXPECT_EQ(Plays("table"), "1||Room\tPrice[EXTRACT]Single\t80");
    const std::filesystem::path picture = folder.parent_path() / "Output" / "page.png";
    std::filesystem::remove(picture);
    EXPECT_EQ(Plays("picture"), "1||" + picture.string());
    EXPECT_TRUE(std::filesystem::exists(picture));

    // Where the program's own folder cannot be written, it is the user's.
    std::filesystem::rename(folder.parent_path() / "Output", folder.parent_path() / "Input");
    std::ofstream(folder.parent_path() / "Output") << "no folder";
    app.Set("page", (site + "/second.html").c_str());
    EXPECT_EQ(Plays("picture"), "1||" + UserFolder() + "\\Output\\page.png");
    EXPECT_TRUE(std::filesystem::exists(UserFolder() + "\\Output\\page.png"));
    std::filesystem::remove(folder.parent_path() / "Output");
    std::filesystem::rename(folder.parent_path() / "Input", folder.parent_path() / "Output");
}

}  // namespace tvn::tests
