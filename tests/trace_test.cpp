// The trace viewer, run as people run it.

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>

#include "basicslib/Handle.h"
#include "basicslib/Log.h"
#include "tests/moments.h"
#include "tests/surroundings.h"

namespace tvn::tests
{
namespace
{

using testing::EndsWith;
using testing::HasSubstr;
using testing::Pair;
template <class First, class Second>
using Pairs = std::vector<std::pair<First, Second>>;

std::string InBuildFolder(const char* name)
{
    return BuildFolder() + "\\" + name;
}

std::string Text(const std::string& path)
{
    std::string text = Contents(path);
    std::erase(text, '\r');
    return text;
}

std::string WithoutTimesAndProcesses(const std::string& lines)
{
    return std::regex_replace(lines, std::regex("\\d\\d:\\d\\d:\\d\\d\\.\\d{3} +\\d+ "), "");
}

std::string Steps(const std::string& path)
{
    return WithoutTimesAndProcesses(Text(path));
}

/// The exit code of the viewer, started with `arguments` through a shell, and what it prints.
std::pair<int, std::string> Trace(const std::string& arguments)
{
    const std::string printed = InBuildFolder("printed.txt");
    const std::string command = "\"\"" + InBuildFolder("tvntrace\\tvntrace.exe") + "\" " +
                                arguments + " > \"" + printed + "\" 2>&1\"";
    // NOLINTNEXTLINE(cert-env33-c): the command line is this program's own
    const int exitCode = std::system(command.c_str());
    return {exitCode, Text(printed)};
}

/// A viewer that reads the shared buffer, and is asked to end as by Ctrl+C.
class Viewer
{
  public:
    /// `output` takes its lines; without one, a file does.
    explicit Viewer(const std::string& arguments, HANDLE output = nullptr)
    {
        std::string line = "\"" + InBuildFolder("tvntrace\\tvntrace.exe") + "\" " + arguments;
        STARTUPINFOA startupInfo = {};
        startupInfo.cb = sizeof startupInfo;
        if (output == nullptr) {
            line += " --out \"" + InBuildFolder("lines.txt") + "\"";
        } else {
            startupInfo.dwFlags = STARTF_USESTDHANDLES;
            startupInfo.hStdOutput = output;
        }
        PROCESS_INFORMATION info = {};
        EXPECT_TRUE(CreateProcessA(nullptr, line.data(), nullptr, nullptr, output != nullptr, 0,
                                   nullptr, nullptr, &startupInfo, &info));
        m_process = boost::make_shared<Handle>(info.hProcess);
        CloseHandle(info.hThread);
        EXPECT_TRUE(Eventually([] {
            const Handle buffer(OpenFileMappingW(FILE_MAP_READ, FALSE, L"DBWIN_BUFFER"));
            return buffer.IsValid();
        }));
    }

    void AskToEnd() const
    {
        // Without a console nobody sends the request; this is how a console does.
        const auto routine = reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(
            GetProcAddress(GetModuleHandleW(L"kernelbase"), "CtrlRoutine")));
        const Handle request(
            CreateRemoteThread(m_process->Get(), nullptr, 0, routine, CTRL_C_EVENT, 0, nullptr));
        WaitForSingleObject(request.Get(), 5000);
    }

    DWORD ExitCode() const
    {
        EXPECT_EQ(WaitForSingleObject(m_process->Get(), 5000), WAIT_OBJECT_0);
        DWORD exitCode = 4711;
        EXPECT_TRUE(GetExitCodeProcess(m_process->Get(), &exitCode));
        return exitCode;
    }

    /// What it has printed into the file in the end.
    std::string End() const
    {
        AskToEnd();
        EXPECT_EQ(ExitCode(), 0U);
        return Steps(InBuildFolder("lines.txt"));
    }

  private:
    boost::shared_ptr<Handle> m_process;
};

/// A pipe that holds nothing: whoever writes a line waits until it is read.
struct NarrowPipe
{
    NarrowPipe()
    {
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        HANDLE in = nullptr;
        HANDLE out = nullptr;
        EXPECT_TRUE(CreatePipe(&in, &out, &inherited, 1));
        SetHandleInformation(in, HANDLE_FLAG_INHERIT, 0);
        reader = boost::make_shared<Handle>(in);
        writer = boost::make_shared<Handle>(out);
    }

