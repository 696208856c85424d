#pragma once

#include <string>

#include "basicslib/ComString.h"

namespace tvn
{

/// Where the browsers are installed, read from the registry on each call. Nothing here fails: what
/// cannot be found is an empty text, and nobody checks that a path exists. Only running out of
/// memory throws.

/// A string value of the product's own key, unexpanded.
ComString ReadProductSetting(const char* valueName);

/// The installation folder of the product, unexpanded.
ComString GetPathBasic();

/// Path of the Internet Explorer that is registered for automation.
ComString GetInternetExplorerPath();

/// Path of the Firefox with this version and locale, where empty means any. Without a version, the
/// one whose version string compares greatest.
ComString GetFirefoxPath(const std::string& version, const std::string& locale);

}  // namespace tvn
