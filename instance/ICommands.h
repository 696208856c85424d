#pragma once

#include <boost/shared_ptr.hpp>
#include <functional>
#include <string>

#include "instance/Connection.h"
#include "instance/PlayRequest.h"

namespace instance
{

/// Where the reply to one command goes. It may be given later, from any thread, or not at all; when
/// its client has gone it goes nowhere.
struct Answer
{
    void Give(int status, const std::wstring& text = {}) const
    {
        connection->Reply(id, status, text);
    }

    boost::shared_ptr<Connection> connection;
    unsigned int id;
};

/// What an instance makes of the commands of its client. The operations are called on the thread
/// that reads the client's commands, one at a time, and should return soon, because the next one is
/// read only then. An earlier play may not have been answered yet: its client has given it up. One
/// that throws ends the client's connection.
class ICommands
{
  public:
    virtual ~ICommands() = default;

    /// A client wants to attach. `decide` is to be called once, now or later, from any thread, and
    /// answers it.
    virtual void Attach(const std::function<void(bool accepted)>& decide) = 0;

    virtual void Play(const PlayRequest& request, const Answer& answer) = 0;

    virtual void Display(const std::wstring& text, const Answer& answer) = 0;

    /// The instance is to end once its answer is out.
    virtual void End(const Answer& answer) = 0;

    /// The connection of the attached client has ended. The instance is free for the next one when
    /// this returns.
    virtual void Detached() = 0;

    /// The process is about to end: ends what it has started elsewhere, within some seconds. Called
    /// on the window's thread; commands may still come meanwhile.
    virtual void Close() = 0;
};

}  // namespace instance
