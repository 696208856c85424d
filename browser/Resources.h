#pragma once

#include <string>

namespace browser
{

/// The numbers of the JavaScript files that are a part of the program.
enum class Script {
    kMacroPage = 1,  ///< the library of the page that macros run in
    kDisplay = 2,    ///< the function that shows a text in the visible page
    kPuppeteer = 3,  ///< the page library that a macro may ask for
};

/// The source of one of them; empty for the page library of a program that was built without it.
std::string ReadScript(Script script);

}  // namespace browser
