#include "process/RegistryReading.h"

namespace tvn
{

RegistryKey OpenRegistryKey(HKEY root, const char* path) noexcept
{
    HKEY key = nullptr;
    const LSTATUS status = RegOpenKeyExA(root, path, 0, KEY_READ | KEY_WOW64_32KEY, &key);
    return RegistryKey(status == ERROR_SUCCESS ? key : nullptr);
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
    // Ask for the size with a buffer of zero bytes: with a null buffer the call would succeed, and
    // an empty value could not be told from one that still has to be read.
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
