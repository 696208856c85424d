#pragma once

#include <cstdint>

#include "basicslib/ComString.h"

namespace tvn
{

enum BrowserKind : std::uint32_t { InternetExplorer = 0, Firefox = 1, OwnBrowser = 2 };

/// What `tvnInit` gathers from its arguments. The options survive a failed `tvnInit` and are reset
/// when the object is detached.
struct InitOptions
{
    BrowserKind browserKind = OwnBrowser;
    ComString fxVersion;  ///< empty: any
    ComString fxLocale;   ///< empty: any
    ComString user;       ///< empty: the caller's own account
    ComString domain;
    ComString password;
    bool authorizeAll = false;
    bool useRunner = false;
};

/// How each kind of browser is named and started. Everything here throws when there is no memory;
/// for an unknown kind of browser all the texts are empty.

/// Applies the options of a `tvnInit` command line, which is split by the platform's rules. The
/// letter case of their names does not matter, a later option overrides an earlier one, and
/// anything else is ignored. Throws Win32Exception when the text cannot be split.
void ParseCommandLine(const ComString& text, InitOptions& options);

/// The executable's file name, by which running instances are found.
ComString BrowserExeName(BrowserKind kind);

/// The program to start, from the registry. Nobody checks that it exists: when the browser is not
/// installed, it is empty for Firefox and Internet Explorer, and "\talvern.exe" for the own
/// browser.
ComString BrowserPath(const InitOptions& options);

/// The arguments with which the program is started. `args` is for the own browser only: a space and
/// the caller's own command line, or empty. The identifiers tell the new instance where to call
/// back, and who starts it.
ComString BuildBrowserCmdLine(const InitOptions& options, const ComString& args,
                              const ComString& pipeUuid, const ComString& creatorUuid);

}  // namespace tvn
