// What a play costs: over the bare system calls, beside a browser's own driver, and through late
// binding.

#include <comutil.h>

#include "basicslib/StatusCode.h"
#include "bench/BareClient.h"
#include "bench/PeerProcess.h"
#include "bench/Rows.h"
#include "bench/ScriptObject.h"
#include "bench/WebDriver.h"

namespace bench
{

Comparisons MeasurePlay(const Settings& settings)
{
    const PeerProcess peer;
    ScriptObject object;
    object.Attach();
    BareClient bare(peer.PipeName(), L"");
    const tvn::ComString macro = L"";
    const Pairs pairs = InterleaveTimes(
        settings.seconds, 100, kMicrosecond, [&] { object.Play(macro); }, [&] { bare.Play(); });
    Comparisons lines = {
        Compare("an empty macro", "the system calls", "µs", pairs, Goal::NoMore, 1.05)};
    const Pairs least = InterleaveTimes(
        settings.seconds / 4, 100, kMicrosecond, [&] { object.Play(macro); },
        [&] { bare.Transfer(); });
    lines.push_back(Compare("an empty macro", "one write, one read", "µs", least, Goal::None, 0));
    return lines;
}

Comparisons MeasureDriver(const Settings& settings)
{
    const PeerProcess peer;
    ScriptObject object;
    object.Attach();
    WebDriver driver(settings.port, settings.browserFlags);
    const tvn::ComString macro = L"";
    const Pairs pairs = InterleaveTimes(
        settings.seconds, 100, kMicrosecond, [&] { object.Play(macro); },
        [&] {
            Require(driver.Evaluate("return 1") == "1", "the driver does not answer as it should");
        });
    return {Compare("an empty macro", "the driver's return 1", "µs", pairs, Goal::NoMore, 0.5)};
}

Comparisons MeasureDispatch(const Settings& settings)
{
    constexpr DISPID kDisplay = 22;
    const PeerProcess peer;
    ScriptObject object;
    object.Attach();
    const tvn::ComString text = L"text";
    _variant_t arguments[] = {text};
    DISPPARAMS parameters = {arguments, nullptr, 1, 0};
    const Pairs display = InterleaveTimes(
        settings.seconds, 100, kMicrosecond,
        [&] { Require(object.Invoke(kDisplay, parameters) == tvn::sOk, "tvnDisplay fails"); },
        [&] { object.Display(text); });

    // The call alone: an object that is not attached answers at once. 100 at a time, because one is
    // too short for the clock.
    constexpr int kCalls = 100;
    ScriptObject detached;
    const auto repeated = [](const auto& call) {
        for (int left = kCalls; left > 0; --left) {
            call();
        }
    };
    const Pairs call = InterleaveTimes(
        settings.seconds / 4, 100, kMicrosecond * kCalls,
        [&] { repeated([&] { detached.Invoke(kDisplay, parameters); }); },
        [&] { repeated([&] { detached.TryDisplay(text); }); });
    return {Compare("tvnDisplay", "virtual table", "µs", display, Goal::NoMore, 1.03),
            Compare("tvnDisplay, detached", "virtual table", "µs", call, Goal::None, 0)};
}

}  // namespace bench
