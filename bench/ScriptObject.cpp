#include "bench/ScriptObject.h"

#include <comutil.h>

#include <vector>

#include "bench/Measure.h"

namespace bench
{
namespace
{

constexpr LONG kTimeout = 60;

VARIANT Missing()
{
    VARIANT missing = {};
    V_VT(&missing) = VT_ERROR;
    V_ERROR(&missing) = DISP_E_PARAMNOTFOUND;
    return missing;
}

}  // namespace

ScriptObject::ScriptObject()
{
    void** const app = reinterpret_cast<void**>(m_app.GetAddressOf());
    Require(CoCreateInstance(CLSID_App, nullptr, CLSCTX_INPROC_SERVER, IID_IApp, app) == S_OK,
            "the scripting object cannot be made; is the DLL registered?");
}

void ScriptObject::Attach()
{
    Init(VARIANT_FALSE);
}

void ScriptObject::Start()
{
    Init(VARIANT_TRUE);
}

void ScriptObject::Init(VARIANT_BOOL openNewBrowser)
{
    const VARIANT missing = Missing();
    Status status = sFail;
    m_app->tvnInit(missing, openNewBrowser, missing, missing, missing, kTimeout, &status);
    Require(status == sOk, "tvnInit fails");
}

void ScriptObject::Play(const tvn::ComString& macro)
{
    Status status = sFail;
    m_app->tvnPlay(macro, kTimeout, &status);
    Require(status == sOk, "tvnPlay fails");
}

void ScriptObject::Display(const tvn::ComString& text)
{
    Require(TryDisplay(text) == sOk, "tvnDisplay fails");
}

long ScriptObject::TryDisplay(const tvn::ComString& text)
{
    Status status = sFail;
    m_app->tvnDisplay(text, kTimeout, &status);
    return status;
}

void ScriptObject::Set(const tvn::ComString& name, const tvn::ComString& value)
{
    Status status = sFail;
    m_app->tvnSet(name, value, &status);
    Require(status == sOk, "tvnSet fails");
}

void ScriptObject::Exit()
{
    Status status = sFail;
    m_app->tvnExit(kTimeout, &status);
    Require(status == sOk, "tvnExit fails");
}

std::wstring ScriptObject::Extract()
{
    VARIANT missing = Missing();
    tvn::ComString text;
    m_app->tvnGetLastExtract(missing, text.GetAddress());
    return std::wstring(tvn::ToView(text));
}

std::wstring ScriptObject::Error()
{
    tvn::ComString text;
    m_app->tvnGetLastError(text.GetAddress());
    return std::wstring(tvn::ToView(text));
}

long ScriptObject::InvokeByName(const wchar_t* method,
                                std::initializer_list<const wchar_t*> arguments)
{
    std::wstring name = method;
    LPOLESTR names[] = {name.data()};
    DISPID id = DISPID_UNKNOWN;
    Require(m_app->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id) == S_OK,
            "a method is not known by its name");
    std::vector<_variant_t> values(arguments.begin(), arguments.end());
    DISPPARAMS parameters = {};
    std::vector<VARIANT> reversed(values.rbegin(), values.rend());  // borrowed
    parameters.rgvarg = reversed.data();
    parameters.cArgs = static_cast<UINT>(reversed.size());
    return Invoke(id, parameters);
}

long ScriptObject::Invoke(DISPID method, DISPPARAMS& parameters)
{
    VARIANT status = {};
    Require(m_app->Invoke(method, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters,
                          &status, nullptr, nullptr) == S_OK,
            "a method cannot be called by its number");
    return V_I4(&status);
}

}  // namespace bench
