// What a play with a long reply costs, in time and in memory.

#include "bench/BareClient.h"
#include "bench/Memory.h"
#include "bench/PeerProcess.h"
#include "bench/Rows.h"
#include "examples/cpp/TalvernClient.h"

namespace bench
{
namespace
{

constexpr double kMiB = 1024 * 1024;

std::wstring MacroForBytes(std::size_t mebibytes)
{
    return std::to_wstring(mebibytes * 1024 * 1024);
}

}  // namespace

Comparisons MeasureReply(const Settings& settings)
{
    constexpr std::size_t kSizes[] = {1, 4, 16, 64, 256};
    const PeerProcess peer;
    talvern::Client object;
    RequireOk(object.Init(talvern::Argument(), false));
    Comparisons lines;
    for (const std::size_t size : kSizes) {
        const std::wstring text = MacroForBytes(size);
        BareClient bare(peer.PipeName(), text);
        const auto throughput = [size](double seconds) {
            return static_cast<double>(size) / seconds;
        };
        const auto play = [&] {
            return throughput(Seconds([&] { RequireOk(object.Play(text)); }));
        };
        const Pairs whole = Interleave(settings.seconds, 5, play, [&] {
            return throughput(Seconds([&] { bare.Transfer(); }));
        });
        const Pairs parts = Interleave(settings.seconds / 2, 5, play, [&] {
            return throughput(Seconds([&] { bare.TransferLengthFirst(); }));
        });
        const std::string name = std::to_string(size) + " MiB";
        lines.push_back(Compare(name, "a bare pipe", "MiB/s", whole, Goal::kNoLess, 0.85));
        lines.push_back(
            Compare(name, "a bare pipe, the length first", "MiB/s", parts, Goal::kNone, 0));
    }
    return lines;
}

Comparisons MeasureMemory(const Settings& /*settings*/)
{
    // From small to large: the peak never falls.
    constexpr std::size_t kSizes[] = {1, 4, 16, 64, 256};
    const PeerProcess peer;
    talvern::Client object;
    RequireOk(object.Init(talvern::Argument(), false));
    RequireOk(object.Play(L""));
    const Memory before = CurrentMemory();
    const auto over = [](std::size_t bytes, std::size_t start) {
        return bytes < start ? 0 : static_cast<double>(bytes - start) / kMiB;
    };
    Comparisons lines;
    for (const std::size_t size : kSizes) {
        const std::string name = std::to_string(size) + " MiB";
        RequireOk(object.Play(MacroForBytes(size)));
        const double peak = over(CurrentMemory().peakResident, before.resident);
        RequireOk(object.Play(L""));
        const double left = over(CurrentMemory().own, before.own);
        const auto bytes = static_cast<double>(size);
        lines.push_back(
            Compare(name + ", peak", "the reply", "MiB", {{peak}, {bytes}}, Goal::kNoMore, 3));
        lines.push_back(Compare(name + ", after the next play", "the reply", "MiB",
                                {{left}, {bytes}}, Goal::kNoMore, 0.1));
    }
    return lines;
}

}  // namespace bench
