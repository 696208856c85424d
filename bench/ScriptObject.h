#pragma once

#include <oaidl.h>
#include <wrl/client.h>

#include <initializer_list>
#include <string>
#include <string_view>

#include "Interface.h"
#include "basicslib/ComString.h"

namespace bench
{

/// The scripting object as its clients get it: from the registered DLL. Belongs to the thread that
/// makes it. Everything throws std::runtime_error unless the method's status is `sOk`.
class ScriptObject
{
  public:
    ScriptObject();

    /// Attaches to an instance that runs and is free.
    void Attach();

    /// Starts an instance, and attaches to it.
    void Start();

    void Play(const tvn::ComString& macro);
    void Display(const tvn::ComString& text);
    void Set(const tvn::ComString& name, const tvn::ComString& value);

    /// Gives the status, whatever it is.
    long TryDisplay(const tvn::ComString& text);

    /// Ends the instance.
    void Exit();

    /// The whole of what the last play extracted, or its error text.
    std::wstring Extract();
    std::wstring Error();

    /// What a script host does for a method of this name: asks for its number, and calls it by
    /// that. Gives the status. `arguments` are in the order in which they are written.
    long InvokeByName(const wchar_t* method, std::initializer_list<const wchar_t*> arguments);

    /// The same without asking: a number that is known.
    long Invoke(DISPID method, DISPPARAMS& parameters);

  private:
    void Init(VARIANT_BOOL openNewBrowser);

    Microsoft::WRL::ComPtr<IApp> m_app;
};

}  // namespace bench
