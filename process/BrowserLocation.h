#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "basicslib/ComString.h"

namespace tvn
{

/// Where the browsers are installed, as the registry tells it at the moment of the call. Every key
/// is read in the 32-bit view and never written. Nothing here fails: what cannot be found is an
/// empty text, and no path is checked for an existing file. Only a lack of memory throws.

/// One installed Firefox.
struct FirefoxVersion
{
    std::string version;
    std::string locale;
    std::string pathToExe;
};

/// The installation folder of the product, unexpanded, or an empty text.
ComString GetPathBasic();

/// A string value of the product's own key, or an empty text.
ComString ReadProductSetting(const char* valueName);

/// Path of the Internet Explorer that is registered for automation, or an empty text.
ComString GetInternetExplorerPath();

/// Path of the Firefox with this version and locale, empty meaning any; among several of any
/// version the one whose version is the greatest text. An empty text when none qualifies.
ComString GetFirefoxPath(const std::string& version, const std::string& locale);

/// The installed Firefox versions that tell their path, in the order of the registry.
std::vector<boost::shared_ptr<FirefoxVersion>> EnumFirefoxVersions();

/// Splits the name of a Firefox key, a version and a locale in parentheses. False, with what was
/// found so far dropped, when the parentheses are missing.
bool ParseFirefoxKeyName(const std::string& name, std::string& version, std::string& locale);

/// A string value of an open key, without expansion; an empty text when there is none.
std::string ReadRegString(HKEY key, const char* valueName);

/// Reads a value of any size. Gives the system's result; on failure the type is 0 and `data` empty.
LONG QueryRegValue(HKEY key, const char* valueName, DWORD& type, std::string& data);

/// `text` with its references to environment variables replaced.
std::string ExpandEnvironment(const std::string& text);

/// `text` without its first and last character when the first is a double quote.
std::string StripQuotes(const std::string& text);

}  // namespace tvn
