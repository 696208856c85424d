#pragma once

#include "basicslib/ComString.h"
#include "pipeutils/BaseProtocol.h"

namespace tvn
{

/// The messages of a command pipe, both directions. A command is the request id, the command's name
/// and its argument; a reply is the id of the command it answers, a status and a text. Time-outs
/// are milliseconds; failures are thrown as exceptions of the PipeException family.
class CommandsProtocol : public BaseProtocol
{
  public:
    using BaseProtocol::BaseProtocol;

    /// Client side: writes a command. Null texts travel as empty ones.
    void SendCommand(unsigned int id, const ComString& command, const ComString& arguments,
                     DWORD timeout);

    /// Client side: reads exactly one reply, whatever its id.
    void ReadReply(unsigned int& id, int& status, ComString& reply, DWORD timeout);

    /// Client side: reads replies until one carries `expectedId` and drops the others, which are
    /// late answers to commands that timed out. `status` and `reply` are overwritten by each.
    void ReceiveReply(unsigned int expectedId, int& status, ComString& reply, DWORD timeout);

    /// Instance side: reads a command.
    void ReceiveCommand(unsigned int& id, ComString& command, ComString& arguments, DWORD timeout);

    /// Instance side: writes the reply to the command with this id.
    void SendReply(unsigned int id, int status, const ComString& reply, DWORD timeout);
};

}  // namespace tvn
