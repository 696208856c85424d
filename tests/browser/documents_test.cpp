// What the first documents tell to do is done, in the real browser, and gives what they say.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>

#include "tests/browser/real_browser.h"
#include "tests/surroundings.h"
#include "tests/texts.h"
#include "tests/viewer.h"

namespace tvn::tests
{

/// The block number `index`, from 0, of those in a language.
static std::string Block(const std::string& document, const std::string& language, int index = 0)
{
    const std::string text = Contents(TreeFolder() + "\\" + document);
    const std::string opening = "\n```" + language + "\n";
    std::size_t at = text.find(opening);
    for (; index > 0 && at != std::string::npos; --index) {
        at = text.find(opening, at + 1);
    }
    EXPECT_NE(at, std::string::npos) << document << " has no such block in " << language;
    at = at == std::string::npos ? text.size() : at + opening.size();
    return text.substr(at, text.find("```", at) - at);
}

static std::string Replaced(std::string text, const std::string& from, const std::string& to)
{
    EXPECT_THAT(text, testing::HasSubstr(from));
    ReplaceAll(text, from, to);
    return text;
}

/// What a script prints, without blanks at the ends of lines, when it is started by `starter`.
static std::string ScriptRan(const std::string& script, const std::string& starter = "")
{
    const std::string file = BuildFolder() + "\\document.vbs";
    std::ofstream(file) << script;
    const std::string ran = Ran(starter + "cscript.exe //nologo \"" + file + "\"");
    return std::regex_replace(ran, std::regex(" +\n"), "\n");
}

using BrowserDocuments = RealBrowser;

TEST_F(BrowserDocuments, TheScriptOnTheFirstPagePrintsWhatStandsBesideIt)
{
    const std::string script = Block("README.md", "vbs");
    EXPECT_EQ(ScriptRan(script), "0|" + Block("README.md", "text"));

    SetEnvironmentVariableA("TALVERN_BROWSER", nullptr);
    EXPECT_THAT(ScriptRan(script, ViewerLine("--explain ")),
                testing::AllOf(testing::HasSubstr("tvnInit -1\n"),
                               testing::HasSubstr("error    There is no browser to drive. Looked"),
                               testing::HasSubstr("install one of them")));
}

TEST_F(BrowserDocuments, TheTenEverydayJobsGiveWhatStandsBelowThem)
{
    Begin();
    for (int job = 0; job < 10; ++job) {
        const std::string block = Block("docs\\macros.md", "js", job);
        const std::size_t gives = block.find("// gives: ");
        ASSERT_NE(gives, std::string::npos) << block;
        const std::string expected = block.substr(gives + 10, block.size() - gives - 11);
        EXPECT_EQ(Plays(Replaced(block, "https://example.com", site)), "1||" + expected) << block;
    }
}

TEST_F(BrowserDocuments, TheFirstMacroWorksThenFailsAndTheTraceShowsWhere)
{
    const std::string document = "docs\\first-macro.md";
    const std::string page = BuildFolder() + "\\prices.html";
    std::ofstream(page) << Block(document, "html");
    std::string address = "file:///" + page.substr(page.front() == 'Z' ? 3 : 0);
    std::replace(address.begin(), address.end(), '\\', '/');
    const std::string original = "file:///C:/first/prices.html";

    const std::string file = BuildFolder() + "\\browser\\Macros\\Price.js";
    const std::string macro = Block(document, "js");
    const std::string script = Replaced(Block(document, "vbs"), original, address);
    std::ofstream(file) << macro;
    EXPECT_EQ(ScriptRan(script), "0|" + Block(document, "text", 0));

    std::ofstream(file) << Replaced(macro, "#show", "#sow");
    EXPECT_EQ(ScriptRan(script), "0|" + Block(document, "text", 1));

    const std::string trace = BuildFolder() + "\\document-trace.txt";
    ScriptRan(Replaced(script, "tvnInit()", "tvnInit(\"--trace\")"),
              ViewerLine("--out \"" + trace + "\" --explain --grep \"macro|Play\" "));
    const std::regex numbers("\\d\\d:\\d\\d:\\d\\d\\.\\d{3} +\\d+|\\d+ ms");
    EXPECT_EQ(std::regex_replace(Replaced(Printed(trace), address, original), numbers, "N"),
              std::regex_replace(Block(document, "trace"), numbers, "N"));
    std::filesystem::remove(file);
}

}  // namespace tvn::tests
