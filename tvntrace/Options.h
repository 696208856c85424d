#pragma once

#include <windows.h>

#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "tvntrace/TraceLine.h"

namespace tvn::trace
{

/// What the person who starts the viewer asks for.
struct Options
{
    Level level = Level::Debug;  ///< the least one that is shown
    std::vector<DWORD> pids;     ///< the only processes that are shown; all when empty
    std::optional<std::regex> grep;
    std::string out;  ///< a file to print to, in place of the standard output
    bool follow = false;
    bool explain = false;
    std::vector<std::string> command;  ///< what to start and trace; empty: all processes

    /// Whether `line` is one of those asked for.
    bool Shows(const TraceLine& line) const;
};

/// Reads the program's own command line into `options`. Returns nothing when there is something to
/// do; otherwise help, version or a complaint has been printed, and this is the exit code to end
/// with.
std::optional<int> ReadOptions(Options& options);

}  // namespace tvn::trace
