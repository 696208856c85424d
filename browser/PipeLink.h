#pragma once

#include <windows.h>

#include <functional>
#include <memory>

#include "browser/Link.h"

namespace browser
{

/// Makes the two pipes between this program and a browser, which nobody else can connect to: what
/// the browser reads, and what it writes. `start` is given the browser's ends and starts it; they
/// are closed here then, so that its end is the end of the link. Each message ends with a zero
/// byte. Throws BrowserError when the system has no pipes to give, and what `start` throws.
std::unique_ptr<Link> OpenPipeLink(const std::function<void(HANDLE input, HANDLE output)>& start,
                                   Link::OnMessage onMessage, Link::OnEnd onEnd);

}  // namespace browser
