#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "soak/PipeHost.h"

namespace soak
{

/// The moments at which the scripting object waits for the other side, in the order in which an
/// attach through the runner service, a start and an end come to them.
enum class Stage : unsigned char {
    List,
    Start,
    Callback,
    Attach,
    Play,
    Display,
    End,
    WaitForExit,
    Terminate,
};

const char* NameOf(Stage stage);

/// One moment: what was asked, and the answer that it should get.
struct Turn
{
    PipeLink& link;
    std::uint32_t id;       ///< of the request
    std::wstring argument;  ///< of a command
    Bytes answer;           ///< a whole message
};

/// The other side of everything, in threads of this process: a runner service, the browser
/// instance that it starts and lists, and the instance's callback. It does all that it is asked
/// and answers at once, unless it is told what else to do.
///
/// The runner's pipe is one for the machine, so there can be one of these at a time.
class Counterpart
{
  public:
    /// Does what is done in the place of the answer. False: the connection is closed.
    using Act = std::function<bool(Turn& turn)>;

    /// What a play is answered with.
    static constexpr const wchar_t* kPlayed = L"played[EXTRACT]well";

    /// Which of its pipes it serves, and how.
    enum class Serves : unsigned char {
        All,
        RunnerOnly,
        CommandsOnly,
        DeafRunner,       ///< lets clients connect to the runner and reads nothing
        RunnerReadsPart,  ///< reads the first bytes of a request
    };
    explicit Counterpart(Serves serves = Serves::All, std::size_t ends = 6);

    /// Does `act` the next time that `stage` comes, once. Callable from any thread.
    void Next(Stage stage, Act act);

    /// Forgets what was to be done and has not come yet.
    void Oblige();

    /// Whether the runner lists an instance; without one, a start follows. It does at first.
    void ListInstance(bool listed);

    /// The value under which the instance is found.
    static std::uint32_t Window();

  private:
    void ServeRunner(PipeLink& link);
    void ServeCommands(PipeLink& link);
    bool Answer(Stage stage, Turn& turn);
    void CallBack(const std::wstring& commandLine, PipeLink& runner);
    Bytes RunnerAnswer(std::uint32_t type, std::uint32_t id) const;

    std::mutex m_mutex;
    std::map<Stage, Act> m_next;
    Serves m_serves;
    std::atomic<bool> m_listed{true};
    std::unique_ptr<PipeHost> m_commands;
    std::unique_ptr<PipeHost> m_runner;
};

}  // namespace soak
