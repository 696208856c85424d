// The examples that can be run here do what they say.

#include <windows.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "basicslib/Handle.h"
#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/PipeNames.h"
#include "tests/app_client.h"
#include "tests/byte_peer.h"
#include "tests/moments.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

using testing::HasSubstr;
using testing::StartsWith;

const std::string kExamples = TreeFolder() + "\\examples\\";

static std::string RunOf(const std::string& name)
{
    return "cscript.exe //nologo \"" + kExamples + name + "\" ";
}

TEST(Examples, EveryLanguagePrintsTheSameAndTellsEachStatusInTheWordsOfTheReference)
{
    const std::string reference = Contents(TreeFolder() + "\\docs\\scripting-reference.md");
    const std::string notRunHere[] = {
        Contents(kExamples + "play.bas"), Contents(kExamples + "play.ps1"),
        Contents(kExamples + "play.py"), Contents(kExamples + "play.cs")};
    const std::string programs[] = {RunOf("play.vbs"), RunOf("play.js"),
                                    BuildFolder() + "\\examples\\play.exe ",
                                    BuildFolder() + "\\examples\\play_c.exe "};
    const std::string init = "tvnInit: 1\n";
    const std::string exit = "tvnExit: 1\n";
    std::vector<std::pair<std::string, std::string>> cases = {
        {"", "0|" + init + "tvnPlay: 1\n1: Hotel Search\n2: city=New York\n3: nights=3\n" + exit},
        {"\"!status -100\n!reply Stop[tvn!E!tvn]a[EXTRACT]b\" -fx 20",
         "1|" + init + "tvnPlay: -100\nerror text: Stop (-100)\nHELP1: a\n2: b\n" + exit},
        {"m -standin=refuse", "1|tvnInit: -1\nHELP"},
        {"m -standin=no-callback 1", "1|tvnInit: -3\nHELP"},
        {"!silent \"\" 4", "1|" + init + "tvnPlay: -3\nHELP" + exit},
        {"!end", "1|" + init + "tvnPlay: -1\nHELP" + exit},
    };
    for (const char* status : {"-2", "-4", "-6", "-7", "-20", "12"}) {
        cases.emplace_back(std::string("\"!status ") + status + "\"",
                           "1|" + init + "tvnPlay: " + status + "\nHELP" + exit);
    }
    std::set<std::string> sentences;
    for (const auto& [arguments, expected] : cases) {
        std::vector<std::string> printed(std::size(programs));
        std::vector<std::thread> beside;
        for (const std::string& program : programs) {
            beside.emplace_back([&target = printed[beside.size()], line = program + arguments] {
                target = Ran(line);
            });
        }
        for (std::thread& thread : beside) {
            thread.join();
        }
        std::string first = printed[0];
        EXPECT_THAT(printed, testing::Each(first)) << arguments;
        std::smatch help;
        if (std::regex_search(first, help, std::regex("cause: (.*)\nremedy: (.*)\n"))) {
            sentences.insert({help[1], help[2]});
            first = help.prefix().str() + "HELP" + help.suffix().str();
        }
        EXPECT_EQ(first, expected) << arguments;
        EndBrowsers();
    }
    EXPECT_GE(sentences.size(), 20U);
    for (const std::string& sentence : sentences) {
        EXPECT_THAT(reference, HasSubstr(sentence));
        EXPECT_THAT(notRunHere, testing::Each(HasSubstr(sentence)));
    }
}

TEST(Examples, ForEveryDayDoWhatTheySay)
{
    const std::string folder = BuildFolder() + "\\";
    std::ofstream(folder + "rows.txt")
        << "!reply Name\tNote[EXTRACT]A \"B\"\t=1+1[EXTRACT]-3\t-x\t";
    EXPECT_EQ(Ran(RunOf("table_to_csv.vbs") + folder + "rows.csv page " + folder + "rows.txt"),
              "0|tvnInit: 1\ntvnPlay: 1 \nrows: 3\ntvnExit: 1\n");
    const std::string csv = Contents(folder + "rows.csv");
    const std::wstring rows(L"\xFEFFName\tNote\r\n\"A \"\"B\"\"\"\t'=1+1\r\n-3\t'-x\t\r\n");
    EXPECT_EQ(csv, std::string(reinterpret_cast<const char*>(rows.data()), rows.size() * 2));

    SetEnvironmentVariableA("TALVERN_STANDIN", "refuse");
    const std::string table = RunOf("table_to_csv.vbs") + folder + "rows.csv";
    EXPECT_THAT(Ran(table + " page"),
                StartsWith("1|tvnInit: -1\nNo browser. To see why, run: tvn"));
    SetEnvironmentVariableA("TALVERN_STANDIN", nullptr);
    EndBrowsers();
    EXPECT_THAT(Ran(table), StartsWith("2|usage: "));

    std::ofstream(folder + "list.txt") << "one\n\ntwo words\n";
    DeleteFileA((folder + "log.txt").c_str());
    const std::string retry =
        RunOf("list_with_retry.vbs") + folder + "list.txt " + folder + "log.txt ";
    EXPECT_EQ(Ran(retry + "m"),
              "0|one, attempt 1: 1 m; city=one\ntwo words, attempt 1: 1 m; city=two words\n"
              "end, 0 failed\n");
    EXPECT_EQ(Ran(retry + "!end"),
              "2|one, attempt 1: -1 \none, attempt 2: -1 \none, attempt 3: -1 \n"
              "two words, attempt 1: -1 \ntwo words, attempt 2: -1 \n"
              "two words, attempt 3: -1 \nend, 2 failed\n");
    EXPECT_EQ(Contents(folder + "log.txt").substr(0, 2), "\xFF\xFE");

    EXPECT_THAT(
        Ran(RunOf("two_browsers.vbs")),
        AllOf(HasSubstr("second: tvnPlay: 1 \ncity=New York -> await page"),
              HasSubstr("[EXTRACT]name=city=New York\nfirst: tvnExit: 1\nsecond: tvnExit: 1\n")));
    EXPECT_THAT(Ran(RunOf("two_browsers.vbs") + "!end"), HasSubstr("1|first: tvnInit: 1"));
    std::string both = BuildFolder() + "\\examples\\two_at_once.exe ";
    EXPECT_THAT(Elapsed([&] { both = Ran(both + "\"!wait 3000\" \"!wait 3000\""); }),
                Within(3000, 5800))
        << "the two plays run at the same time";
    EXPECT_THAT(both, StartsWith("0|browser "));
    EXPECT_TRUE(Running("talvern.exe").empty());
}

