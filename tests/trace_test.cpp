// The trace viewer, run as people run it.

#include <gmock/gmock.h>

#include <fstream>
#include <optional>

#include "basicslib/Handle.h"
#include "basicslib/Log.h"
#include "tests/byte_peer.h"
#include "tests/surroundings.h"
#include "tests/viewer.h"

namespace tvn::tests
{

using testing::HasSubstr;
using testing::StartsWith;
using Pairs = std::vector<std::pair<std::string, std::string>>;

/// "EXIT CODE|TEXT" of a viewer that ends by itself.
static std::string Trace(const std::string& arguments)
{
    return Ran(ViewerLine(arguments));
}

TEST(TraceViewer, ShowsTheLinesOfAllProcessesThatItIsAskedFor)
{
    const std::string ones = "debug    one\ndebug    one\n";
    const std::string two = "protocol [C] two\n";
    const std::string three = "error    three\\x0D\\x0A lines\\x1B\\x9D\n";
    const std::string own = std::to_string(GetCurrentProcessId());
    const Pairs expected = {
        {"", ones + two + three},
        {"--level protocol", two + three},
        {"--level other --grep o", ones + two + "other    four\n"},
        {"--pid 4711 --pid " + own + " --grep ^three.*s.x1B", three},
        {"--pid 4711", ""},
        {"--explain", "debug    one\n" + two + three},
    };
    for (const auto& [arguments, lines] : expected) {
        const Viewer viewer(arguments);
        LogDebug("one");
        LogDebug("one");
        LogProtocol("[C] two");
        LogError("three\r\n\tlines\x1B\x9D\n");
        OutputDebugStringA("four");
        EXPECT_EQ(WithoutTimesAndProcesses(viewer.End()), lines) << arguments;
    }
}

TEST(TraceViewer, LosesNoLineWhenItIsAskedToEndAndEndsWhenNobodyReads)
{
    const std::string name = "\\\\.\\pipe\\TalvernViewerTest";
    std::optional<BytePeer> reader(std::in_place, name, nullptr, 0);  // who writes waits for it
    const Viewer viewer("", name);
    LogDebug("one");
    LogDebug("two");
    viewer.AskToEnd();
    std::string text;
    for (Bytes line; reader->Read(line, 5000);) {
        text.append(line.begin(), line.end());
    }
    EXPECT_EQ(WithoutTimesAndProcesses(text), "debug    one\r\ndebug    two\r\n");
    EXPECT_EQ(viewer.ExitCode(), 0U);

    reader.emplace(name, nullptr, 0);
    const Viewer unread("", name);
    reader.reset();
    LogDebug("one");
    EXPECT_EQ(unread.ExitCode(), 1U);
}

TEST(TraceViewer, SaysWhatIsWrong)
{
    const Viewer holder;
    const Pairs expected = {
        {"", "1|tvntrace: another viewer"},
        {"cmd /c echo started", "1|tvntrace: another viewer"},
        {"--out Z:\\nosuch\\file cmd", "1|tvntrace: the file 'Z:\\nosuch\\file' cannot be written"},
        {"--levl error", "2|The following argument was not expected: --levl"},
        {"--level high", "2|--level: high not in {error,protocol,debug,other}"},
        {"--grep (", "2|--grep: '(' is no regular expression"},
    };
    for (const auto& [arguments, says] : expected) {
        EXPECT_THAT(Trace(arguments), StartsWith(says));
    }
    EXPECT_EQ(holder.End(), "");
    EXPECT_THAT(Trace("nosuch.exe a"), StartsWith("1|tvntrace: 'nosuch.exe a' cannot be started"));
    // Another object may have the name of a part of the buffer.
    for (const wchar_t* part : {L"DBWIN_BUFFER_READY", L"DBWIN_DATA_READY", L"DBWIN_BUFFER"}) {
        const Handle taken(CreateMutexW(nullptr, FALSE, part));
        EXPECT_THAT(Trace(""), StartsWith("1|tvntrace: the debug-output buffer cannot be made"));
    }
}

TEST(TraceViewer, StartsACommandAsItWasTypedAndEndsWithItsExitCode)
{
    const Pairs expected = {
        {"--level error cmd /c echo \"a&b\"", "0|\"a&b\"\n"},
        {"--grep \"a b\"  --pid 1 cmd /c  echo \"x\\\"  & exit 7", "7|\"x\\\"  \n"},
        {"cmd /c exit 3", "3|"},
    };
    for (const auto& [arguments, result] : expected) {
        EXPECT_EQ(Trace(arguments), result) << arguments;
    }
}

TEST(TraceViewer, ShowsTheLinesOfACommandAndOfWhoeverWritesTheSystemsOwn)
{
    const std::string owner = "\"" + BuildFolder() + "\\tests\\window_owner.exe\"";
    const DWORD untraced = ExitCodeOf(StartedInto(nullptr, owner + " break")->Get(), 60000);
    const Handle goOn(CreateEventA(nullptr, TRUE, FALSE, "tvntrace_test"));
    const Viewer viewer("--level other " + owner + " wait=tvntrace_test say=four break");
    OutputDebugStringA("one");
    LogDebug("two");
    OutputDebugStringA("three");
    SetEvent(goOn.Get());
    EXPECT_EQ(viewer.ExitCode(), untraced) << "a breakpoint is the program's own affair";
    EXPECT_NE(untraced, 0U);
    EXPECT_EQ(WithoutTimesAndProcesses(viewer.Lines()),
              "debug    two\nother    three\nother    four\n");
}

TEST(TraceViewer, ExplainsWhatACommandDoes)
{
    const std::string folder = BuildFolder() + "\\";
    std::ofstream(folder + "traced.vbs")
        << "Set app = CreateObject(\"talvern\")\n"
           "WScript.Echo app.tvnInit(), app.tvnPlay(\"m\" & Space(1100)), "
           "app.tvnPlay(\"!status -100\"), app.tvnExit()\n";
    EXPECT_EQ(Trace("--explain --out \"" + folder + "steps.txt\" cscript.exe //nologo \"" + folder +
                    "traced.vbs\""),
              "0|1 1 -100 1\n")
        << "the command's own output";
    const std::string text = WithoutTimesAndProcesses(Printed(folder + "steps.txt"));
    for (const char* step :
         {"debug    talvern.dll is loaded or unloaded\n",
          "protocol waiting for the browser to call back\n", "protocol tvnPlay: m ", "...\n",
          "protocol the browser answers tvnPlay: 1 (sOk: done)\n",
          "tvnPlay: -100 (sMacroError: the macro failed; tvnGetLastError tells why)\n"}) {
        EXPECT_THAT(text, HasSubstr(step));
    }
    EXPECT_EQ(text.find("Protocol::"), std::string::npos) << text;
}

TEST(TraceViewer, ExplainsWhatToDoAndNeverShowsAPassword)
{
    const Pairs expected = {
        {"",
         "protocol [C] FFFFFFFA = createProcess(user:U, domain:D, password:****, "
         "appPath:C:\\b.exe, cmdLine: x)\nerror    CreateProcess failed 0x00000002\n"
         "error    The instance ends. There is no browser to drive.\n"},
        {"--explain",
         "protocol starting C:\\b.exe with ' x' as user U, domain D, password ****: -6 "
         "(sRunnerNotReachable: the runner service does not answer; start it)\n"
         "error    the program cannot be started: 0x2, File not found -> 2, 3: name the right "
         "path in the registry; 5: look at the rights; 2E4: it wants an administrator\n"
         "error    the own browser ends: There is no browser to drive. -> install Edge, "
         "Chrome or Chromium, or name one to it\n"},
    };
    for (const auto& [arguments, lines] : expected) {
        const Viewer viewer(arguments);
        LogProtocol(
            "[C] %X = createProcess(user:U, domain:D, password:s, appPath:cret, "
            "appPath:C:\\b.exe, cmdLine: x)",
            0xFFFFFFFA);
        LogError("CreateProcess failed 0x%08x", 2U);
        LogError("The instance ends. %s", "There is no browser to drive.");
        EXPECT_EQ(WithoutTimesAndProcesses(viewer.End()), lines);
    }
}

TEST(TraceViewer, MatchesTheLongestLinesWithinTimeAndStack)
{
    for (const char* pattern : {"^(.|.)*$", "(x+x+)+y|.*z$"}) {
        const Viewer viewer("--level other --grep \"" + std::string(pattern) + "\"");
        OutputDebugStringA(std::string(60000, '\x9D').c_str());
        OutputDebugStringA(std::string(60000, 'x').c_str());
        LogDebug("z");
        EXPECT_THAT(viewer.End(), testing::EndsWith("debug    z\n"));
    }
}

}  // namespace tvn::tests
