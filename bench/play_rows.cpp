// What a play costs: over one write and one read, beside a browser's own driver, and through late
// binding.

#include <comutil.h>

#include "bench/BareClient.h"
#include "bench/PeerProcess.h"
#include "bench/Rows.h"
#include "bench/WebDriver.h"
#include "examples/cpp/TalvernClient.h"

namespace bench
{

Comparisons MeasurePlay(const Settings& settings)
{
    const PeerProcess peer;
    talvern::Client object;
    RequireOk(object.Init(talvern::Argument(), false));
    BareClient bare(peer.PipeName(), L"");
    const Pairs pairs = InterleaveTimes(
        settings.seconds, 100, kMicrosecond, [&] { RequireOk(object.Play(L"")); },
        [&] { bare.Transfer(); });
    return {Compare("an empty macro", "one write, one read", "µs", pairs, Goal::kNone, 0)};
}

Comparisons MeasureDriver(const Settings& settings)
{
    const PeerProcess peer;
    talvern::Client object;
    RequireOk(object.Init(talvern::Argument(), false));
    WebDriver driver(settings.port, settings.browserFlags);
    const Pairs pairs = InterleaveTimes(
        settings.seconds, 100, kMicrosecond, [&] { RequireOk(object.Play(L"")); },
        [&] {
            Require(driver.Evaluate("return 1") == "1", "the driver does not answer as it should");
        });
    return {Compare("an empty macro", "the driver's return 1", "µs", pairs, Goal::kNoMore, 0.5)};
}

Comparisons MeasureDispatch(const Settings& settings)
{
    constexpr DISPID kDisplay = 22;
    const PeerProcess peer;
    talvern::Client object;
    RequireOk(object.Init(talvern::Argument(), false));
    _variant_t text = L"text";
    DISPPARAMS parameters = {&text, nullptr, 1, 0};
    const auto byNumber = [&](IApp* app) {
        VARIANT status = {};
        Require(app->Invoke(kDisplay, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters,
                            &status, nullptr, nullptr) == S_OK,
                "a method cannot be called by its number");
        return V_I4(&status);
    };
    const auto byTable = [&](IApp* app) {
        Status status = sFail;
        app->tvnDisplay(V_BSTR(&text), 60, &status);
        return static_cast<int>(status);
    };
    const Pairs display = InterleaveTimes(
        settings.seconds, 100, kMicrosecond, [&] { RequireOk(byNumber(object.Get())); },
        [&] { RequireOk(byTable(object.Get())); });

    // The call alone: an object that is not attached answers at once. 100 at a time, because one is
    // too short for the clock.
    constexpr int kCalls = 100;
    talvern::Client detached;
    const auto repeated = [](const auto& call) {
        for (int left = kCalls; left > 0; --left) {
            call();
        }
    };
    const Pairs call = InterleaveTimes(
        settings.seconds / 4, 100, kMicrosecond * kCalls,
        [&] { repeated([&] { byNumber(detached.Get()); }); },
        [&] { repeated([&] { byTable(detached.Get()); }); });
    return {Compare("tvnDisplay", "virtual table", "µs", display, Goal::kNoMore, 1.03),
            Compare("tvnDisplay, detached", "virtual table", "µs", call, Goal::kNone, 0)};
}

}  // namespace bench
