#pragma once

#include <string_view>

#include "basicslib/ComString.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/BaseProtocol.h"
#include "pipeutils/MessageBuffer.h"
#include "pipeutils/PipeOperation.h"

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
///
/// A command that the pipe does not take at once stays under way, with its bytes, until the
/// instance has read it or this object goes, which cancels it, on any thread.
class CommandsProtocol : public BaseProtocol
{
  public:
    /// Both handles are borrowed, see `BaseProtocol`.
    CommandsProtocol(HANDLE hPipe, HANDLE hInterrupt) noexcept
        : BaseProtocol(hPipe, hInterrupt), m_command(hPipe)
    {}

    /// Client side: lays out a command, waits for the end of an earlier one that is still under
    /// way, whatever becomes of that, and starts to write this one, without a wait. Messages that
    /// come meanwhile are dropped: the other side may be waiting for somebody to take one before it
    /// reads. False when the earlier one has not ended in time; nothing is then written. Throws
    /// WritePipeError when the write fails at once or is short, and as ReadPipe does, but for a
    /// time-out.
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

    MessageBuffer m_bytes;  // of the command under way; outlives its write
    DWORD m_untraced = 0;   // its size, as long as it has no line in the log
    PipeOperation m_command;
};

}  // namespace tvn
