#pragma once

#include <cstdint>

#include "basicslib/ComString.h"

namespace tvn
{

enum BrowserKind : std::uint32_t {
    InternetExplorer = 0,
    Firefox = 1,
    OwnBrowser = 2,
};

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

}  // namespace tvn
