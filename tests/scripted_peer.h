// The other side of a pipe, as a test writes it down: what it expects, and what it answers when.
#pragma once

#include <windows.h>

#include <gmock/gmock.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <vector>

#include "basicslib/Handle.h"

namespace tvn::tests
{

using Bytes = std::vector<unsigned char>;

/// Little-endian 32-bit words, for messages written out by hand.
Bytes Words(std::initializer_list<std::uint32_t> words);

void AppendField(Bytes& message, std::uint32_t number);
void AppendField(Bytes& message, std::string_view text);
void SetLength(Bytes& message);

/// A message of numbers and texts behind its length.
template <class... Fields>
Bytes Message(const Fields&... fields)
{
    Bytes message(4);
    const auto append = [&message](const auto& field) {
        if constexpr (std::is_convertible_v<decltype(field), std::string_view>) {
            AppendField(message, std::string_view(field));
        } else {
            AppendField(message, static_cast<std::uint32_t>(field));
        }
    };
    (append(fields), ...);
    SetLength(message);
    return message;
}

/// Awaits a message, pauses, and answers.
struct Step
{
    std::optional<testing::Matcher<Bytes>> expected;  ///< none: nothing is awaited
    std::vector<Bytes> replies = {};                  ///< a message each
    DWORD delay = 0;                                  ///< milliseconds before the replies
    bool closes = false;                              ///< the connection, after the replies
    DWORD patience = INFINITE;                        ///< a reply not read by then is taken back
};

using Script = std::vector<Step>;

/// One end of a message pipe. A test uses it by hand, or has it perform a script on a thread of its
/// own. A script goes on with the next client when one goes away; the last connection stays open as
/// long as the peer lives. A message that does not come, or is another, fails the test.
class ScriptedPeer
{
  public:
    /// Makes the pipe, so that a client finds it, and performs `script` if it has any steps.
    explicit ScriptedPeer(const std::string& name = "\\\\.\\pipe\\TalvernTest", Script script = {});

    /// The client's part on a pipe that somebody else has made.
    explicit ScriptedPeer(const boost::shared_ptr<Handle>& client);

    /// Gives a script that still runs some seconds to come to its end.
    ~ScriptedPeer();

    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    /// The pipe's other end, opened by the product.
    boost::shared_ptr<Handle> Client() const;

    /// Performs one more script; the one before comes to its end first.
    void Perform(Script script);

    /// By hand, for peers without a script: writes or reads one message within some seconds.
    void Send(const Bytes& bytes);
    Bytes Receive();

  private:
    void Join();
    void Run(const Step& step, const std::string& name);
    bool NextClient();
    bool Read(Bytes& message, DWORD timeout);
    bool Write(const Bytes& message, DWORD timeout);
    template <class Start>
    bool Complete(Start start, DWORD timeout, DWORD& bytes);

    std::string m_name;
    boost::shared_ptr<Handle> m_end;
    boost::shared_ptr<Handle> m_spare;  ///< where the next client finds its place
    bool m_connected = false;
    const boost::shared_ptr<Handle> m_event;  ///< of the operation that runs
    const boost::shared_ptr<Handle> m_done;   ///< the script has come to its end
    const boost::shared_ptr<Handle> m_stop;   ///< and this is its end if it has not
    std::thread m_thread;
};

}  // namespace tvn::tests
