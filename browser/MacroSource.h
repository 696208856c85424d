#pragma once

#include <string>

namespace browser
{

/// The source of the macro that the text of a play stands for: the content of the file with this
/// name, with or without ".js", in the folder "Macros" among the user's own data or else in the one
/// beside the program; otherwise the text itself. Throws MacroError for a file that cannot be read
/// or is not in UTF-8, and for a text that can only be the name of a file that is not there.
std::string MacroSource(const std::wstring& text);

}  // namespace browser
