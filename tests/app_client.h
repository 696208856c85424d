#pragma once

#include <gtest/gtest.h>

#include <string>

#include "Interface/App.h"
#include "Interface/ServerModule.h"
#include "comserver/ComObject.h"
#include "tests/surroundings.h"

namespace tests
{

/// A scripting object as a compiled client sees it, through its virtual table, with the results as
/// C++ values. Every call checks that the HRESULT is S_OK.
class AppClient
{
  public:
    AppClient()
    {
        void* object = nullptr;
        EXPECT_EQ(tvn::g_module.GetClassObject(CLSID_App, IID_IClassFactory, &object), S_OK);
        auto* factory = static_cast<IClassFactory*>(object);
        EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IApp),
                                          reinterpret_cast<void**>(m_app.Receive())),
                  S_OK);
        factory->Release();
    }

    IApp* Get() const { return m_app.Get(); }
    void Release() { m_app.Detach()->Release(); }

    int Init(const _variant_t& commandLine = LeftOut(), bool openNew = true, LONG timeout = 20,
             const _variant_t& user = LeftOut(), const _variant_t& password = LeftOut(),
             const _variant_t& domain = LeftOut())
    {
        return Run([&](Status* status) {
            return m_app->tvnInit(commandLine, openNew ? VARIANT_TRUE : VARIANT_FALSE, user,
                                  password, domain, timeout, status);
        });
    }
    int Play(const std::wstring& text, LONG timeout = 20)
    {
        const auto bstr = tvn::ToComString(text);
        return Run([&](Status* status) { return m_app->tvnPlay(bstr, timeout, status); });
    }
    int Display(const wchar_t* text, LONG timeout = 10)
    {
        return Run(
            [&](Status* status) { return m_app->tvnDisplay(_bstr_t(text), timeout, status); });
    }
    int Exit(LONG timeout = 10)
    {
        return Run([&](Status* status) { return m_app->tvnExit(timeout, status); });
    }
    int Set(const wchar_t* name, const wchar_t* value)
    {
        return Run(
            [&](Status* status) { return m_app->tvnSet(_bstr_t(name), _bstr_t(value), status); });
    }
    std::wstring Error()
    {
        return Text([&](BSTR* value) { return m_app->tvnGetLastError(value); });
    }
    std::wstring Extract(const _variant_t& index = LeftOut())
    {
        return Text([&](BSTR* value) { return m_app->tvnGetLastExtract(index, value); });
    }

    /// The form in which an argument that a late-bound caller leaves out arrives.
    static _variant_t LeftOut()
    {
        _variant_t value;
        V_VT(&value) = VT_ERROR;
        V_ERROR(&value) = DISP_E_PARAMNOTFOUND;
        return value;
    }

  private:
    template <class Call>
    static int Run(Call call)
    {
        int status = 12345;
        EXPECT_EQ(call(reinterpret_cast<Status*>(&status)), S_OK);
        return status;
    }
    template <class Call>
    static std::wstring Text(Call call)
    {
        BSTR value = nullptr;
        EXPECT_EQ(call(&value), S_OK);
        EXPECT_NE(value, nullptr);
        const tvn::ComString owner(value, false);
        return std::wstring(tvn::ToView(owner));
    }

    comserver::ComPtr<IApp> m_app;
};

/// The stand-in's answer to a faulty play; what is to go wrong before the attach goes to `Init`.
inline std::wstring Lines(std::initializer_list<const wchar_t*> lines)
{
    std::wstring macro;
    for (const wchar_t* line : lines) {
        macro += macro.empty() ? line : std::wstring(L"\n") + line;
    }
    return macro;
}

}  // namespace tests
