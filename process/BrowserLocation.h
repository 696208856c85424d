#pragma once

#include <string>

#include "basicslib/ComString.h"

namespace tvn
{

/// Where the browsers are installed, as the registry tells it at the moment of the call. Nothing
/// here fails: what cannot be found is an empty text, and no path is checked for an existing file.
/// Only a lack of memory throws.

/// A string value of the product's own key, unexpanded.
ComString ReadProductSetting(const char* valueName);

/// The installation folder of the product, unexpanded.
ComString GetPathBasic();

/// Path of the Internet Explorer that is registered for automation.
ComString GetInternetExplorerPath();

/// Path of the Firefox with this version and locale, empty meaning any; among several of any
/// version the one whose version is the greatest text.
ComString GetFirefoxPath(const std::string& version, const std::string& locale);

}  // namespace tvn
