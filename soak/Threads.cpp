// Many objects on as many threads at once, and one object that another apartment calls.

#include <windows.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include "basicslib/StatusCode.h"
#include "soak/Campaign.h"
#include "soak/Counterpart.h"
#include "soak/OtherApartment.h"
#include "soak/ProcessFigures.h"
#include "soak/ScriptingObject.h"
#include "soak/StandinBrowsers.h"

namespace soak
{
namespace
{

constexpr std::size_t kThreads = 8;
constexpr LONG kSeconds = 20;

/// One object on a thread of its own; what the first wrong cycle did.
struct Worker
{
    std::atomic<std::uint64_t> done{0};
    std::atomic<bool> ended{false};
    std::string wrong;

    void Run(std::uint64_t cycles, bool ownProcesses)
    {
        ScriptingObject object;
        for (std::uint64_t cycle = 0; cycle < cycles && wrong.empty(); ++cycle) {
            wrong = Cycle(object, cycle, ownProcesses);
            ++done;
        }
        ended = true;
    }

    static std::string Cycle(ScriptingObject& object, std::uint64_t cycle, bool ownProcesses)
    {
        const bool openNew = ownProcesses || cycle % 2 == 0;
        const int init = object.Init(ownProcesses ? "" : "-runner", openNew, kSeconds);
        if (init != tvn::sOk) {
            return "an init gave " + std::to_string(init);
        }
        object.Set(L"city", L"New York");
        const int play = object.Play(L"macro", kSeconds);
        const std::wstring right =
            ownProcesses ? L"macro[EXTRACT]city=New York" : Counterpart::kPlayed;
        if (play != tvn::sOk || object.Extract() != right) {
            return "a play gave " + std::to_string(play);
        }
        const int exit = object.Exit(kSeconds);
        return exit == tvn::sOk ? "" : "an exit gave " + std::to_string(exit);
    }
};

/// All threads at once; the cycles that went well.
std::uint64_t RunAtOnce(std::uint64_t cycles, bool ownProcesses, Journal& journal, double from,
                        double to)
{
    std::vector<Worker> workers(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(workers.size());
    for (Worker& worker : workers) {
        threads.emplace_back([&worker, cycles, ownProcesses] { worker.Run(cycles, ownProcesses); });
    }
    const auto total = static_cast<double>(cycles * kThreads);
    for (bool ended = false; !ended; Sleep(50)) {
        std::uint64_t done = 0;
        ended = true;
        for (const Worker& worker : workers) {
            done += worker.done;
            ended = ended && worker.ended;
        }
        journal.Progress(from + (to - from) * static_cast<double>(done) / total,
                         std::to_string(done) + " cycles");
    }
    std::uint64_t good = 0;
    for (std::size_t index = 0; index < kThreads; ++index) {
        threads[index].join();
        const Worker& worker = workers[index];
        good += worker.wrong.empty() ? worker.done.load() : worker.done - 1;
        if (!worker.wrong.empty()) {
            journal.Fault("on thread " + std::to_string(index) + ", cycle " +
                          std::to_string(worker.done) + ", " + worker.wrong);
        }
    }
    return good;
}

}  // namespace

void RunThreads(const Settings& settings, Journal& journal)
{
    const std::uint64_t cycles = settings.cases.value_or(settings.shortForm ? 20 : 500);
    std::uint64_t ownCycles = settings.full ? 500 : 12;
    if (settings.shortForm) {
        ownCycles = 0;
    }
    constexpr std::size_t kEnds = 4 * kThreads;
    Table table = {{"what", "threads", "cycles", "as they should be", "handles left", "KiB left"}};
    const auto add = [&](const char* what, std::size_t threads, std::uint64_t done,
                         std::uint64_t good, std::ptrdiff_t handles, std::ptrdiff_t kibibytes) {
        journal.Count(done, good);
        journal.Leaked(handles, kibibytes);
        table.push_back({what, std::to_string(threads), std::to_string(done), std::to_string(good),
                         std::to_string(handles), std::to_string(kibibytes)});
    };
    {
        Counterpart counterpart(Counterpart::Serves::All, kEnds);
        RunAtOnce(settings.shortForm ? 10 : 150, false, journal, 0, 0.01);
        const std::ptrdiff_t handles = CountHandles();
        const std::ptrdiff_t kibibytes = PrivateKibibytes();
        const std::uint64_t good = RunAtOnce(cycles, false, journal, 0, 0.6);
        add("init, play, exit through a runner", kThreads, cycles * kThreads, good,
            CountHandles() - handles, PrivateKibibytes() - kibibytes);
    }
    if (ownCycles != 0) {
        EndBrowsers();
        RunAtOnce(1, true, journal, 0.6, 0.6);
        const std::ptrdiff_t handles = CountHandles();
        const std::ptrdiff_t kibibytes = PrivateKibibytes();
        const std::uint64_t good = RunAtOnce(ownCycles, true, journal, 0.6, 0.95);
        add("the same with a process for each browser", kThreads, ownCycles * kThreads, good,
            CountHandles() - handles, PrivateKibibytes() - kibibytes);
    }
    {
        const std::uint64_t calls = settings.shortForm ? 50 : 500;
        Counterpart counterpart;
        const OtherApartmentResult result = CallFromOtherApartment(calls);
        add("calls through IDispatch from another apartment", 2, result.done, result.good,
            result.handles, result.kibibytes);
        if (!result.wrong.empty()) {
            journal.Fault("from another apartment: " + result.wrong);
        }
    }
    journal.AddTable("Threads and apartments", table);
}

}  // namespace soak
