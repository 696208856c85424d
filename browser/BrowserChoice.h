#pragma once

#include <string>

#include "browser/Options.h"

namespace browser
{

/// The real browser that is to be driven: its program, and the arguments that the people of this
/// machine want it to have.
struct BrowserChoice
{
    std::wstring program;
    std::wstring arguments;  ///< as they stand on a command line, empty for none
};

/// Chooses by, in this order: the command line; the value "Browser" of the product's registry key;
/// the environment variable TALVERN_BROWSER; the App Paths of Edge, Chrome and Chromium. The
/// arguments come from the command line, "BrowserArguments" or TALVERN_BROWSER_ARGUMENTS. Throws
/// BrowserError, with what was looked for and where, when there is none. The first of the first
/// three that names a browser decides: it is an error, too, if that one is not there.
BrowserChoice ChooseBrowser(const Options& options);

}  // namespace browser
