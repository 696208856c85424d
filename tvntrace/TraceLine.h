#pragma once

#include <windows.h>

#include <array>
#include <string>
#include <string_view>

namespace tvn::trace
{

/// What a line is about, from what matters least. Lines of other programs have no tag.
enum class Level { kOther, kDebug, kProtocol, kError };

/// How the lines of a level begin, what people call it, and a console's order for its colour.
struct LevelForm
{
    std::string_view tag;
    const char* name;
    const char* colour;
};

inline constexpr std::array kLevels = {
    LevelForm{"", "other", ""},
    LevelForm{"[tvn::debug] ", "debug", "\x1b[90m"},
    LevelForm{"[tvn::HI_LEVEL_PROTOCOL] ", "protocol", "\x1b[96m"},
    LevelForm{"[................tvn::error] ", "error", "\x1b[91m"},
};

/// One line of the debug output.
struct TraceLine
{
    SYSTEMTIME time;  ///< local, when it was read
    DWORD pid;        ///< of the process that wrote it
    Level level;
    bool cut;          ///< it is as long as a line can be, so its end may be missing
    std::string text;  ///< UTF-8 without tag, password and control characters
};

/// The line that the process `pid` has just written as `raw`, in the ANSI code page.
TraceLine ReadTraceLine(DWORD pid, std::string_view raw);

}  // namespace tvn::trace
