#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

namespace tvn
{

/// One installed Firefox.
struct FirefoxVersion
{
    std::string version;
    std::string locale;
    std::string pathToExe;
};

/// The installed Firefox versions that have a path in the registry, in registry order. Throws only
/// when there is no memory.
std::vector<boost::shared_ptr<FirefoxVersion>> EnumFirefoxVersions();

/// Splits the name of a Firefox key, a version and a locale in parentheses. False, with both empty,
/// when the parentheses are missing.
bool ParseFirefoxKeyName(const std::string& name, std::string& version, std::string& locale);

/// Compares two versions or locales as texts, by the multibyte rules of the code page: below, equal
/// to or above 0.
int CompareMultibyte(const std::string& left, const std::string& right);

}  // namespace tvn
