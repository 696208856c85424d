// Macros in a real browser, against the same steps through a
// WebDriver server and a browser of the same kind.

#include <string>

#include "bench/Rows.h"
#include "bench/WebDriver.h"
#include "examples/cpp/TalvernClient.h"

namespace bench
{
namespace
{

constexpr const char* kValues[] = {"one", "two", "three", "four", "five"};

/// 20 steps: each value is filled in, sent, awaited and read.
constexpr const wchar_t* kSteps =
    LR"(
for (const value of ['one', 'two', 'three', 'four', 'five']) {
    await page.fill('#name', value);
    await page.click('#send');
    await page.waitForSelector('.' + value);
    extract(await page.textContent('#answer'));
})";

void PlaySteps(WebDriver& driver, const std::string& name, const std::string& send)
{
    for (const std::string value : kValues) {
        driver.Clear(name);
        driver.Type(name, value);
        driver.Click(send);
        const std::string answer = driver.Find("." + value);
        Require(driver.Text(answer) == value, "the driver reads something else");
    }
}

/// Seconds for the start and for the end, alternately ours and the server's.
Comparisons StartAndEnd(const Settings& settings)
{
    Pairs ends;
    const auto ours = [&] {
        talvern::Client object;
        const double start = Seconds([&] { RequireOk(object.Init()); });
        ends.ours.push_back(Seconds([&] { RequireOk(object.Exit(60)); }) / kMillisecond);
        return start / kMillisecond;
    };
    const auto server = [&] {
        std::unique_ptr<WebDriver> driver;
        const double start = Seconds(
            [&] { driver = std::make_unique<WebDriver>(settings.port, settings.browserFlags); });
        ends.baseline.push_back(Seconds([&] { driver.reset(); }) / kMillisecond);
        return start / kMillisecond;
    };
    const Pairs starts = Interleave(settings.seconds, 5, ours, server);
    return {Compare("start", "the driver's session", "ms", starts, Goal::kNoMore, 1),
            Compare("end", "the driver's session", "ms", ends, Goal::kNoMore, 1.5)};
}

}  // namespace

Comparisons MeasureBrowser(const Settings& settings)
{
    Comparisons lines;
    {
        talvern::Client object;
        RequireOk(object.Init());
        WebDriver driver(settings.port, settings.browserFlags);
        driver.Go(settings.page);
        const std::wstring page(settings.page.begin(), settings.page.end());
        RequireOk(object.Play(L"await page.goto('" + page + L"')"));

        const Pairs one = InterleaveTimes(
            settings.seconds, 50, kMillisecond,
            [&] { RequireOk(object.Play(L"extract(await page.evaluate(() => 1))")); },
            [&] { Require(driver.Evaluate("return 1") == "1", "the driver evaluates wrongly"); });
        Require(object.LastExtract() == L"1", "the macro evaluates wrongly");
        lines.push_back(
            Compare("one evaluate", "the driver's command", "ms", one, Goal::kNoMore, 0.85));

        const std::string name = driver.Find("#name");
        const std::string send = driver.Find("#send");
        const Pairs twenty = InterleaveTimes(
            settings.seconds, 20, kMillisecond, [&] { RequireOk(object.Play(kSteps)); },
            [&] { PlaySteps(driver, name, send); });
        Require(object.LastExtract().find(L"four[EXTRACT]five") != std::wstring::npos,
                "the macro reads something else");
        lines.push_back(
            Compare("20 steps", "the driver's commands", "ms", twenty, Goal::kNoMore, 0.15));
        RequireOk(object.Exit(60));
    }
    for (Comparison& line : StartAndEnd(settings)) {
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace bench
