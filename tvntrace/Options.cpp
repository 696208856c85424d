#include "tvntrace/Options.h"

#include <shellapi.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <boost/shared_ptr.hpp>

#include "Version.h"

namespace tvn::trace
{
namespace
{

constexpr int kUsageError = 2;

constexpr const char* kDescription =
    "Prints the diagnostic lines of Talvern's scripting interface as they come: those of all\n"
    "processes, until Ctrl+C, or those of a command that it starts, with whose exit code it ends.";

constexpr const char* kFooter =
    "\nExamples:\n"
    "  tvntrace                                       all lines of all processes\n"
    "  tvntrace --explain cscript //nologo first.vbs  what a script does, in words\n"
    "  tvntrace --level error --out errors.txt        the failures, into a file";

/// The arguments in UTF-8, whatever the code page is; the program's name is left out. Last first,
/// as the library takes them.
std::vector<std::string> ReversedArguments()
{
    int count = 0;
    const boost::shared_ptr<LPWSTR> wide(CommandLineToArgvW(GetCommandLineW(), &count), &LocalFree);
    std::vector<std::string> arguments;
    for (int index = count - 1; index > 0; --index) {
        arguments.push_back(ToUtf8(wide.get()[index]));
    }
    return arguments;
}

Level LevelNamed(const std::string& name)
{
    for (const Level level : {Level::Other, Level::Debug, Level::Protocol, Level::Error}) {
        if (name == NameOf(level)) {
            return level;
        }
    }
    throw CLI::ValidationError("--level",
                               "'" + name + "' is none of error, protocol, debug and other");
}

void CompileGrep(const std::string& pattern, Options& options)
{
    try {
        options.grep = std::regex(pattern);
    } catch (const std::regex_error&) {
        throw CLI::ValidationError("--grep", "'" + pattern +
                                                 "' is no regular expression; a backslash before "
                                                 "a character takes it literally");
    }
}

}  // namespace

bool Options::Shows(const TraceLine& line) const
{
    return line.level >= level &&
           (pids.empty() || std::find(pids.begin(), pids.end(), line.pid) != pids.end()) &&
           (!grep || std::regex_search(line.text, *grep));
}

std::optional<int> ReadOptions(Options& options)
{
    CLI::App app(kDescription, "tvntrace");
    app.footer(kFooter);
    app.allow_windows_style_options(false);
    app.prefix_command();
    app.set_version_flag("--version", TVN_VERSION);

    std::string level = NameOf(options.level);
    std::string grep;
    app.add_option("--level", level,
                   "the least level to show: error, protocol, debug (as without this option), or "
                   "other, for the lines of other programs too")
        ->type_name("LEVEL");
    app.add_option("--pid", options.pids, "show the lines of this process only; may be repeated")
        ->allow_extra_args(false)
        ->type_name("PID");
    app.add_option("--grep", grep, "show the lines only that this regular expression matches")
        ->type_name("PATTERN");
    app.add_option("--out", options.out, "print into this file, which is made anew")
        ->type_name("FILE");
    app.add_flag("--follow", options.follow, "trace the programs too that the command starts");
    app.add_flag("--explain", options.explain, "say in words what happens, one line for each step");
    try {
        app.parse(ReversedArguments());
        options.level = LevelNamed(level);
        if (!grep.empty()) {
            CompileGrep(grep, options);
        }
        options.command = app.remaining();
        if (!options.command.empty() && options.command.front().starts_with('-')) {
            throw CLI::ExtrasError({options.command.front()});
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsageError;
    }
    return {};
}

}  // namespace tvn::trace
