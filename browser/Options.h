#pragma once

#include <string>

namespace browser
{

/// The program's own command line. A script's whole text stands on it as well, so what is not known
/// is left alone.
struct Options
{
    std::wstring browser;           ///< --browser PATH: the program to drive
    std::wstring browserArguments;  ///< --browser-arguments TEXT: what it is to be started with
    std::wstring profile;           ///< --profile NAME: the kept profile, empty for a fresh one
    bool trace = false;             ///< --trace: each step of a macro to the debug output
};

/// Reads this process's command line.
Options ReadOptions();

}  // namespace browser
