#include "comserver/RegistryScript.h"

#include <algorithm>

#include "comserver/RegistryKey.h"

namespace comserver
{
namespace
{

/// Deletes a key and everything below it; a missing key is no failure.
LSTATUS DeleteKey(HKEY parent, const std::wstring& name)
{
    const LSTATUS status = RegDeleteTreeW(parent, name.c_str());
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

}  // namespace

/// Parses a script from the front. Every operation returns false, or consumes nothing, when the
/// script is malformed.
class RegistryScript::Parser
{
  public:
    Parser(std::string_view script, std::wstring_view modulePath)
        : m_rest(script), m_modulePath(modulePath)
    {
        Advance();
    }

    /// The script's keys become the subkeys of `root`.
    bool ParseScript(Key& root)
    {
        return Accept(L"HKCR") && ParseBody(root) && m_token.empty() && root.values.empty();
    }

  private:
    bool ParseBody(Key& key)
    {
        if (!Accept(L"{")) {
            return false;
        }
        while (!Accept(L"}")) {
            if (Accept(L"val") ? !ParseValue(key.values.emplace_back())
                               : !ParseKey(key.subkeys.emplace_back())) {
                return false;
            }
        }
        return true;
    }

    bool ParseKey(Key& key)
    {
        if (Accept(L"NoRemove")) {
            key.keep = Keep::kNoRemove;
        } else if (Accept(L"ForceRemove")) {
            key.keep = Keep::kForceRemove;
        }
        if (!TakeName(key.name) || (Is(L"=") && !ParseText(key.values.emplace_back().text))) {
            return false;
        }
        // The name of a class key is its identifier in braces: a brace opens a body only when it
        // stands alone.
        return !Is(L"{") || ParseBody(key);
    }

    bool ParseValue(Value& value) { return TakeName(value.name) && ParseText(value.text); }

    bool ParseText(std::wstring& text)
    {
        if (!Accept(L"=") || !Accept(L"s") || !TakeName(text)) {
            return false;
        }
        constexpr std::wstring_view kModule = L"%MODULE%";
        const std::size_t position = text.find(kModule);
        if (position != std::wstring::npos) {
            text.replace(position, kModule.size(), m_modulePath);
        }
        return true;
    }

    bool Is(std::wstring_view word) const { return !m_quoted && m_token == word; }

    bool Accept(std::wstring_view word)
    {
        if (!Is(word)) {
            return false;
        }
        Advance();
        return true;
    }

    bool TakeName(std::wstring& name)
    {
        if (!m_quoted && (m_token.empty() || Is(L"{") || Is(L"}") || Is(L"="))) {
            return false;
        }
        name = m_token;
        Advance();
        return true;
    }

    /// Puts the next token into `m_token`; an empty one that is not quoted is the end.
    void Advance()
    {
        constexpr std::string_view kBlanks = " \t\r\n";

        m_token.clear();
        m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size()));
        m_quoted = m_rest.starts_with('\'');
        if (!m_quoted) {
            Take(std::min(m_rest.find_first_of(kBlanks), m_rest.size()));
            return;
        }
        m_rest.remove_prefix(1);
        for (std::size_t quote = 0; (quote = m_rest.find('\'')) != std::string_view::npos;) {
            Take(quote);
            m_rest.remove_prefix(1);
            if (!m_rest.starts_with('\'')) {
                return;
            }
            Take(1);  // two quotes stand for one
        }
        m_quoted = false;  // unterminated quote: treat as the end of the script
        m_token.clear();
        m_rest = {};
    }

    void Take(std::size_t count)
    {
        for (const char character : m_rest.substr(0, count)) {
            m_token += static_cast<wchar_t>(static_cast<unsigned char>(character));
        }
        m_rest.remove_prefix(count);
    }

    std::string_view m_rest;
    std::wstring_view m_modulePath;
    std::wstring m_token;
    bool m_quoted = false;
};

RegistryScript::RegistryScript(HKEY root, std::string_view script, std::wstring_view modulePath)
    : m_root(root), m_valid(Parser(script, modulePath).ParseScript(m_script))
{}

HRESULT RegistryScript::Register() const
{
    return m_valid ? Write(m_root, m_script) : E_INVALIDARG;
}

HRESULT RegistryScript::Unregister() const
{
    return m_valid ? RemoveSubkeys(m_root, m_script) : E_INVALIDARG;
}

HRESULT RegistryScript::Write(HKEY opened, const Key& key)
{
    for (const Value& value : key.values) {
        const std::size_t bytes = (value.text.size() + 1) * sizeof(wchar_t);
        const LSTATUS set = RegSetValueExW(opened, value.name.c_str(), 0, REG_SZ,
                                           reinterpret_cast<const BYTE*>(value.text.c_str()),
                                           static_cast<DWORD>(bytes));
        if (set != ERROR_SUCCESS) {
            return ResultOf(set);
        }
    }
    for (const Key& subkey : key.subkeys) {
        const HRESULT result = WriteSubkey(opened, subkey);
        if (FAILED(result)) {
            return result;
        }
    }
    return S_OK;
}

HRESULT RegistryScript::WriteSubkey(HKEY parent, const Key& key)
{
    HKEY opened = nullptr;
    LSTATUS status =
        key.keep == Keep::kForceRemove ? DeleteKey(parent, key.name) : LSTATUS{ERROR_SUCCESS};
    if (status == ERROR_SUCCESS) {
        status = RegCreateKeyExW(parent, key.name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                 KEY_READ | KEY_WRITE | DELETE, nullptr, &opened, nullptr);
    }
    const RegistryKey owner(opened);
    return status == ERROR_SUCCESS ? Write(opened, key) : ResultOf(status);
}

HRESULT RegistryScript::RemoveSubkeys(HKEY opened, const Key& key)
{
    HRESULT first = S_OK;
    for (const Key& subkey : key.subkeys) {
        const HRESULT result = RemoveSubkey(opened, subkey);
        first = FAILED(first) ? first : result;
    }
    return first;
}

HRESULT RegistryScript::RemoveSubkey(HKEY parent, const Key& key)
{
    if (key.keep != Keep::kNoRemove) {
        return ResultOf(DeleteKey(parent, key.name));
    }
    HKEY opened = nullptr;
    const LSTATUS status =
        RegOpenKeyExW(parent, key.name.c_str(), 0, KEY_READ | KEY_WRITE | DELETE, &opened);
    const RegistryKey owner(opened);
    if (status == ERROR_SUCCESS) {
        return RemoveSubkeys(opened, key);
    }
    return status == ERROR_FILE_NOT_FOUND ? S_OK : ResultOf(status);
}

}  // namespace comserver
