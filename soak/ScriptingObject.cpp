#include "soak/ScriptingObject.h"

#include <comdef.h>

#include <cstring>
#include <stdexcept>

#include "Interface/ServerModule.h"
#include "basicslib/ComString.h"
#include "soak/ProductCall.h"

namespace soak
{
namespace
{

Microsoft::WRL::ComPtr<IApp>& Made(Microsoft::WRL::ComPtr<IApp>& app, IClassFactory& factory)
{
    const ProductCall inside;
    if (factory.CreateInstance(nullptr, IID_IApp, reinterpret_cast<void**>(app.GetAddressOf())) !=
        S_OK) {
        throw std::runtime_error("the class factory makes no object");
    }
    return app;
}

_variant_t LeftOut()
{
    return {DISP_E_PARAMNOTFOUND, VT_ERROR};
}

}  // namespace

ScriptingObject::ScriptingObject()
{
    Microsoft::WRL::ComPtr<IClassFactory> factory;
    {
        const ProductCall inside;
        if (tvn::g_module.GetClassObject(CLSID_App, IID_IClassFactory,
                                         reinterpret_cast<void**>(factory.GetAddressOf())) !=
            S_OK) {
            throw std::runtime_error("there is no class factory");
        }
    }
    Made(m_app, *factory.Get());
}

ScriptingObject::ScriptingObject(IClassFactory& factory)
{
    Made(m_app, factory);
}

ScriptingObject::~ScriptingObject()
{
    Release();
}

void ScriptingObject::Release()
{
    if (m_app.Get() != nullptr) {
        const ProductCall inside;
        m_app.Detach()->Release();
    }
}

template <class Method, class... Arguments>
int ScriptingObject::Run(Method method, const Arguments&... arguments)
{
    Status status = {};
    const ProductCall inside;
    const HRESULT result = (m_app.Get()->*method)(arguments..., &status);
    int value = 0;
    std::memcpy(&value, &status, sizeof value);
    return result == S_OK ? value : kNotOk;
}

template <class Method, class... Arguments>
std::wstring ScriptingObject::Text(Method method, const Arguments&... arguments)
{
    BSTR value = nullptr;
    {
        const ProductCall inside;
        if ((m_app.Get()->*method)(arguments..., &value) != S_OK || value == nullptr) {
            return L"<none>";
        }
    }
    std::wstring text(tvn::ToView(value));
    const ProductCall inside;
    SysFreeString(value);
    return text;
}

int ScriptingObject::Init(const char* commandLine, bool openNew, LONG seconds)
{
    const _variant_t line(commandLine);
    const _variant_t leftOut = LeftOut();
    return Run(&IApp::tvnInit, line, static_cast<VARIANT_BOOL>(openNew ? VARIANT_TRUE : 0), leftOut,
               leftOut, leftOut, seconds);
}

int ScriptingObject::Play(std::wstring_view macro, LONG seconds)
{
    tvn::ComString text = tvn::ToComString(macro);
    return Run(&IApp::tvnPlay, text.GetBSTR(), seconds);
}

int ScriptingObject::Display(std::wstring_view text, LONG seconds)
{
    tvn::ComString shown = tvn::ToComString(text);
    return Run(&IApp::tvnDisplay, shown.GetBSTR(), seconds);
}

int ScriptingObject::Exit(LONG seconds)
{
    return Run(&IApp::tvnExit, seconds);
}

int ScriptingObject::Set(std::wstring_view name, std::wstring_view value)
{
    tvn::ComString nameText = tvn::ToComString(name);
    tvn::ComString valueText = tvn::ToComString(value);
    return Run(&IApp::tvnSet, nameText.GetBSTR(), valueText.GetBSTR());
}

int ScriptingObject::Version()
{
    LONG version = 0;
    const ProductCall inside;
    return m_app.Get()->tvnGetInterfaceVersion(&version) == S_OK ? version : kNotOk;
}

std::wstring ScriptingObject::Error()
{
    return Text(&IApp::tvnGetLastError);
}

std::wstring ScriptingObject::Extract(LONG index)
{
    const _variant_t number(index);
    return Text(&IApp::tvnGetLastExtract, number);
}

}  // namespace soak
