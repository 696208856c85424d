#include "process/FirefoxVersions.h"

#include <mbstring.h>
#include <windows.h>

#include <boost/make_shared.hpp>
#include <cstring>

#include "basicslib/FormatText.h"
#include "basicslib/Log.h"
#include "process/RegistryReading.h"

namespace tvn
{
namespace
{

const unsigned char* Multibyte(const char* text)
{
    return reinterpret_cast<const unsigned char*>(text);
}

/// Without white space at both ends, by the multibyte rules of the code page.
std::string Trim(const std::string& text)
{
    const unsigned char* begin = Multibyte(text.c_str());
    while (_ismbcspace(_mbsnextc(begin))) {
        begin = _mbsinc(begin);
    }
    const unsigned char* end = begin;
    for (const unsigned char* at = begin; *at != '\0';) {
        const bool space = _ismbcspace(_mbsnextc(at)) != 0;
        at = _mbsinc(at);
        end = space ? end : at;
    }
    return {begin, end};
}

/// Puts the path that a Firefox key names into `path`. False, with nothing changed, when it names
/// none.
bool ReadPathToExe(const char* keyPath, std::string& path)
{
    constexpr DWORD kValueSize = 512;

    const RegistryKey key = OpenRegistryKey(HKEY_LOCAL_MACHINE, keyPath);
    BYTE value[kValueSize];
    DWORD size = sizeof value;
    DWORD type = REG_NONE;
    if (!key ||
        RegQueryValueExA(key.get(), "PathToExe", nullptr, &type, value, &size) != ERROR_SUCCESS ||
        type != REG_SZ) {
        return false;
    }
    const char* text = reinterpret_cast<const char*>(value);
    path.assign(text, strnlen(text, size));
    return true;
}

}  // namespace

std::vector<boost::shared_ptr<FirefoxVersion>> EnumFirefoxVersions()
{
    constexpr DWORD kNameSize = 50;

    std::vector<boost::shared_ptr<FirefoxVersion>> versions;
    LogDebug("mzFIREFOX 2");
    const RegistryKey firefox =
        OpenRegistryKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Mozilla\\Mozilla Firefox");
    LogDebug("mzFIREFOX 3");
    if (!firefox) {
        LogDebug("mzFX key access failed");
        return versions;
    }
    char name[kNameSize];
    for (DWORD index = 0; RegEnumKeyA(firefox.get(), index, name, kNameSize) == ERROR_SUCCESS;
         ++index) {
        const auto version = boost::make_shared<FirefoxVersion>();
        if (!ParseFirefoxKeyName(name, version->version, version->locale)) {
            continue;
        }
        char keyPath[128];
        FormatText(keyPath, sizeof keyPath, "SOFTWARE\\Mozilla\\Mozilla Firefox\\%s\\Main", name);
        LogDebug("mzFIREFOXstrSubKey %s", keyPath);
        LogDebug("mzFIREFOX 4");
        if (ReadPathToExe(keyPath, version->pathToExe)) {
            versions.push_back(version);
            LogDebug("mzFIREFOX 5");
        }
    }
    return versions;
}

bool ParseFirefoxKeyName(const std::string& name, std::string& version, std::string& locale)
{
    version.clear();
    locale.clear();
    const unsigned char* text = Multibyte(name.c_str());
    const unsigned char* open = _mbschr(text, '(');
    const unsigned char* close = open == nullptr ? nullptr : _mbschr(open + 1, ')');
    if (close == nullptr) {
        return false;
    }
    version = Trim(std::string(text, open));
    locale = Trim(std::string(open + 1, close));
    return true;
}

int CompareMultibyte(const std::string& left, const std::string& right)
{
    return _mbscmp(Multibyte(left.c_str()), Multibyte(right.c_str()));
}

}  // namespace tvn
