#pragma once

#include <string>

#include "browser/DevTools.h"

namespace browser
{

/// Draws the page of `session`, all of it or what is seen, into a file below the folder "Output":
/// the one beside the program or, where the user may not write there, the one among the user's own
/// data. `name` is a path that cannot leave that folder and ends with ".png" or ".jpg"; folders in
/// it are made. Gives the path of the file. Throws BrowserError.
std::wstring SaveScreenshot(DevTools& tools, const std::string& session, const std::wstring& name,
                            bool fullPage);

}  // namespace browser
