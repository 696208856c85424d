#pragma once

#include <string>

namespace browser
{

/// The numbers of the JavaScript files that are a part of the program.
enum class Script {
    kMacroPage = 1,  ///< the library of the page that macros run in
    kDisplay = 2,    ///< the function that shows a text in the visible page
};

/// The source of one of them.
std::string ReadScript(Script script);

}  // namespace browser
