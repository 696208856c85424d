// What a macro gets by puppeteer(): a page library's objects for the page that everything else
// drives.

#include "tests/browser/real_browser.h"

namespace tvn::tests
{

/// Skips the test where the program was built without the library.
class BrowserLibrary : public RealBrowser
{
  protected:
    void SetUp() override
    {
        RealBrowser::SetUp();
        if (IsSkipped()) {
            return;
        }
        Begin();
        if (Plays("await puppeteer()").find("without the library") != std::string::npos) {
            GTEST_SKIP() << "talvern.exe was built without the page library";
        }
    }
};

TEST_F(BrowserLibrary, DrivesTheSamePageAsTheOwnOperations)
{
    PlaysAll(CasesOf("library.js"));
}

TEST_F(BrowserLibrary, EndsWithItsPlayAndLeavesNothingSwitchedOn)
{
    const std::string there = "await page.goto(options.site + '/form.html'); ";
    EXPECT_EQ(
        Plays(there +
              "const { page: other } = await puppeteer(); await "
              "other.setRequestInterception(true); other.on('request', (request) => "
              "request.respond({ status: 200, contentType: 'text/html', body: '<title>Made "
              "up</title>' })); await other.goto(options.site + '/second.html'); extract(await "
              "page.title()); other.on('dialog', () => {}); other.waitForSelector('#never')"),
        "1||Made up");
    EXPECT_EQ(Plays(there + "extract(await page.title(), await page.evaluate(() => confirm('?')))"),
              "1||Form[EXTRACT]false");
    EXPECT_EQ(Plays("await (await puppeteer()).browser.close(); extract(await page.title())"),
              "1||Form");
}

TEST_F(BrowserLibrary, AnErrorHasTheLineOfTheLastCall)
{
    EXPECT_EQ(Plays("const { page: other } = await puppeteer();\nextract(await "
                    "other.evaluate(() => 1));\nawait other.click('#nowhere');\n"),
              "-100|No element found for selector: #nowhere (line 3) (-100)|1");
}

}  // namespace tvn::tests
