#include "comserver/RegistryScript.h"

#include "comserver/RegistryKey.h"

namespace comserver
{
namespace
{

HRESULT Result(LSTATUS status) noexcept
{
    return HRESULT_FROM_WIN32(static_cast<unsigned long>(status));
}

/// Deletes a key with all that is below it; one that is not there is no failure.
LSTATUS DeleteKey(HKEY parent, const std::wstring& name)
{
    const LSTATUS status = RegDeleteTreeW(parent, name.c_str());
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

}  // namespace

/// Reads a script from the front. Every operation returns false, or takes nothing, for a script
/// that is not well-formed.
class RegistryScript::Parser
{
  public:
    Parser(std::string_view script, std::wstring_view modulePath)
        : m_rest(script), m_modulePath(modulePath)
    {
        Advance();
    }

    bool ParseScript(std::vector<Key>& keys)
    {
        Key root;
        if (!Accept(L"HKCR") || !ParseBody(root) || !m_token.empty() || !root.values.empty()) {
            return false;
        }
        keys = std::move(root.subkeys);
        return true;
    }

  private:
    bool ParseBody(Key& key)
    {
        if (!Accept(L"{")) {
            return false;
        }
        while (!Accept(L"}")) {
            if (Accept(L"val")) {
                Value value;
                if (!TakeName(value.name) || !ParseText(value.text)) {
                    return false;
                }
                key.values.push_back(std::move(value));
            } else {
                Key subkey;
                if (!ParseKey(subkey)) {
                    return false;
                }
                key.subkeys.push_back(std::move(subkey));
            }
        }
        return true;
    }

    bool ParseKey(Key& key)
    {
        if (Accept(L"NoRemove")) {
            key.keep = Keep::NoRemove;
        } else if (Accept(L"ForceRemove")) {
            key.keep = Keep::ForceRemove;
        }
        if (!TakeName(key.name)) {
            return false;
        }
        if (Is(L"=")) {
            Value value;
            if (!ParseText(value.text)) {
                return false;
            }
            key.values.push_back(std::move(value));
        }
        // The name of a class key is its identifier in braces: a brace opens a body only when it
        // stands alone.
        return !Is(L"{") || ParseBody(key);
    }

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

    static bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

    /// Puts the next token into `m_token`; an empty one that is not quoted is the end.
    void Advance()
    {
        m_token.clear();
        m_quoted = false;
        while (!m_rest.empty() && IsBlank(m_rest.front())) {
            m_rest.remove_prefix(1);
        }
        if (m_rest.empty()) {
            return;
        }
        if (m_rest.front() != '\'') {
            while (!m_rest.empty() && !IsBlank(m_rest.front())) {
                TakeCharacter();
            }
            return;
        }
        m_quoted = true;
        m_rest.remove_prefix(1);
        while (!m_rest.empty()) {
            if (m_rest.front() == '\'') {
                m_rest.remove_prefix(1);
                if (m_rest.empty() || m_rest.front() != '\'') {
                    return;
                }
            }
            TakeCharacter();
        }
        m_quoted = false;  // no quote at the end: read as the end of the script
        m_token.clear();
    }

    void TakeCharacter()
    {
        m_token += static_cast<wchar_t>(static_cast<unsigned char>(m_rest.front()));
        m_rest.remove_prefix(1);
    }

    std::string_view m_rest;
    std::wstring_view m_modulePath;
    std::wstring m_token;
    bool m_quoted = false;
};

RegistryScript::RegistryScript(HKEY root, std::string_view script, std::wstring_view modulePath)
    : m_root(root), m_valid(Parser(script, modulePath).ParseScript(m_keys))
{}

HRESULT RegistryScript::Register() const
{
    if (!m_valid) {
        return E_INVALIDARG;
    }
    for (const Key& key : m_keys) {
        const HRESULT result = RegisterKey(m_root, key);
        if (FAILED(result)) {
            return result;
        }
    }
    return S_OK;
}

HRESULT RegistryScript::Unregister() const
{
    if (!m_valid) {
        return E_INVALIDARG;
    }
    HRESULT first = S_OK;
    for (const Key& key : m_keys) {
        const HRESULT result = UnregisterKey(m_root, key);
        first = FAILED(first) ? first : result;
    }
    return first;
}

HRESULT RegistryScript::RegisterKey(HKEY parent, const Key& key)
{
    if (key.keep == Keep::ForceRemove) {
        const LSTATUS deleted = DeleteKey(parent, key.name);
        if (deleted != ERROR_SUCCESS) {
            return Result(deleted);
        }
    }
    RegistryKey opened;
    const LSTATUS created =
        RegCreateKeyExW(parent, key.name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_READ | KEY_WRITE | DELETE, nullptr, opened.Receive(), nullptr);
    if (created != ERROR_SUCCESS) {
        return Result(created);
    }
    for (const Value& value : key.values) {
        const std::size_t bytes = (value.text.size() + 1) * sizeof(wchar_t);
        const LSTATUS set = RegSetValueExW(opened.Get(), value.name.c_str(), 0, REG_SZ,
                                           reinterpret_cast<const BYTE*>(value.text.c_str()),
                                           static_cast<DWORD>(bytes));
        if (set != ERROR_SUCCESS) {
            return Result(set);
        }
    }
    for (const Key& subkey : key.subkeys) {
        const HRESULT result = RegisterKey(opened.Get(), subkey);
        if (FAILED(result)) {
            return result;
        }
    }
    return S_OK;
}

HRESULT RegistryScript::UnregisterKey(HKEY parent, const Key& key)
{
    if (key.keep != Keep::NoRemove) {
        return Result(DeleteKey(parent, key.name));
    }
    RegistryKey opened;
    const LSTATUS status =
        RegOpenKeyExW(parent, key.name.c_str(), 0, KEY_READ | KEY_WRITE | DELETE, opened.Receive());
    if (status == ERROR_FILE_NOT_FOUND) {
        return S_OK;
    }
    if (status != ERROR_SUCCESS) {
        return Result(status);
    }
    HRESULT first = S_OK;
    for (const Key& subkey : key.subkeys) {
        const HRESULT result = UnregisterKey(opened.Get(), subkey);
        first = FAILED(first) ? first : result;
    }
    return first;
}

}  // namespace comserver
