#pragma once

#include <windows.h>

#include <wrl/client.h>
#include <string>
#include <string_view>

#include "Interface.h"

namespace soak
{

/// The scripting object as a compiled client has it. Its calls are known as the product's (see
/// ProductCall.h). A method that does not return S_OK gives `kNotOk`. Used by one thread.
class ScriptingObject
{
  public:
    static constexpr int kNotOk = -99999;

    /// An object of the product's code in this program; throws std::runtime_error when there is
    /// none to be had.
    ScriptingObject();

    /// An object of somebody else's class factory.
    explicit ScriptingObject(IClassFactory& factory);
    ~ScriptingObject();
    ScriptingObject(const ScriptingObject&) = delete;
    ScriptingObject& operator=(const ScriptingObject&) = delete;

    IApp* Get() const { return m_app.Get(); }

    /// Lets go of the object, which may be running a method.
    void Release();

    int Init(const char* commandLine, bool openNew, LONG seconds);
    int Play(std::wstring_view macro, LONG seconds);
    int Display(std::wstring_view text, LONG seconds);
    int Exit(LONG seconds);
    int Set(std::wstring_view name, std::wstring_view value);
    int Version();

    /// Texts; "<none>" when the method gives none.
    std::wstring Error();
    std::wstring Extract(LONG index = 0);

  private:
    template <class Method, class... Arguments>
    int Run(Method method, const Arguments&... arguments);
    template <class Method, class... Arguments>
    std::wstring Text(Method method, const Arguments&... arguments);

    Microsoft::WRL::ComPtr<IApp> m_app;
};

}  // namespace soak
