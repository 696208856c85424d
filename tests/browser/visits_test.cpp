// Pages that come, go, hang, ask and crash under a macro.

#include <filesystem>

#include "basicslib/StatusCode.h"
#include "tests/browser/real_browser.h"
#include "tests/surroundings.h"

namespace tvn::tests
{

class BrowserVisits : public RealBrowser
{};

TEST_F(BrowserVisits, AMacroGoesOnOverNavigationsAndRedirects)
{
    Begin();
    PlaysAll(
        "form.html",
        {
            {"await page.click('#send'); extract(await page.textContent('#result')); await "
             "page.goBack(); extract(await page.title()); await page.reload(); extract(await "
             "page.title())",
             "1||You are here[EXTRACT]Form[EXTRACT]Form"},
            {"await page.click('#link'); await page.waitForURL('**/second.html'); extract(await "
             "page.title())",
             "1||Second"},
            {"await page.evaluate(() => setTimeout(() => link.click(), 300)); await "
             "page.waitForURL(/second/); extract(await page.title())",
             "1||Second"},
            {"await page.goto(options.site + '/redirect'); extract(page.url() === options.site + "
             "'/second.html')",
             "1||true"},
            {"await page.goto(options.site + '/script_redirect.html', { waitUntil: 'commit' }); "
             "extract(await page.textContent('#result'))",
             "1||You are here"},
            {"await page.goto(options.site + '/slow'); extract(await page.title())", "1||Second"},
            {"await page.goto(options.site + '/form.html#far'); extract(page.url().slice(-4)); "
             "await "
             "page.goBack(); extract(page.url().slice(-4))",
             "1||#far[EXTRACT]html"},
            {"await page.evaluate(() => new Promise(() => { location = 'second.html'; }))",
             "-100|evaluate: the page was left meanwhile (Inspected target navigated or closed) "
             "(line 1) (-100)|"},
            {"await page.waitForURL('**/nowhere', { timeout: 200 }).catch((error) => "
             "extract(error.message.replace(options.site, '')))",
             "1||waitForURL **/nowhere: the page is /form.html"},
            {"await page.goto('http://127.0.0.1:9/').catch((error) => extract(error.message))",
             "1||goto http://127.0.0.1:9/: net::ERR_UNSAFE_PORT"},
        });
}

TEST_F(BrowserVisits, FramesAreReachedByNameOrAddressWhateverSiteTheyAreFrom)
{
    Begin();
    PlaysAll("frames.html",
             {
                 {"const near = page.frame('near'); await near.fill('#text', 'in'); await "
                  "near.click('#go'); extract(await near.getAttribute('#go', 'data-kind'), await "
                  "near.evaluate(() => text.value)); await near.click('#send'); extract(await "
                  "near.textContent('#result'), await page.title())",
                  "1||clicked[EXTRACT]in[EXTRACT]You are here[EXTRACT]Frames"},
                 {"const far = page.frame('?far'); await far.fill('#text', 'in'); await "
                  "far.click('#go'); await far.click('#go'); extract(await far.getAttribute('#go', "
                  "'data-kind'), await "
                  "far.evaluate(() => [text.value, origin.includes('localhost')]))",
                  "1||clicked[EXTRACT][\"in\",true]"},
                 {"await page.frame('none').click('#go', { timeout: 200 })",
                  "-100|the frame \"none\" is not there (line 1) (-100)|"},
             });
}

TEST_F(BrowserVisits, NothingHangs)
{
    Begin();
    PlaysAll(
        "leaving.html",
        {
            {"extract(await page.evaluate(() => [alert('a'), confirm('b'), prompt('c', 'd')]))",
             "1||[null,false,null]"},
            {"await page.click('#ask'); await page.goto(options.site + '/second.html'); "
             "extract(await page.title())",
             "1||Second"},
            {"page.setDefaultTimeout(20000); await page.evaluate(() => { "
             "window.open('leaving.html').alert('in a window that has only begun'); }); "
             "extract(await page.title())",
             "1||Leaving"},
            {"await page.evaluate(() => { for (;;); }).catch((error) => extract(error.message)); "
             "extract(await page.title())",
             "1||evaluate: the page does not answer[EXTRACT]Leaving"},
            {"await page.evaluate(() => { setTimeout(() => { for (;;); }); }); await "
             "page.textContent('#ask', { timeout: 300 }).catch((error) => extract(error.message)); "
             "await page.goto(options.site + '/second.html'); extract(await page.title())",
             "1||#ask gets no answer from the page[EXTRACT]Second"},
            {"await page.goto(options.site + '/hang', { timeout: 500 }).catch((error) => "
             "extract(error.message.replace(options.site, ''))); await page.goto(options.site + "
             "'/second.html'); extract(await page.title())",
             "1||/hang does not come[EXTRACT]Second"},
            {"await page.goto('chrome://crash').catch((error) => extract(error.message)); await "
             "page.title().catch((error) => extract(error.message)); await page.goto(options.site "
             "+ "
             "'/second.html'); extract(await page.title())",
             "1||the page has crashed[EXTRACT]the page has crashed[EXTRACT]Second"},
            {"page.evaluate(() => new Promise(() => {})).catch(() => {}); extract('not awaited')",
             "1||not awaited"},
        });
}

TEST_F(BrowserVisits, PicturesAreWrittenBelowTheFolderOutputOnly)
{
    Begin();
    const std::string output = BuildFolder() + "\\browser\\Output\\";
    std::filesystem::remove_all(output);
    EXPECT_EQ(Plays("extract(await page.screenshot({ path: 'a.png' })); extract(await "
                    "page.screenshot({ path: 'b/c.jpg', fullPage: true }))"),
              "1||" + output + "a.png[EXTRACT]" + output + "b\\c.jpg");
    EXPECT_GT(std::filesystem::file_size(output + "a.png"), 100U);
    EXPECT_GT(std::filesystem::file_size(output + "b\\c.jpg"), 100U);
    for (const char* path :
         {"../a.png", "b/../../a.png", "C:/a.png", "/a.png", "\\\\\\\\a\\\\b.png", "a.png:b.png",
          "NUL.png", "b//c.png", "a.png ", ""}) {
        const std::string macro = std::string("await page.screenshot({ path: '") + path + "' })";
        EXPECT_THAT(Plays(macro), testing::HasSubstr("no path below the folder Output")) << path;
    }
    // Neither beside the program nor in the person's own folder.
    char own[MAX_PATH] = "";
    GetEnvironmentVariableA("LOCALAPPDATA", own, MAX_PATH);
    for (const std::string& folder : {output, own + std::string("\\Talvern\\Output\\")}) {
        std::filesystem::create_directories(folder + "taken.png");
    }
    EXPECT_EQ(Plays("await page.screenshot({ path: 'taken.png' })"),
              "-100|screenshot: \"taken.png\" cannot be written (line 1) (-100)|");
    EXPECT_EQ(Plays("await page.screenshot({ path: 'a.exe' })"),
              "-100|screenshot: the path has to end with .png or .jpg (line 1) (-100)|");
}

}  // namespace tvn::tests
