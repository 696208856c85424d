#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace comserver
{

/// Registers and unregisters a server as a registry script says:
///
///     HKCR
///     {
///         Name = s 'default value' { val 'Value name' = s 'text'  Subkey ... }
///         NoRemove Name { ... }       kept when the server is unregistered
///         ForceRemove Name { ... }    deleted and written afresh when it exists
///     }
///
/// Names and texts may stand in single quotes, with '' for a quote inside. %MODULE% in a text is
/// replaced by the module's path. Everything goes under the given root, which stands for the HKCR
/// of the script, is borrowed and outlives this object. The operations return an HRESULT and throw
/// only std::bad_alloc; for a script that cannot be parsed they return E_INVALIDARG before they
/// change anything. Used by one thread.
class RegistryScript
{
  public:
    RegistryScript(HKEY root, std::string_view script, std::wstring_view modulePath);

    /// Writes the keys; stops at the first failure.
    HRESULT Register() const;

    /// Deletes the keys and everything below them; a missing key is no failure.
    HRESULT Unregister() const;

  private:
    enum class Keep { kRemove, kNoRemove, kForceRemove };

    struct Value
    {
        std::wstring name;  ///< empty for the key's default value
        std::wstring text;
    };

    struct Key
    {
        Keep keep = Keep::kRemove;
        std::wstring name;
        std::vector<Value> values;
        std::vector<Key> subkeys;
    };

    class Parser;

    static HRESULT Write(HKEY opened, const Key& key);
    static HRESULT WriteSubkey(HKEY parent, const Key& key);
    static HRESULT RemoveSubkeys(HKEY opened, const Key& key);
    static HRESULT RemoveSubkey(HKEY parent, const Key& key);

    HKEY m_root;
    Key m_script;  // its subkeys are the script's keys
    bool m_valid;
};

}  // namespace comserver
