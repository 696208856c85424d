// The scripting object as a compiled client sees it.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "Interface/App.h"
#include "basicslib/ComString.h"
#include "examples/cpp/TalvernClient.h"

namespace tvn::tests
{

/// A script's variable that holds `value`, as it arrives.
VARIANT Referring(VARIANT& value);

/// A new object, from the code under test itself, which is linked into this program, and not from
/// what is registered.
IApp* NewApp();

/// The example's client, with narrow texts and the time-outs of tests.
class AppClient : public talvern::Client
{
  public:
    AppClient();

    int Init(const VARIANT& line = LeftOut(), bool openNew = true, LONG time = 20,
             const VARIANT& user = LeftOut(), const VARIANT& password = LeftOut(),
             const VARIANT& domain = LeftOut())
    {
        return Client::Init(line, openNew, time, user, password, domain);
    }
    int Init(const char* line, bool openNew = true, LONG time = 20)
    {
        return Init(_variant_t(line), openNew, time);
    }
    int Play(std::string_view text, LONG time = 20)
    {
        return Client::Play(ToView(ToComString(text)), time);
    }
    int Display(const char* text) { return Client::Display(ToView(_bstr_t(text))); }
    int Set(const _bstr_t& name, const _bstr_t& value)
    {
        return Client::Set(ToView(name), ToView(value));
    }
    std::string Error() { return ToNarrow(LastError()); }
    std::string Extract(const VARIANT& i = LeftOut()) { return ToNarrow(LastExtract(i)); }

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
};

}  // namespace tvn::tests
