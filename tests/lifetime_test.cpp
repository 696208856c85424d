// Who lives how long while methods wait and messages are dispatched: whatever is used after it has
// gone ends the test.

#include <gmock/gmock.h>

#include "Interface/ServerModule.h"
#include "basicslib/StatusCode.h"
#include "tests/attached_app.h"
#include "tests/moments.h"
#include "tests/resources.h"

namespace tvn::tests
{

/// Its value cannot be had without letting the object that wants it go.
struct ReleasingIndex : IDispatch
{
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID /*iid*/, void** object) override
    {
        *object = this;
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* /*count*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT /*index*/, LCID /*locale*/,
                                          ITypeInfo** /*info*/) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID /*iid*/, LPOLESTR* /*names*/, UINT /*count*/,
                                            LCID /*locale*/, DISPID* /*ids*/) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID /*id*/, REFIID /*iid*/, LCID /*locale*/, WORD /*flags*/,
                                     DISPPARAMS* /*parameters*/, VARIANT* result,
                                     EXCEPINFO* /*exception*/, UINT* /*argument*/) override
    {
        app->Release();
        V_VT(result) = VT_I4;
        V_I4(result) = 1;
        return S_OK;
    }
    IApp* app = nullptr;
};

class Lifetime : public testing::Test
{
  protected:
    ~Lifetime() override { EXPECT_EQ(g_module.CanUnloadNow(), S_OK) << "an object is left over"; }

    const FreedMemoryIsGone gone;
    int status = 0;
    Status* const result = reinterpret_cast<Status*>(&status);
    const _bstr_t text = L"m";
};

TEST_F(Lifetime, AnObjectOutlivesItsLastReferenceDuringACommand)
{
    const Step ended = {testing::A<Bytes>(), {Message(6, 0, sOk)}};
    const std::tuple<std::function<HRESULT(IApp&)>, Bytes, Script> cases[] = {
        {[&](IApp& app) { return app.tvnPlay(text, 5, result); },
         Message(2, "PLAY", " -macro m "),
         {}},
        {[&](IApp& app) { return app.tvnDisplay(text, 5, result); },
         Message(2, "appSendText", "m"),
         {}},
        {[&](IApp& app) { return app.tvnExit(5, result); }, Message(2, "appEnd", ""), {ended}},
    };
    for (const auto& [method, request, service] : cases) {
        AttachedApp attached({{request, {Message(2, sOk, "reply")}, 150}}, service);
        IApp* const app = attached.app.Get();
        CallLater(50, [&] { attached.app.Release(); });
        EXPECT_EQ(method(*app), S_OK);
        EXPECT_EQ(status, sOk);
        EXPECT_EQ(g_module.CanUnloadNow(), S_OK) << "it has gone with the end of the method";
    }
}

TEST_F(Lifetime, AnObjectOutlivesItsLastReferenceDuringAnInit)
{
    const ScriptedPeer service("\\\\.\\pipe\\tvnRunner",
                               {{Asks(9, "talvern.exe"), {Message(10, 0, 1, 0)}, 150},
                                {testing::A<Bytes>(), {Message(2, 0, -7, 0, "")}}});
    AppClient client;
    IApp* const app = client.Get();
    CallLater(50, [&] { client.Release(); });
    const _variant_t none = AppClient::LeftOut();
    EXPECT_EQ(app->tvnInit(_variant_t("-runner"), VARIANT_FALSE, none, none, none, 5, result),
              S_OK);
    EXPECT_EQ(status, sInstancesCountLimitReached);
}

TEST_F(Lifetime, AnObjectOutlivesItsLastReferenceWhileAnIndexIsRead)
{
    AppClient client;
    ReleasingIndex object;
    object.app = client.Get();
    VARIANT index = {};
    V_VT(&index) = VT_DISPATCH;
    V_DISPATCH(&index) = &object;
    BSTR value = nullptr;
    EXPECT_EQ(object.app->tvnGetLastExtract(index, &value), S_OK);
    EXPECT_STREQ(value, L"NODATA");
    SysFreeString(value);
    client.Forget();
}

TEST_F(Lifetime, AClientOutlivesItsOwnerDuringACommand)
{
    AttachedApp attached({{Message(2, "PLAY", " -macro m "), {Message(2, sOk, "reply")}, 150}},
                         {{testing::A<Bytes>(), {Message(6, 0, sOk)}}});
    int nested = 0;
    CallLater(50, [&] { nested = attached.app.Exit(2); });
    EXPECT_EQ(attached.app.Played("m"), "1||reply|reply");
    EXPECT_EQ(nested, sOk);
    EXPECT_EQ(attached.app.Play("m"), sNotStarted);
}

}  // namespace tvn::tests
