#pragma once

#include <cstdint>

#include "basicslib/ComString.h"

namespace tvn
{

enum BrowserKind : std::uint32_t { InternetExplorer = 0, Firefox = 1, OwnBrowser = 2 };

/// What `tvnInit` gathers from its arguments. The options last over a failed `tvnInit` and are
/// reset when the object is detached.
struct InitOptions
{
    BrowserKind browserKind = OwnBrowser;
    ComString fxVersion;  ///< null: any
    ComString fxLocale;   ///< null: any
    ComString user;       ///< null: the caller's own account
    ComString domain;
    ComString password;
    bool authorizeAll = false;
    bool useRunner = false;
};

/// How each kind of browser is named and started. Everything here throws when there is no memory.

/// Applies the options of a `tvnInit` command line, which is split by the platform's rules. Letter
/// case does not matter, a later option overrides an earlier one, and what is no option is left to
/// the browser. Throws Win32Exception when the text cannot be split.
void ParseCommandLine(const ComString& text, InitOptions& options);

/// The executable's file name, by which running instances are found.
ComString BrowserExeName(BrowserKind kind);

/// The program to start, from the registry; of a browser that is not installed it is a path that
/// leads nowhere.
ComString BrowserPath(const InitOptions& options);

/// The arguments with which the program is started. `args` is the caller's own command line behind
/// a blank, or empty; the identifiers tell the new instance where to call back, and who starts it.
ComString BuildBrowserCmdLine(const InitOptions& options, const ComString& args,
                              const ComString& pipeUuid, const ComString& creatorUuid);

}  // namespace tvn
