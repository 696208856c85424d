#pragma once

#include <string>

#include "browser/BrowserChoice.h"

namespace browser
{

/// The whole command line of a browser on `profile`, with `connection`, the switches by which it is
/// reached, and the arguments of `choice` behind the program's own. Features that those arguments
/// switch off are added to the ones that are off here.
std::wstring BrowserCommandLine(const BrowserChoice& choice, const std::wstring& profile,
                                const std::wstring& connection);

}  // namespace browser