    /// All that comes until the last writer has gone.
    std::string ReadAll()
    {
        writer.reset();
        std::string text;
        char part[512];
        for (DWORD size = 0; ReadFile(reader->Get(), part, sizeof part, &size, nullptr) != FALSE;) {
            text.append(part, size);
        }
        return text;
    }

    boost::shared_ptr<Handle> reader;
    boost::shared_ptr<Handle> writer;
};

}  // namespace

TEST(TraceViewer, ShowsTheLinesOfAllProcessesThatItIsAskedFor)
{
    const std::string own = std::to_string(GetCurrentProcessId());
    const Pairs<std::string, std::string> expected = {
        {"",
         "debug    one\ndebug    one\nprotocol [C] two\nerror    three\\x0D\\x0A "
         "lines\\x1B\\x9D\n"},
        {"--level protocol", "protocol [C] two\nerror    three\\x0D\\x0A lines\\x1B\\x9D\n"},
        {"--level other --grep o", "debug    one\ndebug    one\nprotocol [C] two\nother    four\n"},
        {"--pid 4711 --pid " + own + " --grep ^three.*s.x1B",
         "error    three\\x0D\\x0A lines\\x1B\\x9D\n"},
        {"--pid 4711", ""},
        {"--explain", "debug    one\nprotocol [C] two\nerror    three\\x0D\\x0A lines\\x1B\\x9D\n"},
    };
    for (const auto& [arguments, lines] : expected) {
        const Viewer viewer(arguments);
        LogDebug("one");
        LogDebug("one");
        LogProtocol("[C] two");
        LogError("three\r\n\tlines\x1B\x9D\n");
        OutputDebugStringA("four");
        EXPECT_EQ(viewer.End(), lines) << arguments;
    }
}

TEST(TraceViewer, LosesNoLineWhenItIsAskedToEndAndEndsWhenNobodyReads)
{
    NarrowPipe pipe;
    const Viewer viewer("", pipe.writer->Get());
    LogDebug("one");  // it waits for its reader
    LogDebug("two");
    viewer.AskToEnd();
    EXPECT_EQ(WithoutTimesAndProcesses(pipe.ReadAll()), "debug    one\r\ndebug    two\r\n");
    EXPECT_EQ(viewer.ExitCode(), 0U);

    NarrowPipe broken;
    const Viewer unread("", broken.writer->Get());
    broken.reader.reset();
    LogDebug("one");
    EXPECT_EQ(unread.ExitCode(), 1U);
}

TEST(TraceViewer, SaysWhatIsWrong)
{
    const Viewer holder("");
    const Pairs<std::string, std::pair<int, const char*>> expected = {
        {"", {1, "another viewer"}},
        {"cmd /c echo started", {1, "another viewer"}},
        {"--out Z:\\nosuch\\file cmd", {1, "'Z:\\nosuch\\file' cannot be written"}},
        {"--levl error", {2, "--levl"}},
        {"--level high", {2, "high not in {error,protocol,debug,other}"}},
        {"--grep (", {2, "'(' is no regular expression"}},
    };
    for (const auto& [arguments, result] : expected) {
        const auto [exitCode, printed] = Trace(arguments);
        EXPECT_EQ(exitCode, result.first) << arguments;
        EXPECT_THAT(printed, AllOf(HasSubstr(result.second), Not(HasSubstr("started"))));
    }
    EXPECT_EQ(holder.End(), "");
    EXPECT_THAT(Trace("nosuch.exe a"), Pair(1, HasSubstr("'nosuch.exe a  ' cannot be started")));
    // What has the name of a part of the buffer may be anything.
    for (const wchar_t* part : {L"DBWIN_BUFFER_READY", L"DBWIN_DATA_READY", L"DBWIN_BUFFER"}) {
        const Handle taken(CreateMutexW(nullptr, FALSE, part));
        EXPECT_THAT(Trace(""), Pair(1, HasSubstr("the debug-output buffer cannot be made")));
    }
}

TEST(TraceViewer, StartsACommandAsItWasTypedAndEndsWithItsExitCode)
{
    const Pairs<std::string, std::pair<int, std::string>> expected = {
        {"--level error cmd /c echo \"a&b\"", {0, "\"a&b\"  \n"}},
        {"--grep \"a b\"  --pid 1 cmd /c  echo \"x\\\"  ^& exit 7", {7, "\"x\\\"  \n"}},
        {"cmd /c exit 3", {3, ""}},
    };
    for (const auto& [arguments, result] : expected) {
        EXPECT_EQ(Trace(arguments), result) << arguments;
    }
}

