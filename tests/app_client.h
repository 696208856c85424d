// The scripting object as a compiled client sees it.
#pragma once

#include <gtest/gtest.h>
#include <wrl/client.h>

#include <string>
#include <string_view>

#include "Interface/App.h"
#include "basicslib/ComString.h"
#include "tests/texts.h"

namespace tvn::tests
{

/// A script's variable that holds `value`, as it arrives.
VARIANT Referring(VARIANT& value);

/// Called through its virtual table. Every call checks that the HRESULT is S_OK.
class AppClient
{
  public:
    AppClient();
    IApp* Get() const { return m_app.Get(); }
    void Release() { m_app.Detach()->Release(); }

    int Init(const VARIANT& line = LeftOut(), bool openNew = true, LONG time = 20,
             const VARIANT& user = LeftOut(), const VARIANT& password = LeftOut(),
             const VARIANT& domain = LeftOut())
    {
        const VARIANT_BOOL start = openNew ? VARIANT_TRUE : VARIANT_FALSE;
        return Run(&IApp::tvnInit, line, start, user, password, domain, time);
    }
    int Init(const char* line, bool openNew = true, LONG time = 20)
    {
        return Init(_variant_t(line), openNew, time);
    }
    int Play(std::string_view text, LONG time = 20)
    {
        return Run(&IApp::tvnPlay, ToComString(text), time);
    }
    int Display(const char* text) { return Run(&IApp::tvnDisplay, _bstr_t(text), 10); }
    int Exit(LONG time = 10) { return Run(&IApp::tvnExit, time); }
    int Set(const _bstr_t& name, const _bstr_t& value) { return Run(&IApp::tvnSet, name, value); }
    std::string Error() { return Text(&IApp::tvnGetLastError); }
    std::string Extract(const VARIANT& i = LeftOut()) { return Text(&IApp::tvnGetLastExtract, i); }

    /// "ERROR|EXTRACT|PIECE|PIECE..." as the object has them.
    std::string Texts();

    /// The status of a play and the texts after it.
    std::string Played(std::string_view text, LONG time = 20)
    {
        const int status = Play(text, time);
        return std::to_string(status) + "|" + Texts();
    }

    /// The form in which an argument that a late-bound caller leaves out arrives.
    static _variant_t LeftOut() { return {DISP_E_PARAMNOTFOUND, VT_ERROR}; }

  private:
    template <class Method, class... Arguments>
    int Run(Method method, const Arguments&... arguments)
    {
        int status = 12345;
        EXPECT_EQ((Get()->*method)(arguments..., reinterpret_cast<Status*>(&status)), S_OK);
        return status;
    }
    template <class Method, class... Arguments>
    std::string Text(Method method, const Arguments&... arguments)
    {
        BSTR value = nullptr;
        EXPECT_EQ((Get()->*method)(arguments..., &value), S_OK);
        EXPECT_NE(value, nullptr);
        return Narrow(ComString(value, false));
    }

    Microsoft::WRL::ComPtr<IApp> m_app;
};

}  // namespace tvn::tests
