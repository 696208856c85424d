// Prints the diagnostic lines of all processes, or while a command runs that it starts.

#include <windows.h>

#include <shellapi.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <boost/locale/encoding_utf.hpp>
#include <boost/system/system_error.hpp>
#include <cstdio>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <vector>

#include "Version.h"
#include "tvntrace/DebugBuffer.h"
#include "tvntrace/Explainer.h"
#include "tvntrace/LinePrinter.h"

using boost::locale::conv::utf_to_utf;

namespace tvn::trace
{
namespace
{

constexpr const char* kDescription =
    "Prints the diagnostic lines of Talvern's scripting interface as they come: until Ctrl+C or,\n"
    "with a command, until that has ended, with whose exit code it ends.";

constexpr const char* kFooter =
    "\nExamples:\n"
    "  tvntrace                                       all lines of all processes\n"
    "  tvntrace --explain cscript //nologo first.vbs  what a script does, in words\n"
    "  tvntrace --level error --out errors.txt        the failures, into a file";

/// Set when the person asks for the end. Open until the process ends, because the system calls the
/// handler on a thread of its own.
HANDLE g_stop = nullptr;

BOOL WINAPI StopOnRequest(DWORD /*event*/)
{
    SetEvent(g_stop);
    return TRUE;
}

/// What the person who starts the viewer asks for.
struct Options
{
    Level level = Level::kDebug;  ///< the least one that is shown
    std::vector<DWORD> pids;      ///< the only processes that are shown; all when empty
    std::optional<std::regex> grep;
    std::string out;  ///< a file to print to, in place of the standard output
    bool explain = false;
    std::wstring command;  ///< what to start, as it was typed; empty: nothing

    bool Shows(const TraceLine& line) const
    {
        return line.level >= level &&
               (pids.empty() || std::find(pids.begin(), pids.end(), line.pid) != pids.end()) &&
               (!grep || std::regex_match(line.text, *grep));
    }
};

/// The arguments of a command line in UTF-8, without the program's name.
std::vector<std::string> ArgumentsOf(const std::wstring& line)
{
    int count = 0;
    const boost::shared_ptr<LPWSTR> wide(CommandLineToArgvW(line.c_str(), &count), &LocalFree);
    std::vector<std::string> arguments;
    for (int index = 1; index < count; ++index) {
        arguments.push_back(utf_to_utf<char>(wide.get()[index]));
    }
    return arguments;
}

/// The end of the command line from which `arguments` were read, with its quotation marks.
std::wstring RawEnd(const std::wstring& line, const std::vector<std::string>& arguments)
{
    for (std::size_t at = arguments.empty() ? 0 : line.size(); at-- > 1;) {
        std::wstring end = line.substr(at);
        if ((line[at - 1] == L' ' || line[at - 1] == L'\t') &&
            ArgumentsOf(L"x " + end) == arguments) {
            return end;
        }
    }
    return {};
}

void AddOptions(CLI::App& app, Options& options)
{
    const auto setLevel = [&](const std::string& name) {
        const auto* const found =
            std::find_if(kLevels.begin(), kLevels.end(),
                         [&](const LevelForm& form) { return form.name == name; });
        options.level = static_cast<Level>(found - kLevels.begin());
    };
    const auto compile = [&](const std::string& pattern) -> std::string {
        // Without recursion or going back, a line of any length is matched in one pass.
        constexpr auto kFlags = std::regex::ECMAScript | std::regex_constants::__polynomial;
        try {
            const std::regex alone(pattern, kFlags);
            options.grep.emplace("[^]*?(?:" + pattern + ")[^]*", kFlags);
            return {};
        } catch (const std::regex_error&) {
            return "'" + pattern + "' is no regular expression";
        }
    };
    std::vector<std::string> names;
    for (const LevelForm& form : kLevels) {
        names.insert(names.begin(), form.name);
    }
    app.add_option_function<std::string>("--level", setLevel,
                                         "the least level to show, else debug;"
                                         "\nother is for the lines of other programs")
        ->check(CLI::IsMember(names));
    app.add_option("--pid", options.pids, "show this process only; may be repeated")
        ->allow_extra_args(false);
    app.add_option("--grep", "show the lines only that this expression matches")
        ->check(CLI::Validator(compile, "PATTERN"));
    app.add_option("--out", options.out, "print into this file, which is made anew");
    app.add_flag("--explain", options.explain, "say in words what happens and what to do");
}

/// Starts what was typed, on this program's console and with its standard handles.
PROCESS_INFORMATION Start(std::wstring command)
{
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &started)) {
        throw boost::system::system_error(
            static_cast<int>(GetLastError()), boost::system::system_category(),
            "'" + utf_to_utf<char>(command) + "' cannot be started; is it on the PATH?");
    }
    CloseHandle(started.hThread);
    return started;
}

/// Prints until `end` is signalled. Given the process of a command, leaves out the lines of other
/// programs that write none of the system's.
void Print(const Options& options, const LinePrinter& printer, DebugBuffer& buffer, HANDLE end,
           std::set<DWORD> origins)
{
    const bool all = origins.empty();
    std::map<DWORD, std::string> last;  // of each process
    while (auto line = buffer.Read(end)) {
        if (line->level != Level::kOther) {
            origins.insert(line->pid);
        }
        if (!options.Shows(*line) || (!all && !origins.contains(line->pid))) {
            continue;
        }
        if (options.explain) {
            line->text = Explain(*line);
            if (line->text.empty() || line->text == last[line->pid]) {
                continue;
            }
            last[line->pid] = line->text;
        }
        printer.Print(*line);
    }
}

int Run(const Options& options)
{
    // A command shares the console and is asked to end, too; this program stays until it has ended.
    g_stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(&StopOnRequest, TRUE);
    const LinePrinter printer(utf_to_utf<wchar_t>(options.out));
    DebugBuffer buffer;
    if (options.command.empty()) {
        Print(options, printer, buffer, g_stop, {});
        return 0;
    }
    const PROCESS_INFORMATION started = Start(options.command);
    const Handle process(started.hProcess);
    Print(options, printer, buffer, process.Get(), {started.dwProcessId});
    DWORD exitCode = 1;
    GetExitCodeProcess(process.Get(), &exitCode);
    return static_cast<int>(exitCode);
}

int Main()
{
    Options options;
    CLI::App app(kDescription, "tvntrace");
    app.footer(kFooter);
    app.allow_windows_style_options(false);
    app.prefix_command();
    app.set_version_flag("--version", TVN_VERSION);
    AddOptions(app, options);
    std::vector<std::string> arguments = ArgumentsOf(GetCommandLineW());
    std::reverse(arguments.begin(), arguments.end());  // as the library takes them
    try {
        app.parse(std::move(arguments));
        const std::vector<std::string> command = app.remaining();
        if (!command.empty() && command.front().starts_with('-')) {
            throw CLI::ExtrasError({command.front()});
        }
        options.command = RawEnd(GetCommandLineW(), command);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return Run(options);
}

}  // namespace
}  // namespace tvn::trace

int main()
{
    try {
        return tvn::trace::Main();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tvntrace: %s\n", error.what());
        return 1;
    }
}
