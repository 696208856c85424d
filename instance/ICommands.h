#pragma once

#include <boost/shared_ptr.hpp>
#include <functional>
#include <string>

#include "instance/Connection.h"
#include "instance/PlayRequest.h"

namespace instance
{

/// Where the reply to one command goes. It may be given later, from any thread, or not at all; it
/// is dropped when the client has disconnected.
struct Answer
{
    void Give(int status, const std::wstring& text = {}) const
    {
        connection->Reply(id, status, text);
    }

    /// The same from a thread that may wait some seconds for a client that does not read.
    void GiveAndWait(int status, const std::wstring& text = {}) const
    {
        connection->ReplyAndWait(id, status, text);
    }

    boost::shared_ptr<Connection> connection;
    unsigned int id;
};

/// How an instance carries out the commands of its client. The operations are called on the thread
/// that reads the client's commands, one at a time, and should return soon, because the next one is
/// read only then. An earlier play may still be unanswered because its client has given up on it.
/// An operation that throws ends the client's connection.
class ICommands
{
  public:
    virtual ~ICommands() = default;

    /// A client wants to attach. `decide` is to be called once, now or later, from any thread, and
    /// answers it.
    virtual void Attach(const std::function<void(bool accepted)>& decide) = 0;

    virtual void Play(const PlayRequest& request, const Answer& answer) = 0;

    virtual void Display(const std::wstring& text, const Answer& answer) = 0;

    /// The instance is to end once its answer has been sent.
    virtual void End(const Answer& answer) = 0;

    /// The connection of the attached client has ended. The instance is free for the next one when
    /// this returns.
    virtual void Detached() = 0;

    /// The process is about to end: ends, within some seconds, what the instance has started
    /// elsewhere. Called on the window's thread; commands may still come meanwhile.
    virtual void Close() = 0;
};

}  // namespace instance