TEST(Examples, EndWithAFailureWhenTheObjectIsNotRegistered)
{
    const std::string dll = "\"" + BuildFolder() + "\\talvern.dll\"";
    EXPECT_EQ(Ran("regsvr32.exe /s /u " + dll), "0|");
    const char* said =
        "the scripting object cannot be used (0x80040154): it is not registered, so install it";
    for (const char* program : {"play.exe", "play_c.exe"}) {
        EXPECT_THAT(Ran(BuildFolder() + "\\examples\\" + program),
                    AllOf(StartsWith("1|"), HasSubstr(said)));
    }
    EXPECT_EQ(Ran("regsvr32.exe /s " + dll), "0|");
}

TEST(Examples, EveryScriptInTheDocumentsRunsToItsEnd)
{
    std::size_t count = 0;
    for (const char* name : {"README.md", "docs\\scripting-reference.md", "docs\\cheat-sheet.md",
                             "docs\\macros.md", "docs\\first-macro.md"}) {
        const std::string text = Contents(TreeFolder() + "\\" + name);
        const std::string opening = "```vbs\n";
        for (std::size_t at = 0; (at = text.find(opening, at)) != std::string::npos; ++count) {
            at += opening.size();
            const std::string block = text.substr(at, text.find("```", at) - at);
            std::ofstream(BuildFolder() + "\\block.vbs") << "Set app = CreateObject(\"talvern\")\n"
                                                         << block << "WScript.Echo \"the end\"\n";
            EXPECT_THAT(Ran("cscript.exe //nologo " + BuildFolder() + "\\block.vbs"),
                        testing::EndsWith("the end\n"))
                << block;
        }
    }
    EXPECT_GT(count, 15U);
    EndBrowsers();
}

TEST(Examples, TheInstanceInCIsStartedFoundReservedKeptAndEnded)
{
    SetRegistryValue(kProductKey, "PathBasic", BuildFolder() + "\\examples\\instance");
    const std::string lookAlikes =
        "/pipeUuid=00000000_0000_0000_0000_000000000000 "
        "/creatorUuid=00000000_0000_0000_0000_000000000000";
    AppClient creator;
    AppClient other;
    ASSERT_EQ(creator.Init(lookAlikes.c_str()), sOk);
    const Instances list = InstancesOf(L"talvern.exe");
    ASSERT_EQ(list.size(), 1U);
    const auto pipe = BytePeer::Open(Narrow(InstancePipeName(WindowValue(list[0]->hwnd))), 5000);
    EXPECT_EQ(AccountsOf(pipe->Get()), "D:P(A;;GA;;;OW)(A;;GA;;;SY)(A;;GA;;;BA)");
    EXPECT_EQ(creator.Set("city", "New York"), sOk);
    const std::string argument = " -macro a[SP]b  -var_city New[SP]York";
    EXPECT_EQ(creator.Played("a b"), "1||" + argument + "|" + argument);
    const std::string large(200000, 'm');
    // Its reply fills the pipe, unless it is quick enough to come within no time.
    EXPECT_TRUE(Eventually([&] { return creator.Play(large, 0) == sTimeout; }));
    EXPECT_EQ(creator.Play(large), sOk) << "the command is read while the stale reply waits";
    EXPECT_EQ(creator.Extract().size(), large.size() + 9);

    creator.Release();
    Sleep(500);  // it takes a moment to see that it has been let go
    EXPECT_EQ(other.Init("", false), sOk);
    EXPECT_EQ(Running("talvern.exe").size(), 1U) << "it was free again";
    EXPECT_EQ(other.Display("text"), sOk);
    EXPECT_EQ(other.Exit(), sOk);
    EXPECT_TRUE(Eventually([] { return Running("talvern.exe").empty(); }));

    const auto reserved = Started("examples\\instance\\talvern.exe",
                                  "/creatorUuid=00000000_0000_0000_0000_000000000000");
    EXPECT_TRUE(Eventually([] { return !Running("talvern.exe").empty(); }));
    EXPECT_EQ(other.Init("", false), sOk);
    EXPECT_EQ(Running("talvern.exe").size(), 2U) << "the first waits for its creator";
    EXPECT_EQ(other.Exit(), sOk);
    SetRegistryValue(kProductKey, "PathBasic", kStandinFolder);
}

}  // namespace tvn::tests
