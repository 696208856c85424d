#pragma once

#include <windows.h>

#include <string>

namespace browser
{

/// Where a browser that is reached by a loopback port listens. Every program of the machine can
/// connect to it; the path, which is secret, does not keep them out.
struct DebuggingPort
{
    unsigned short port = 0;  ///< 0 as long as there is none
    std::string path;
};

/// What the browser on `profile` has written about itself.
DebuggingPort ReadDebuggingPort(const std::wstring& profile);

/// Takes away what a browser that has gone has written, before another one starts on `profile`.
void ForgetDebuggingPort(const std::wstring& profile);

/// Tells the browser that may still run on `profile` to end, and gives it a moment.
void EndBrowserOn(const std::wstring& profile);

}  // namespace browser