TEST(TraceViewer, ShowsTheLinesOfACommandAndOfWhoeverWritesTheSystemsOwn)
{
    const std::string owner = "\"" + InBuildFolder("tests\\window_owner.exe") + "\"";
    const auto untraced = static_cast<DWORD>(std::system((owner + " break").c_str()));  // NOLINT
    const Handle goOn(CreateEventA(nullptr, TRUE, FALSE, "tvntrace_test"));
    const Viewer viewer("--level other --out \"" + InBuildFolder("lines.txt") + "\" " + owner +
                        " wait=tvntrace_test say=four break");
    OutputDebugStringA("one");
    LogDebug("two");
    OutputDebugStringA("three");
    SetEvent(goOn.Get());
    EXPECT_EQ(viewer.ExitCode(), untraced) << "a breakpoint is the program's own affair";
    EXPECT_NE(untraced, 0U);
    EXPECT_EQ(Steps(InBuildFolder("lines.txt")), "debug    two\nother    three\nother    four\n");
}

TEST(TraceViewer, ExplainsWhatACommandDoesAndWhatToDo)
{
    const std::string steps = InBuildFolder("steps.txt");
    const std::string script = InBuildFolder("traced.vbs");
    std::ofstream(script) << "Set app = CreateObject(\"talvern\")\n"
                             "WScript.Echo app.tvnInit(), app.tvnPlay(\"m\" & Space(1100)), "
                             "app.tvnPlay(\"!status -100\"), app.tvnExit()\n";
    EXPECT_THAT(Trace("--explain --out \"" + steps + "\" cscript.exe //nologo \"" + script + "\""),
                Pair(0, "1 1 -100 1\n"))
        << "the command's own output";
    const std::string text = Steps(steps);
    for (const char* step :
         {"debug    talvern.dll is loaded or unloaded\n",
          "protocol waiting for the browser to call back\n", "protocol tvnPlay: m ", "...\n",
          "protocol the browser answers tvnPlay: 1 (sOk: done)\n",
          "tvnPlay: -100 (sMacroError: the macro failed; tvnGetLastError tells why)\n"}) {
        EXPECT_THAT(text, HasSubstr(step));
    }
    EXPECT_EQ(text.find("Protocol::"), std::string::npos) << text;

    const Viewer viewer("--explain");
    LogError("CreateProcess failed 0x%08x", 2U);
    LogError("The instance ends. %s", "There is no browser to drive.");
    EXPECT_EQ(viewer.End(),
              "error    the program cannot be started: 0x2, File not found -> 2, 3: name the right "
              "path in the registry; 5: look at the rights; 2E4: it wants an administrator\n"
              "error    the own browser ends: There is no browser to drive. -> install Edge, "
              "Chrome or Chromium, or name one to it\n");
}

TEST(TraceViewer, MatchesTheLongestLinesWithinTimeAndStack)
{
    for (const char* pattern : {"^(.|.)*$", "(x+x+)+y|.*z$"}) {
        const Viewer viewer("--level other --grep \"" + std::string(pattern) + "\"");
        OutputDebugStringA(std::string(60000, '\x9D').c_str());
        OutputDebugStringA(std::string(60000, 'x').c_str());
        LogDebug("z");
        EXPECT_THAT(viewer.End(), EndsWith("debug    z\n"));
    }
}

TEST(TraceViewer, NeverShowsAPassword)
{
    for (const char* arguments : {"", "--explain"}) {
        const Viewer viewer(arguments);
        LogProtocol(
            "[C] %X = createProcess(user:U, domain:D, password:s, appPath:cret, "
            "appPath:C:\\b.exe, cmdLine: x)",
            0xFFFFFFFA);
        const std::string lines = viewer.End();
        EXPECT_EQ(lines.find("cret"), std::string::npos) << lines;
        EXPECT_THAT(lines, HasSubstr("****"));
        EXPECT_THAT(lines, HasSubstr(*arguments != 0 ? "-6 (sRunnerNotReachable" : "FFFFFFFA"));
    }
}

}  // namespace tvn::tests
