// During each wait of each method, a window message calls every other one, of the same object and
// of another, releases both and makes one. Whatever is used after it was freed ends the test.

#include <atomic>

#include "Interface/ServerModule.h"
#include "basicslib/StatusCode.h"
#include "tests/app_client.h"
#include "tests/moments.h"
#include "tests/other_side.h"
#include "tests/resources.h"
#include "tests/stress/cases.h"
#include "tests/surroundings.h"

namespace tvn::tests
{
namespace
{

constexpr LONG kSeconds = 10;
constexpr int kDone = 1;

/// A wait of a method: the stage for which it waits.
struct Outer
{
    Stage stage;
    bool openNew = true;
    const char* line = "-runner";

    bool Initialises() const { return stage < Stage::Play; }
    bool Exits() const { return stage > Stage::Display; }
    bool CommandRuns() const { return !Initialises() && stage < Stage::WaitForExit; }
};

constexpr const char* kFirefox = "-runner -fx";
const Outer kOuters[] = {{Stage::List, false}, {Stage::Start}, {Stage::Callback},
                         {Stage::Attach},      {Stage::Play},  {Stage::Play, true, kFirefox},
                         {Stage::Display},     {Stage::End},   {Stage::WaitForExit},
                         {Stage::Terminate}};

/// What is called, and what it has to answer: during an init, during a command, or else.
struct Inner
{
    std::function<int(AppClient& same, AppClient& other)> call;
    int initialising = kDone;
    int running = kDone;
    int otherwise = kDone;
};

int Init(AppClient& app, bool openNew = true)
{
    return app.Init("-runner", openNew, kSeconds);
}

/// What leaves the object without a browser is first.
const Inner kInners[] = {
    {[](AppClient& app, AppClient&) { return app.Exit(kSeconds); }, sNotStarted},
    {[](AppClient& app, AppClient&) {
         app.Exit(kSeconds);
         return Init(app);
     },
     sInternal},
    {[](AppClient& app, AppClient&) { return Init(app); }, sInternal, sInternal, sInternal},
    {[](AppClient& app, AppClient&) { return app.Play("nested", kSeconds); }, sNotStarted, sFail},
    {[](AppClient& app, AppClient&) { return app.Display("nested"); }, sNotStarted, sFail},
    {[](AppClient& app, AppClient&) {
        return app.Set("nested", "value");
    }},
    {[](AppClient& app, AppClient&) {
        app.Error();
        app.Extract(_variant_t(1L));
        return app.InterfaceVersion() == 6300216 ? kDone : 0;
    }},
    {[](AppClient& app, AppClient&) {
        app.Release();
        return kDone;
    }},
    {[](AppClient&, AppClient& other) {
        other.Exit(kSeconds);
        return Init(other);
    }},
    {[](AppClient&, AppClient& other) {
        return other.Play("nested", kSeconds);
    }},
    {[](AppClient&, AppClient& other) {
        return other.Display("nested");
    }},
    {[](AppClient&, AppClient& other) {
        return other.Exit(kSeconds);
    }},
    {[](AppClient&, AppClient& other) {
        return other.Set("name", "value");
    }},
    {[](AppClient&, AppClient& other) {
        other.Release();
        return kDone;
    }},
    {[](AppClient&, AppClient&) {
        AppClient another;
        return Init(another, false);
    }},
};
constexpr std::size_t kExits = 0;
constexpr std::size_t kExitsAndInits = 1;

int CallOuter(const Outer& outer, AppClient& app)
{
    switch (outer.stage) {
        case Stage::Play:
            return app.Play("outer", kSeconds);
        case Stage::Display:
            return app.Display("outer");
        default:
            return outer.Initialises() ? app.Init(outer.line, outer.openNew, kSeconds)
                                       : app.Exit(kSeconds);
    }
}

}  // namespace

class NestedCalls : public testing::Test
{
  protected:
    ~NestedCalls() override
    {
        EXPECT_EQ(g_module.CanUnloadNow(), S_OK) << "an object is left over";
        CoUninitialize();
    }

    const HRESULT apartment = CoInitialize(nullptr);
    const FreedMemoryIsGone gone;
};

TEST_F(NestedCalls, OfEveryMethodDuringEachWaitOfEachOther)
{
    OtherSide otherSide;
    Cases::ForEach(std::size(kOuters) * std::size(kInners), [&](std::uint64_t number, auto&) {
        const Outer& outer = kOuters[number / std::size(kInners)];
        const std::size_t which = number % std::size(kInners);
        const Inner& inner = kInners[which];
        AppClient same;
        AppClient other;
        ASSERT_EQ(Init(other, false), sOk);
        if (!outer.Initialises()) {
            ASSERT_EQ(same.Init(outer.line, true, kSeconds), sOk);
            same.Play("before", kSeconds);
        }
        std::atomic<bool> waits = false;
        const auto called = NewEvent();
        int nested = 0;
        CallWhen([&] { return waits.load(); },
                 [&] {
                     nested = inner.call(same, other);
                     SetEvent(called->Get());
                 });
        if (outer.stage == Stage::Terminate) {
            otherSide.Next(Stage::WaitForExit, [](Turn&) { return false; });
        }
        otherSide.Next(outer.stage, [&](Turn& turn) {
            waits = true;
            WaitForSingleObject(called->Get(), 5000);
            return turn.peer.Write(turn.answer);
        });
        EXPECT_EQ(CallOuter(outer, same), sOk);
        // A Firefox that runs a command can neither be told to end nor be ended.
        const int running =
            which == kExits && outer.line == kFirefox ? static_cast<int>(sFail) : inner.running;
        EXPECT_EQ(nested, outer.Initialises()   ? inner.initialising
                          : outer.CommandRuns() ? running
                                                : inner.otherwise);
        if (same.Get() != nullptr) {
            const bool attached = outer.Initialises() || which == kExitsAndInits ||
                                  (!outer.Exits() && which != kExits);
            EXPECT_EQ(same.Play("after", kSeconds), attached ? sOk : sNotStarted);
            same.Exit(kSeconds);
            EXPECT_EQ(Init(same), sOk) << "and works again";
            EXPECT_EQ(same.Played("again"), "1||played[EXTRACT]well|played|well");
            EXPECT_EQ(same.Exit(kSeconds), sOk);
        }
    });
}

TEST_F(NestedCalls, AnInitDuringAnInitIsRefusedAndChangesNothing)
{
    AppClient app;
    int nested = 0;
    SetEnvironmentVariableA("TALVERN_STANDIN", "no-callback");
    CallLater(300, [&] { nested = app.Init("-ie -authorizeAll", true, 5); });
    EXPECT_EQ(app.Init("-fx", true, 2), sTimeout);
    SetEnvironmentVariableA("TALVERN_STANDIN", nullptr);
    EXPECT_EQ(nested, sInternal);
    EXPECT_TRUE(Running("iexplore.exe").empty());

    EXPECT_EQ(app.Init(), sOk);
    EXPECT_EQ(app.Play("!commandline"), sOk);
    EXPECT_THAT(app.Extract(), testing::HasSubstr("firefox.exe"));
    EXPECT_THAT(app.Extract(), testing::HasSubstr("authorizeAll=false"));
    EXPECT_EQ(app.Exit(), sOk);
    EndBrowsers();
}

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

TEST_F(NestedCalls, TheLastReferenceMayGoWhileAnIndexIsRead)
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

}  // namespace tvn::tests
