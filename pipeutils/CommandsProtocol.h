#pragma once

#include <string_view>

#include "basicslib/ComString.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/BaseProtocol.h"
#include "pipeutils/MessageBuffer.h"
#include "pipeutils/PipeOperation.h"

namespace tvn
{

/// The outcome of a command: the instance's reply, or the status of a failure, without a text.
struct CommandReply
{
    int status = sFail;
    std::wstring_view text;  ///< a part of `message`, valid as long as that is held
    MessageBuffer message;
};

/// The messages of a command pipe, both directions. A command is the request id, the command's name
/// and its argument; a reply is the id of the command it answers, a status and a text. Time-outs
/// are milliseconds; failures are thrown as exceptions of the PipeException family.
///
/// A command whose write does not complete at once stays pending, and keeps its buffer, until the
/// instance has read it. Destroying this object, on any thread, cancels it.
class CommandsProtocol : public BaseProtocol
{
  public:
    /// Both handles are borrowed, see `BaseProtocol`.
    CommandsProtocol(HANDLE hPipe, HANDLE hInterrupt) noexcept
        : BaseProtocol(hPipe, hInterrupt), m_command(hPipe)
    {}

    /// Client side: serializes a command, waits until an earlier write that is still pending has
    /// ended, whatever its outcome, and starts to write this command without waiting for it.
    /// Messages that arrive meanwhile are dropped: the other side may be waiting for one of them to
    /// be read before it reads, which would be a deadlock. False when the earlier write does not
    /// end in time; nothing is then written. Throws WritePipeError when the write fails at once or
    /// is short, and everything that ReadPipe throws except for a time-out.
    bool SendCommand(unsigned int id, std::wstring_view command, std::wstring_view arguments,
                     DWORD timeout);

    /// Client side: reads exactly one reply.
    void ReadReply(unsigned int& id, CommandReply& reply, DWORD timeout);

    /// Client side: reads replies until one carries `expectedId` and drops the others, which are
    /// late answers to commands that timed out. All of it takes up to `timeout`.
    void ReceiveReply(unsigned int expectedId, CommandReply& reply, DWORD timeout);

    /// Instance side: reads a command.
    void ReceiveCommand(unsigned int& id, ComString& command, ComString& arguments, DWORD timeout);

    /// Instance side: writes the reply to the command with this id.
    void SendReply(unsigned int id, int status, std::wstring_view reply, DWORD timeout);

  private:
    bool AwaitCommand(DWORD timeout);
    void CollectCommand() noexcept;

    MessageBuffer m_bytes;  // of the pending command; outlives its write
    DWORD m_untraced = 0;   // its size until it is logged, then 0
    PipeOperation m_command;
};

}  // namespace tvn
