// Where the pictures go that a macro takes.

#include <filesystem>
#include <fstream>

#include "tests/browser/real_browser.h"
#include "tests/surroundings.h"

namespace tvn::tests
{

class BrowserPictures : public RealBrowser
{};

/// The first bytes of a file, as many as its size is read from.
static std::string BeginOf(const std::string& path)
{
    char begin[24] = "";
    std::ifstream(path, std::ios::binary).read(begin, sizeof begin);
    return {begin, sizeof begin};
}

/// How many lines of points a .png has.
static unsigned int HeightOf(const std::string& path)
{
    const std::string begin = BeginOf(path);
    EXPECT_EQ(begin.substr(1, 3), "PNG");
    return static_cast<unsigned char>(begin[22]) * 256U + static_cast<unsigned char>(begin[23]);
}

TEST_F(BrowserPictures, AreWrittenBelowTheFolderOutputOnly)
{
    Begin();
    const std::string output = BuildFolder() + "\\browser\\Output\\";
    std::filesystem::remove_all(output);
    EXPECT_EQ(Plays("extract(await page.screenshot({ path: 'a.png' })); extract(await "
                    "page.screenshot({ path: 'b/c.jpg', fullPage: true }))"),
              "1||" + output + "a.png[EXTRACT]" + output + "b\\c.jpg");
    EXPECT_GT(std::filesystem::file_size(output + "a.png"), 100U);
    EXPECT_EQ(BeginOf(output + "b\\c.jpg").substr(0, 3), "\xFF\xD8\xFF");
    EXPECT_EQ(Plays("await page.goto(options.site + '/form.html'); await page.screenshot({ path: "
                    "'a.png' }); await page.screenshot({ path: 'whole.png', fullPage: true })"),
              "1||");
    EXPECT_LT(HeightOf(output + "a.png"), 2000U);
    EXPECT_GT(HeightOf(output + "whole.png"), 3000U);
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
