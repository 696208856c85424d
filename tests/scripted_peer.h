// The other side of a pipe, as a test writes it down: what it expects, and what it answers when.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/byte_peer.h"

namespace tvn::tests
{

/// Awaits a message, pauses, and answers.
struct Step
{
    std::optional<Bytes> expected;    ///< none: nothing is awaited
    std::vector<Bytes> replies = {};  ///< a message each
    DWORD delay = 0;                  ///< milliseconds before the replies
    DWORD patience = 20000;           ///< a reply not read by then is cancelled
};

using Script = std::vector<Step>;

/// The server end of a message pipe. A test uses it by hand, or has it perform a script on a thread
/// of its own. A message that does not come, or is another one, fails the test.
class ScriptedPeer : public BytePeer
{
  public:
    /// Makes the pipe, so that a client finds it.
    explicit ScriptedPeer(const std::string& name = R"(\\.\pipe\TalvernTest)",
                          DWORD bufferSize = 1024);

    /// The pipe's other end, opened as the product opens it.
    boost::shared_ptr<Handle> Client() const { return Open(m_name); }

    /// Awaits the client and performs one more script; the one before finishes first.
    void Perform(Script script);

    /// By hand, while no script runs: writes or reads one message within some seconds.
    void Send(const Bytes& bytes);
    Bytes Receive();

  private:
    std::string m_name;
    std::jthread m_thread;
};

}  // namespace tvn::tests
