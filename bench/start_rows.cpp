// What tvnInit adds to the start of a browser.

#include <windows.h>

#include <optional>

#include "Interface/BrowserCommands.h"
#include "bench/PeerProcess.h"
#include "bench/Rows.h"
#include "examples/cpp/TalvernClient.h"
#include "pipeutils/PipeNames.h"
#include "tests/byte_peer.h"

namespace bench
{
namespace
{

/// Seconds from a pipe's creation until the program that is told of it has connected, and its
/// message is read.
double StartAndConnect(const std::string& program)
{
    const std::string id = static_cast<const char*>(tvn::CreateUuidString());
    std::optional<ChildProcess> browser;
    return Seconds([&] {
        tvn::tests::BytePeer pipe(R"(\\.\pipe\Talvern_)" + id);
        browser.emplace(program, "/pipeUuid=" + id + " /creatorUuid=" + id);
        tvn::tests::Bytes message;
        Require(pipe.Connect() && pipe.Read(message), "the browser does not call back");
    });
}

}  // namespace

Comparisons MeasureStart(const Settings& settings)
{
    const std::string program = static_cast<const char*>(tvn::BrowserPath({}));
    const Pairs pairs = Interleave(
        settings.seconds, 10,
        [&] {
            talvern::Client object;
            const double seconds = Seconds([&] { RequireOk(object.Init()); });
            RequireOk(object.Exit());
            return seconds / kMillisecond;
        },
        [&] { return StartAndConnect(program) / kMillisecond; });
    return {Compare("a stand-in", "starting it, its connect", "ms", pairs, Goal::kNoMore, 1.1)};
}

}  // namespace bench
