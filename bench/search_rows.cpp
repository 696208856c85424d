// The search for running instances, against a bare enumeration of all windows.

#include <windows.h>

#include <deque>

#include "bench/PeerProcess.h"
#include "bench/Rows.h"
#include "process/InstancesMgr.h"

namespace bench
{
namespace
{

struct Look
{
    bool descendants = false;
    std::size_t characters = 0;
};

/// Reads the title of each window, and looks at its descendants if that is asked for.
BOOL CALLBACK LookAt(HWND window, LPARAM context)
{
    auto& look = *reinterpret_cast<Look*>(context);
    char title[512];
    look.characters += static_cast<std::size_t>(GetWindowTextA(window, title, sizeof title));
    if (look.descendants) {
        Look below;
        EnumChildWindows(window, &LookAt, reinterpret_cast<LPARAM>(&below));
        look.characters += below.characters;
    }
    return TRUE;
}

void LookAtAll(bool descendants)
{
    Look look;
    look.descendants = descendants;
    EnumWindows(&LookAt, reinterpret_cast<LPARAM>(&look));
    Require(look.characters != 0, "there are no windows to look at");
}

}  // namespace

Comparisons MeasureSearch(const Settings& settings)
{
    constexpr std::size_t kInstances = 8;
    constexpr int kCrowds[] = {10, 100, 1000};
    std::deque<PeerProcess> instances;
    while (instances.size() < kInstances) {
        instances.emplace_back();
    }
    Comparisons lines;
    for (const int crowd : kCrowds) {
        const PeerProcess others("crowd=" + std::to_string(crowd));
        const auto search = [] {
            std::vector<boost::shared_ptr<tvn::Instance>> found;
            tvn::InstancesMgr().GetInstancesByName(found, L"talvern.exe", INFINITE);
            Require(found.size() == kInstances, "the search does not find all instances");
        };
        const std::string name = std::to_string(crowd) + " windows";
        lines.push_back(Compare(
            name, "windows, descendants", "ms",
            InterleaveTimes(settings.seconds, 10, kMillisecond, search, [] { LookAtAll(true); }),
            Goal::kNoMore, 1.2));
        lines.push_back(Compare(name, "top-level windows only", "ms",
                                InterleaveTimes(settings.seconds / 4, 10, kMillisecond, search,
                                                [] { LookAtAll(false); }),
                                Goal::kNone, 0));
    }
    return lines;
}

}  // namespace bench
