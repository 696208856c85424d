// The other side of everything: a runner service, the instance that it starts and lists, and the
// instance's callback.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "tests/byte_peer.h"

namespace tvn::tests
{

/// The moments at which the scripting object waits for the other side, in the order in which they
/// come in an attach through the runner service, a start and an end.
enum class Stage {
    kRunner,
    kList,
    kStart,
    kCallback,
    kAttach,
    kPlay,
    kDisplay,
    kEnd,
    kWaitForExit,
    kTerminate
};

/// One moment: what was asked, and the answer that it should get.
struct Turn
{
    BytePeer& peer;
    std::uint32_t id = 0;        ///< of the request
    std::wstring argument = {};  ///< of a command
    Bytes answer = {};           ///< a whole message; empty for the moments without one
    Bytes request = {};          ///< to the runner, with 0 in the place of its id
};

/// In the place of an answer: reads no further until the other side closes.
bool Hold(Turn& turn);

/// Does all that it is asked and answers at once, in threads of this process, unless it is told to
/// do something else. The machine has one runner's pipe, so there can be one of these at a time.
class OtherSide
{
  public:
    /// What is done in the place of the answer. False: the connection is closed.
    using Act = std::function<bool(Turn& turn)>;

    /// What a play is answered with, and the value that names the instance's window.
    static constexpr const char* kPlayed = "played[EXTRACT]well";
    static constexpr std::uint32_t kWindow = 0x7A110001;

    enum class Pipes { kBoth, kRunnerOnly };
    explicit OtherSide(Pipes pipes = Pipes::kBoth, std::size_t ends = 6);

    /// Does `act` the next time that `stage` comes, once. `Stage::kRunner` comes when a client has
    /// connected to the runner, before anything is read. Callable from any thread.
    void Next(Stage stage, Act act);

    /// Forgets the acts whose stage has not come yet.
    void Oblige();

    /// Expects this request, with 0 in the place of its id, and gives this answer.
    static Act Expects(const Bytes& request, const Bytes& answer);

  private:
    void ServeRunner(BytePeer& peer);
    void ServeCommands(BytePeer& peer);
    void CallBack(const std::wstring& commandLine, BytePeer& runner);
    bool Answer(Stage stage, Turn& turn);
    static Bytes RunnerAnswer(std::uint32_t type, std::uint32_t id);

    std::mutex m_mutex;
    std::map<Stage, Act> m_next;
    std::optional<PeerHost> m_commands;
    std::optional<PeerHost> m_runner;
};

}  // namespace tvn::tests
