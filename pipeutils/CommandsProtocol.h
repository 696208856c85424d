#pragma once

#include <string_view>

#include "basicslib/ComString.h"
#include "basicslib/StatusCode.h"
#include "basicslib/TimeBudget.h"
#include "pipeutils/BaseProtocol.h"
#include "pipeutils/MessageBuffer.h"

namespace tvn
{

/// What became of a command: the instance's answer, or the status of a failure without a text.
struct CommandReply
{
    int status = sFail;
    std::wstring_view text;  ///< a part of `message`, valid as long as that is held
    MessageBuffer message;
};

/// The messages of a command pipe, both directions. A command is the request id, the command's name
/// and its argument; a reply is the id of the command it answers, a status and a text. Time-outs
/// are milliseconds; failures are thrown as exceptions of the PipeException family.
class CommandsProtocol : public BaseProtocol
{
  public:
    using BaseProtocol::BaseProtocol;

    /// Client side: adds up a command, to be written by `StartMessage` or `WriteMessage`.
    static Serializer NewCommand(unsigned int id, std::wstring_view command,
                                 std::wstring_view arguments);

    /// Client side: reads exactly one reply and returns its id.
    unsigned int ReadReply(CommandReply& reply, DWORD timeout);

    /// Client side: reads replies until one carries `expectedId` and drops the others, which are
    /// late answers to commands that timed out. All of it takes what is left of `budget`.
    CommandReply ReceiveReply(unsigned int expectedId, const TimeBudget& budget);

    /// Instance side: reads a command.
    void ReceiveCommand(unsigned int& id, ComString& command, ComString& arguments, DWORD timeout);

    /// Instance side: writes the reply to the command with this id.
    void SendReply(unsigned int id, int status, std::wstring_view reply, DWORD timeout);
};

}  // namespace tvn
