// During each wait of each method, a window message calls every other one, of the same object and
// of another, releases both and makes one. Whatever is used after it was freed ends the test.

#include <atomic>

#include "Interface/ServerModule.h"
#include "basicslib/StatusCode.h"
#include "tests/app_client.h"
#include "tests/imported_calls.h"
#include "tests/moments.h"
#include "tests/other_side.h"
#include "tests/resources.h"
#include "tests/stress/cases.h"

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
    int answer = sOk;  ///< of the browser to a command

    bool Initialises() const { return stage < Stage::kPlay; }
    bool Exits() const { return stage > Stage::kDisplay; }
    bool CommandRuns() const { return !Initialises() && stage < Stage::kWaitForExit; }
};

constexpr const char* kFirefox = "-runner -fx";
const Outer kOuters[] = {
    {Stage::kList, false}, {Stage::kStart},    {Stage::kCallback},
    {Stage::kAttach},      {Stage::kPlay},     {Stage::kPlay, true, kFirefox},
    {Stage::kDisplay},     {Stage::kEnd},      {Stage::kEnd, true, kFirefox, -5},
    {Stage::kWaitForExit}, {Stage::kTerminate}};

int Init(AppClient& app, bool openNew = true)
{
    return app.Init("-runner", openNew, kSeconds);
}

/// A call during another one's wait, and its answers during an init, during a command, and
/// otherwise. Those that leave the object without a browser come first.
struct Inner
{
    int (*call)(AppClient& app);
    int initialising = kDone;
    int running = kDone;
    int otherwise = kDone;
};

const Inner kInners[] = {
    {[](AppClient& app) { return app.Exit(kSeconds); }, sNotStarted},
    {[](AppClient& app) {
         app.Exit(kSeconds);
         return Init(app);
     },
     sInternal},
    {[](AppClient& app) { return app.Init("-runner -fx", true, kSeconds); }, sInternal, sInternal,
     sInternal},
    {[](AppClient& app) { return app.Play("nested", kSeconds); }, sNotStarted, sFail},
    {[](AppClient& app) { return app.Display("nested"); }, sNotStarted, sFail},
    {[](AppClient& app) { return app.Set("nested", "value"); }, kDone},
    {[](AppClient& app) {
        app.Error();
        app.Extract(_variant_t(1L));
        return app.InterfaceVersion() == 6300216 ? kDone : 0;
    }},
    {[](AppClient& app) {
        app.Release();
        return kDone;
    }},
    {[](AppClient& /*app*/) {
        AppClient another;
        return Init(another, false);
    }},
};
constexpr std::size_t kExits = 0;
constexpr std::size_t kExitsAndInits = 1;

int CallOuter(const Outer& outer, AppClient& app)
{
    switch (outer.stage) {
        case Stage::kPlay:
            return app.Play("outer", kSeconds);
        case Stage::kDisplay:
            return app.Display("outer");
        default:
            return outer.Initialises() ? app.Init(outer.line, outer.openNew, kSeconds)
                                       : app.Exit(kSeconds);
    }
}

/// Calls the outer method, and `inner` while that waits; what `inner` has answered.
int CallNested(OtherSide& otherSide, const Outer& outer, AppClient& app,
               const std::function<int()>& inner)
{
    std::atomic<bool> waits = false;
    const auto called = NewEvent();
    int nested = 0;
    const auto call = [&] {
        nested = inner();
        SetEvent(called->Get());
    };
    CallLater(1, call, [&] { return waits.load(); });
    if (outer.stage == Stage::kTerminate) {
        otherSide.Next(Stage::kWaitForExit, [](Turn&) { return false; });
    }
    otherSide.Next(outer.stage, [&](Turn& turn) {
        waits = true;
        WaitForSingleObject(called->Get(), 5000);
        return turn.peer.Write(outer.answer == sOk ? turn.answer
                                                   : Message(turn.id, outer.answer, ""));
    });
    EXPECT_EQ(CallOuter(outer, app), outer.answer);
    return nested;
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
    const std::size_t inners = 2 * std::size(kInners);  // each is called of both objects
    ForEachCase(std::size(kOuters) * inners, [&](std::uint64_t number, auto&) {
        const Outer& outer = kOuters[number / inners];
        const std::size_t which = number % inners / 2;
        const Inner& inner = kInners[which];
        const bool ofSame = number % 2 == 0;
        AppClient same;
        AppClient other;
        ASSERT_EQ(Init(other, false), sOk);
        if (!outer.Initialises()) {
            ASSERT_EQ(same.Init(outer.line, true, kSeconds), sOk);
            same.Play("before", kSeconds);
        }
        const int nested =
            CallNested(otherSide, outer, same, [&] { return inner.call(ofSame ? same : other); });
        // A Firefox that runs a command can neither be told to end nor be ended.
        const int running =
            which == kExits && outer.line == kFirefox ? static_cast<int>(sFail) : inner.running;
        EXPECT_EQ(nested, !ofSame               ? inner.otherwise
                          : outer.Initialises() ? inner.initialising
                          : outer.CommandRuns() ? running
                                                : inner.otherwise);
        if (same.Get() != nullptr) {
            const bool attached = outer.Initialises() || (ofSame && which == kExitsAndInits) ||
                                  (!outer.Exits() && !(ofSame && which == kExits));
            EXPECT_EQ(same.Play("after", kSeconds), attached ? sOk : sNotStarted);
            bool isAwaited = false;
            otherSide.Next(Stage::kWaitForExit, [&](Turn& turn) {
                isAwaited = true;
                return turn.peer.Write(turn.answer);
            });
            same.Exit(kSeconds);
            otherSide.Oblige();
            const bool isFirefox = outer.line == kFirefox && !(ofSame && which == kExitsAndInits);
            EXPECT_EQ(isAwaited, attached && !isFirefox) << "the options are still its own";
            EXPECT_EQ(Init(same), sOk) << "and works again";
            EXPECT_EQ(same.Played("again"), "1||played[EXTRACT]well|played|well");
            EXPECT_EQ(same.Exit(kSeconds), sOk);
        }
    });
}

TEST_F(NestedCalls, TheLastReferenceMayGoWhileAnIndexIsRead)
{
    // The value of an object that is given as index comes from any code of its own.
    static IApp* app;
    const auto releases = TVN_REPLACE_IMPORT(
        VariantChangeType, [](VARIANT* to, VARIANT* from, USHORT flags, VARTYPE type) {
            app->Release();
            return TVN_REAL_IMPORT(VariantChangeType)(to, from, flags, type);
        });
    app = NewApp();
    BSTR value = nullptr;
    EXPECT_EQ(app->tvnGetLastExtract(_variant_t(1L), &value), S_OK);
    EXPECT_STREQ(value, L"NODATA");
    SysFreeString(value);
}

}  // namespace tvn::tests
