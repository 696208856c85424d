#include "process/BrowserLocation.h"

#include <mbstring.h>
#include <objbase.h>

#include <boost/make_shared.hpp>
#include <cstring>

#include "basicslib/FormatText.h"
#include "basicslib/Log.h"

namespace tvn
{
namespace
{

constexpr const char* kFirefoxKey = "SOFTWARE\\Mozilla\\Mozilla Firefox";

/// An open registry key, read-only and in the 32-bit view; `Get` is null when it could not be
/// opened.
class RegKey
{
  public:
    RegKey(HKEY root, const char* path) noexcept
    {
        if (RegOpenKeyExA(root, path, 0, KEY_READ | KEY_WOW64_32KEY, &m_key) != ERROR_SUCCESS) {
            m_key = nullptr;
        }
    }
    ~RegKey()
    {
        if (m_key != nullptr) {
            RegCloseKey(m_key);
        }
    }
    RegKey(const RegKey&) = delete;
    RegKey& operator=(const RegKey&) = delete;

    HKEY Get() const noexcept { return m_key; }
    explicit operator bool() const noexcept { return m_key != nullptr; }

  private:
    HKEY m_key = nullptr;
};

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

int CompareMultibyte(const std::string& left, const std::string& right)
{
    return _mbscmp(Multibyte(left.c_str()), Multibyte(right.c_str()));
}

/// The path that a Firefox key names, or an empty text.
bool ReadPathToExe(const char* keyPath, std::string& path)
{
    constexpr DWORD kValueSize = 512;

    const RegKey key(HKEY_LOCAL_MACHINE, keyPath);
    BYTE value[kValueSize];
    DWORD size = sizeof value;
    DWORD type = REG_NONE;
    if (!key ||
        RegQueryValueExA(key.Get(), "PathToExe", nullptr, &type, value, &size) != ERROR_SUCCESS ||
        type != REG_SZ) {
        return false;
    }
    const char* text = reinterpret_cast<const char*>(value);
    path.assign(text, strnlen(text, size));
    return true;
}

}  // namespace

ComString GetPathBasic()
{
    return ReadProductSetting("PathBasic");
}

ComString ReadProductSetting(const char* valueName)
{
    const RegKey key(HKEY_LOCAL_MACHINE, "SOFTWARE\\Talvern");
    return ToComString(key ? ReadRegString(key.Get(), valueName) : std::string());
}

ComString GetInternetExplorerPath()
{
    const ComString nothing = ToComString("");
    CLSID clsid = {};
    LPOLESTR clsidText = nullptr;
    if (FAILED(CLSIDFromProgID(L"InternetExplorer.Application", &clsid)) ||
        FAILED(StringFromCLSID(clsid, &clsidText))) {
        return nothing;
    }
    char keyPath[128];
    FormatText(keyPath, sizeof keyPath, "CLSID\\%S\\LocalServer32", clsidText);
    CoTaskMemFree(clsidText);
    const RegKey key(HKEY_CLASSES_ROOT, keyPath);
    if (!key) {
        return nothing;
    }
    return ToComString(StripQuotes(ExpandEnvironment(ReadRegString(key.Get(), ""))));
}

ComString GetFirefoxPath(const std::string& version, const std::string& locale)
{
    boost::shared_ptr<FirefoxVersion> best;
    for (const auto& candidate : EnumFirefoxVersions()) {
        if (!locale.empty() && CompareMultibyte(candidate->locale, locale) != 0) {
            continue;
        }
        if (!version.empty()) {
            if (CompareMultibyte(candidate->version, version) == 0) {
                return ToComString(candidate->pathToExe);
            }
        } else if (!best || CompareMultibyte(candidate->version, best->version) > 0) {
            best = candidate;
        }
    }
    return ToComString(best ? best->pathToExe : std::string());
}

std::vector<boost::shared_ptr<FirefoxVersion>> EnumFirefoxVersions()
{
    constexpr DWORD kNameSize = 50;

    std::vector<boost::shared_ptr<FirefoxVersion>> versions;
    LogDebug("mzFIREFOX 2");
    const RegKey firefox(HKEY_LOCAL_MACHINE, kFirefoxKey);
    LogDebug("mzFIREFOX 3");
    if (!firefox) {
        LogDebug("mzFX key access failed");
        return versions;
    }
    char name[kNameSize];
    for (DWORD index = 0; RegEnumKeyA(firefox.Get(), index, name, kNameSize) == ERROR_SUCCESS;
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
    if (open == nullptr) {
        return false;
    }
    const unsigned char* close = _mbschr(open + 1, ')');
    if (close == nullptr) {
        return false;
    }
    version = Trim(std::string(text, open));
    locale = Trim(std::string(open + 1, close));
    return true;
}

std::string ReadRegString(HKEY key, const char* valueName)
{
    DWORD type = REG_NONE;
    std::string data;
    if (QueryRegValue(key, valueName, type, data) != ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ)) {
        return {};
    }
    data.resize(strnlen(data.data(), data.size()));
    return data;
}

LONG QueryRegValue(HKEY key, const char* valueName, DWORD& type, std::string& data)
{
    // The size is asked for with a buffer of no bytes: without any buffer the call would succeed
    // and leave nothing to tell a value without content from one that is still to be read.
    data.clear();
    type = REG_NONE;
    BYTE none = 0;
    DWORD size = 0;
    LONG result = RegQueryValueExA(key, valueName, nullptr, &type, &none, &size);
    if (result == ERROR_MORE_DATA) {
        data.resize(size);
        result = RegQueryValueExA(key, valueName, nullptr, &type,
                                  reinterpret_cast<BYTE*>(data.data()), &size);
    }
    if (result != ERROR_SUCCESS) {
        type = REG_NONE;
        size = 0;
    }
    data.resize(size);
    return result;
}

std::string ExpandEnvironment(const std::string& text)
{
    const DWORD size = ExpandEnvironmentStringsA(text.c_str(), nullptr, 0);
    if (size == 0) {
        return {};
    }
    std::string expanded(size, '\0');
    ExpandEnvironmentStringsA(text.c_str(), expanded.data(), size);
    expanded.resize(strnlen(expanded.data(), size));
    return expanded;
}

std::string StripQuotes(const std::string& text)
{
    return text.size() >= 2 && text.front() == '"' ? text.substr(1, text.size() - 2) : text;
}

}  // namespace tvn
