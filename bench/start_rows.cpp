// What tvnInit adds to the start of a browser.

#include <windows.h>

#include <thread>

#include "Interface/BrowserCommands.h"
#include "basicslib/Handle.h"
#include "bench/PeerProcess.h"
#include "bench/Rows.h"
#include "bench/ScriptObject.h"
#include "pipeutils/PipeNames.h"
#include "pipeutils/RemotePipeClient.h"

namespace bench
{
namespace
{

constexpr DWORD kPipeMode = PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT;

tvn::Handle NewPipe(const std::string& name)
{
    return tvn::Handle(CreateNamedPipeA(name.c_str(), PIPE_ACCESS_DUPLEX, kPipeMode,
                                        PIPE_UNLIMITED_INSTANCES, 1024, 1024, 5000, nullptr));
}

/// Seconds from a pipe's creation until the program that is told of it has connected, and its
/// message is read.
double StartAndConnect(const std::string& program)
{
    const std::string id = static_cast<const char*>(tvn::CreateUuidString());
    double seconds = 0;
    const auto start = std::chrono::steady_clock::now();
    const tvn::Handle pipe = NewPipe(R"(\\.\pipe\Talvern_)" + id);
    const ChildProcess browser(program, "/pipeUuid=" + id + " /creatorUuid=" + id);
    ConnectNamedPipe(pipe.Get(), nullptr);
    DWORD message[2] = {};
    DWORD bytes = 0;
    Require(ReadFile(pipe.Get(), message, sizeof message, &bytes, nullptr) != FALSE,
            "the browser does not call back");
    seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return seconds;
}

}  // namespace

Comparisons MeasureStart(const Settings& settings)
{
    const std::string program = static_cast<const char*>(tvn::BrowserPath({}));
    const Pairs pairs = Interleave(
        settings.seconds, 10,
        [&] {
            ScriptObject object;
            const double seconds = Seconds([&] { object.Start(); });
            object.Exit();
            return seconds / kMillisecond;
        },
        [&] { return StartAndConnect(program) / kMillisecond; });
    return {Compare("a stand-in", "starting it, its connect", "ms", pairs, Goal::NoMore, 1.1)};
}

Comparisons MeasureRetry(const Settings& settings)
{
    constexpr DWORD kDelays[] = {0, 1, 10, 50, 99};
    const std::string name = R"(\\.\pipe\talvern-bench-late)";
    // A pipe that comes so much later than the first attempt to open it.
    const auto open = [&](DWORD delay, const auto& attempt) {
        const tvn::Handle done(CreateEventA(nullptr, TRUE, FALSE, nullptr));
        const tvn::Handle begun(CreateEventA(nullptr, TRUE, FALSE, nullptr));
        const std::jthread late([&] {
            WaitForSingleObject(begun.Get(), INFINITE);
            Sleep(delay);
            const tvn::Handle pipe = NewPipe(name);
            WaitForSingleObject(done.Get(), INFINITE);
        });
        const double seconds = Seconds([&] {
            SetEvent(begun.Get());
            attempt();
        });
        SetEvent(done.Get());
        return seconds / kMillisecond;
    };
    const auto patiently = [&] {
        Require(tvn::RemotePipeClient(name.c_str()).OpenPipe(10000)->IsValid(),
                "a late pipe cannot be opened");
    };
    const auto restlessly = [&] {
        for (;;) {
            const tvn::Handle pipe(CreateFileA(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                               nullptr, OPEN_EXISTING, 0, nullptr));
            if (pipe.IsValid()) {
                return;
            }
            Sleep(0);
        }
    };
    Comparisons lines;
    for (const DWORD delay : kDelays) {
        const Pairs pairs = Interleave(
            settings.seconds / 4, 5, [&] { return open(delay, patiently); },
            [&] { return open(delay, restlessly); });
        lines.push_back(Compare(std::to_string(delay) + " ms late", "trying without a pause", "ms",
                                pairs, Goal::None, 0));
    }
    return lines;
}

}  // namespace bench
