#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace tvn::trace
{

/// What a line is about, by its tag, from what matters least. Lines without one of the system's
/// tags come from other programs.
enum class Level { Other, Debug, Protocol, Error };

/// The name of a level as people write it.
const char* NameOf(Level level);

/// One line of the debug output. `text` is UTF-8, has no tag, no password and no control
/// characters.
struct TraceLine
{
    SYSTEMTIME time;  ///< local, when it was seen
    DWORD pid;
    Level level;
    std::string text;
};

/// The line that the process `pid` has just written as `raw`, in the ANSI code page.
TraceLine ReadTraceLine(DWORD pid, std::string_view raw);

/// Texts between the platform's wide form and UTF-8; what is not valid becomes the replacement
/// character.
std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

}  // namespace tvn::trace
