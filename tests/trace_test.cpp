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

using testing::HasSubstr;
template <class First, class Second>
using Pairs = std::vector<std::pair<First, Second>>;

std::string InBuildFolder(const char* name)
{
    return BuildFolder() + "\\" + name;
}

std::string Content(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The lines of a trace without their times and processes.
std::string Steps(const std::string& path)
{
    return std::regex_replace(Content(path), std::regex("\\d\\d:\\d\\d:\\d\\d\\.\\d{3} +\\d+ "),
                              "");
}

/// The exit code of the viewer, started with `arguments` through a shell, and what it prints.
std::pair<int, std::string> Trace(const std::string& arguments)
{
    const std::string printed = InBuildFolder("printed.txt");
    const std::string command = "\"\"" + InBuildFolder("tvntrace\\tvntrace.exe") + "\" " +
                                arguments + " > \"" + printed + "\" 2>&1\"";
    // NOLINTNEXTLINE(cert-env33-c): the command line is this program's own
    const int exitCode = std::system(command.c_str());
    return {exitCode, Content(printed)};
}

/// A viewer that reads the shared buffer, and is asked to end as by Ctrl+C.
class Viewer
{
  public:
    explicit Viewer(const std::string& arguments)
    {
        std::string line = "\"" + InBuildFolder("tvntrace\\tvntrace.exe") + "\" --out \"" +
                           InBuildFolder("lines.txt") + "\" " + arguments;
        STARTUPINFOA startupInfo = {};
        startupInfo.cb = sizeof startupInfo;
        PROCESS_INFORMATION info = {};
        EXPECT_TRUE(CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                   nullptr, &startupInfo, &info));
        m_process = ShareHandle(info.hProcess);
        CloseHandle(info.hThread);
        EXPECT_TRUE(Eventually([] {
            const Handle buffer(OpenFileMappingW(FILE_MAP_READ, FALSE, L"DBWIN_BUFFER"));
            return buffer.IsValid();
        }));
    }

    /// What it has printed in the end.
    std::string End() const
    {
        // Without a console nobody sends the request; this is how a console does.
        const auto routine = reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(
            GetProcAddress(GetModuleHandleW(L"kernelbase"), "CtrlRoutine")));
        const Handle request(
            CreateRemoteThread(m_process->Get(), nullptr, 0, routine, CTRL_C_EVENT, 0, nullptr));
        EXPECT_EQ(WaitForSingleObject(m_process->Get(), 5000), WAIT_OBJECT_0);
        DWORD exitCode = 4711;
        EXPECT_TRUE(GetExitCodeProcess(m_process->Get(), &exitCode));
        EXPECT_EQ(exitCode, 0U);
        return Steps(InBuildFolder("lines.txt"));
    }

  private:
    boost::shared_ptr<Handle> m_process;
};

}  // namespace

TEST(TraceViewer, ShowsTheLinesOfAllProcessesThatItIsAskedFor)
{
    const std::string own = std::to_string(GetCurrentProcessId());
    const Pairs<std::string, std::string> expected = {
        {"", "debug    one\ndebug    one\nprotocol [C] two\nerror    three\\r\\n lines\\x1B\n"},
        {"--level protocol", "protocol [C] two\nerror    three\\r\\n lines\\x1B\n"},
        {"--level other --grep o", "debug    one\ndebug    one\nprotocol [C] two\nother    four\n"},
        {"--pid 4711 --pid " + own + " --grep ^three.*s.x1B$", "error    three\\r\\n lines\\x1B\n"},
        {"--pid 4711", ""},
        {"--explain",
         "debug    one\ndebug    (the same, 1 time more)\nprotocol [C] two\n"
         "error    three\\r\\n lines\\x1B\n"},
    };
    for (const auto& [arguments, lines] : expected) {
        const Viewer viewer(arguments);
        LogDebug("one");
        LogDebug("one");
        LogProtocol("[C] two");
        LogError("three\r\n\tlines\x1B\n");
        OutputDebugStringA("four");
        EXPECT_EQ(viewer.End(), lines) << arguments;
    }
}

TEST(TraceViewer, SaysWhatIsWrong)
{
    const Viewer holder("");
    const Pairs<std::string, std::pair<int, const char*>> expected = {
        {"", {1, "another viewer"}},
        {"nosuch.exe", {1, "'nosuch.exe' cannot be started"}},
        {"--out Z:\\nosuch\\file cmd", {1, "'Z:\\nosuch\\file' cannot be written"}},
        {"--levl error", {2, "--levl"}},
        {"--level high", {2, "'high' is none of"}},
        {"--grep (", {2, "'(' is no regular expression"}},
    };
    for (const auto& [arguments, result] : expected) {
        const auto [exitCode, printed] = Trace(arguments);
        EXPECT_EQ(exitCode, result.first) << arguments;
        EXPECT_THAT(printed, HasSubstr(result.second));
    }
    EXPECT_EQ(holder.End(), "");
}

TEST(TraceViewer, ExplainsWhatACommandDoesAndEndsWithItsExitCode)
{
    const std::string steps = InBuildFolder("steps.txt");
    const std::string script = InBuildFolder("traced.vbs");
    std::ofstream(script) << "Set app = CreateObject(\"talvern\")\n"
                             "WScript.Echo app.tvnInit(), app.tvnPlay(\"m\"), app.tvnExit(), "
                             "WScript.Arguments(0)\n";
    const auto [exitCode, printed] =
        Trace("--follow --explain --out \"" + steps + "\" cmd /c cscript.exe //nologo \"" + script +
              "\" \"a b\\\\\" ^& exit 7");
    EXPECT_EQ(exitCode, 7);
    EXPECT_EQ(printed, "1 1 1 a b\\\n") << "the command's own output";
    const std::string text = Steps(steps);
    for (const char* step :
         {"debug    talvern.dll is loaded or unloaded\n",
          "protocol waiting for the browser to call back\n",
          "protocol tvnPlay: m\nprotocol the browser answers tvnPlay: 1 (sOk, done)\n"}) {
        EXPECT_THAT(text, HasSubstr(step));
    }
    EXPECT_EQ(text.find("Protocol::"), std::string::npos) << text;
}

TEST(TraceViewer, NeverShowsAPassword)
{
    for (const char* arguments : {"", "--explain"}) {
        const Viewer viewer(arguments);
        LogProtocol(
            "[C] %X = createProcess(user:U, domain:D, password:s, appPath:cret, "
            "appPath:C:\\b.exe, cmdLine: x)",
            0xFFFFFFFA);
        LogError("CreateProcessWithLogonW failed 0x%08x", 5U);
        const std::string lines = viewer.End();
        EXPECT_EQ(lines.find("cret"), std::string::npos) << lines;
        EXPECT_THAT(lines, HasSubstr("****"));
        EXPECT_THAT(lines, HasSubstr(*arguments != 0 ? "-6 (sRunnerNotReachable" : "FFFFFFFA"));
    }
}

}  // namespace tvn::tests
