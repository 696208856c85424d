#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "browser/Link.h"

namespace browser
{

/// Connects to ws://127.0.0.1:`port``path` within `timeout` milliseconds. Throws BrowserError when
/// there is nobody, or nobody who answers.
std::unique_ptr<Link> ConnectWebSocket(unsigned short port, const std::string& path, DWORD timeout,
                                       Link::OnMessage onMessage, Link::OnEnd onEnd);

}  // namespace browser
