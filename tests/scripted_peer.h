// The other side of a pipe, as a test writes it down: what it expects, and what it answers when.
#pragma once

#include <windows.h>

#include <gmock/gmock.h>

#include <boost/shared_ptr.hpp>
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
    std::optional<testing::Matcher<Bytes>> expected;  ///< none: nothing is awaited
    std::vector<Bytes> replies = {};                  ///< a message each
    DWORD delay = 0;                                  ///< milliseconds before the replies
    bool closes = false;                              ///< the connection, after the replies
    DWORD patience = INFINITE;                        ///< a reply not read by then is cancelled
};

using Script = std::vector<Step>;

/// One end of a message pipe. A test uses it by hand, or has it perform a script on a thread of its
/// own. A script goes on with the next client when one goes away; the last connection stays open as
/// long as the peer exists. A message that does not come, or is another one, fails the test.
class ScriptedPeer
{
  public:
    /// Makes the pipe, so that a client finds it, and performs `script` if it has any steps.
    explicit ScriptedPeer(const std::string& name = "\\\\.\\pipe\\TalvernTest", Script script = {},
                          DWORD bufferSize = 1024);

    /// The client's part on a pipe that somebody else has made.
    explicit ScriptedPeer(const boost::shared_ptr<Handle>& client);

    /// Gives a script that still runs some seconds to finish.
    ~ScriptedPeer();

    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    /// The pipe's other end, opened as the product opens it.
    boost::shared_ptr<Handle> Client() const;

    /// Performs one more script; the one before finishes first.
    void Perform(Script script);

    /// By hand, for peers without a script: writes or reads one message within some seconds.
    void Send(const Bytes& bytes);
    Bytes Receive();
    bool HasMessage() const { return m_end->HasMessage(); }

  private:
    void Join();
    void Run(const Step& step, const std::string& name);
    bool NextClient();

    std::string m_name;
    const boost::shared_ptr<Handle> m_done;  ///< the script has finished
    const boost::shared_ptr<Handle> m_stop;  ///< ends it if it has not
    std::optional<BytePeer> m_end;
    std::optional<BytePeer> m_spare;  ///< the end that the next client connects to
    bool m_connected = false;
    std::thread m_thread;
};

}  // namespace tvn::tests
