// The DLL is loaded, used and unloaded thousands of times; and processes end while it is in use.

#include <windows.h>

#include <thread>

#include "basicslib/StatusCode.h"
#include "soak/Campaign.h"
#include "soak/CaseCourse.h"
#include "soak/ChildProgram.h"
#include "soak/Counterpart.h"
#include "soak/Parts.h"
#include "soak/ProcessFigures.h"
#include "soak/ScriptingObject.h"
#include "soak/ServerLibrary.h"
#include "soak/Stopwatch.h"

namespace soak
{
namespace
{

/// One round; what went wrong in it.
std::string LoadUseAndUnload()
{
    const ServerLibrary library;
    {
        const auto factory = library.Factory();
        ScriptingObject object(*factory.Get());
        // Nobody serves the runner's pipe: exceptions are thrown and caught inside.
        const int status = object.Init("-runner", true, 0);
        if (status != tvn::sRunnerNotReachable) {
            return "an init without a runner gives " + std::to_string(status);
        }
        if (library.CanUnloadNow() != S_FALSE) {
            return "the DLL could be unloaded with an object alive";
        }
    }
    return library.CanUnloadNow() == S_OK ? "" : "the DLL could not be unloaded";
}

/// What went wrong when a process of this part ended.
std::string EndOf(const char* part, double& longest)
{
    constexpr DWORD kMost = 10'000;
    const Stopwatch watch;
    const ChildProgram child(part);
    const DWORD code = child.ExitCode(kMost);
    longest = std::max(longest, watch.Milliseconds());
    return code == kEndedAsItShould ? ""
                                    : std::string(part) + " ended with " + std::to_string(code);
}

/// The object of a child, in use when the process ends.
struct Used
{
    ServerLibrary library;
    ScriptingObject object{*library.Factory().Get()};
};

}  // namespace

int EndWithLiveObject()
{
    static const auto used = std::make_unique<Used>();
    const bool attached = used->object.Init("-runner", false, 10) == tvn::sOk;
    return attached && used->object.Play(L"macro", 10) == tvn::sOk ? kEndedAsItShould : 1;
}

int EndWhilePlaying()
{
    // (Never given back: the process ends around it.)
    static auto* const used = std::make_unique<Used>().release();
    if (used->object.Init("-runner", false, 10) != tvn::sOk) {
        return 1;
    }
    std::thread([] { used->object.Play(L"macro", 60); }).detach();
    Sleep(200);
    ExitProcess(kEndedAsItShould);
}

void RunUnload(const Settings& settings, Journal& journal)
{
    constexpr std::uint64_t kWarmUp = 20;
    std::ptrdiff_t handles = CountHandles();
    std::ptrdiff_t kibibytes = PrivateKibibytes();
    std::uint64_t survived = 0;
    CaseCourse course(settings, journal, 5000, 100);
    for (; course.Goes(); course.Next()) {
        Journal::NoteCase("--case", course.Number());
        const std::string wrong = LoadUseAndUnload();
        survived += wrong.empty() ? 1U : 0U;
        if (!wrong.empty()) {
            journal.Fault(wrong);
        }
        if (course.Number() == kWarmUp) {
            handles = CountHandles();
            kibibytes = PrivateKibibytes();
        }
    }
    const std::ptrdiff_t handlesLeft = CountHandles() - handles;
    const std::ptrdiff_t kibibytesLeft = PrivateKibibytes() - kibibytes;
    journal.Count(course.Number(), survived);
    journal.Leaked(handlesLeft, kibibytesLeft);

    const int ends = settings.shortForm ? 2 : 25;
    double longest = 0;
    int good = 0;
    for (const char* const part : {kPartEndAlive, kPartEndWaiting}) {
        for (int end = 0; end < ends; ++end) {
            Counterpart counterpart;
            if (part == kPartEndWaiting) {
                counterpart.Next(Stage::Play, [](Turn& turn) {
                    turn.link.Hang();
                    return false;
                });
            }
            const std::string wrong = EndOf(part, longest);
            good += wrong.empty() ? 1 : 0;
            if (!wrong.empty()) {
                journal.Fault(wrong);
            }
        }
    }
    journal.Count(2 * static_cast<std::uint64_t>(ends), static_cast<std::uint64_t>(good));
    journal.AddTable(
        "Loading and unloading, and ends of processes",
        {{"what", "rounds", "as it should be", "handles left", "KiB left"},
         {"load, create, fail, release, unload", std::to_string(course.Number()),
          std::to_string(survived), std::to_string(handlesLeft), std::to_string(kibibytesLeft)},
         {"end with an object alive, end while a play waits", std::to_string(2 * ends),
          std::to_string(good) + ", the longest took " + std::to_string(static_cast<int>(longest)) +
              " ms",
          "", ""}});
}

}  // namespace soak
