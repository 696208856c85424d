#include "pipeutils/CommandsProtocol.h"

#include <utility>

#include "basicslib/Exceptions.h"
#include "basicslib/ScopeExit.h"
#include "basicslib/TimeBudget.h"

namespace tvn
{
namespace
{

/// The time left for the next one of a series of messages. Once it has run out, up to
/// `kStepsAfterTime` more may still be read without waiting; then ReadPipeTimeout is thrown.
DWORD TimeForNext(const TimeBudget& budget, unsigned int& takenAfterTime)
{
    const DWORD left = budget.Remaining();
    if (left == 0 && ++takenAfterTime > kStepsAfterTime) {
        throw ReadPipeTimeout(WAIT_TIMEOUT, __FILE__, __LINE__);
    }
    return left;
}

}  // namespace

bool CommandsProtocol::SendCommand(unsigned int id, std::wstring_view command,
                                   std::wstring_view arguments, DWORD timeout)
{
    // Copy before any wait: a window message that is dispatched may change the text behind
    // `arguments`.
    Serializer message;
    message.AddUInt(id);
    message.AddText(command);
    message.AddText(arguments);
    message.Serialize();
    if (!AwaitCommand(timeout)) {
        return false;
    }
    m_bytes = message.GetBuffer();
    const DWORD size = message.GetSize();
    const PipeOperation::Outcome outcome = m_command.Write(m_bytes.get(), size);
    if (m_command.IsPending()) {
        m_untraced = size;
        return true;
    }
    m_bytes.reset();
    FinishWrite(size, outcome);
    return true;
}

/// Waits for the pending command. False when it is not written in time.
bool CommandsProtocol::AwaitCommand(DWORD timeout)
{
    const TimeBudget budget(timeout);
    unsigned int behindTime = 0;
    try {
        while (m_command.IsPending() && !m_command.HasEnded()) {
            const DWORD left = TimeForNext(budget, behindTime);
            if (AwaitArrival(left, m_command.GetEvent()) && !DropMessage(budget)) {
                return false;
            }
        }
    } catch (const ReadPipeTimeout&) {
        return false;
    }
    CollectCommand();
    return true;
}

/// Logs, once, how many bytes of the pending command were written, and releases its buffer when the
/// write has ended.
void CommandsProtocol::CollectCommand() noexcept
{
    if (!m_command.IsPending()) {
        return;
    }
    DWORD written = 0;
    if (m_command.HasEnded()) {
        written = m_command.Take().bytes;
        m_bytes.reset();
    }
    if (m_untraced != 0) {
        LogWrite(std::exchange(m_untraced, 0), written);
    }
}

void CommandsProtocol::ReadReply(unsigned int& id, CommandReply& reply, DWORD timeout)
{
    reply = {};
    AwaitMessage(timeout);
    CollectCommand();  // a reply means the command was read: log the command first
    DWORD size = 0;
    const DWORD received = ReadArrivedMessage(size, reply.message);
    Deserializer fields(received + kLengthFieldSize, reply.message);
    fields.ReadUInt(id);
    fields.ReadInt(reply.status);
    reply.text = fields.ReadText();
}

void CommandsProtocol::ReceiveReply(unsigned int expectedId, CommandReply& reply, DWORD timeout)
{
    const ScopeExit collect([this] { CollectCommand(); });
    const TimeBudget budget(timeout);
    unsigned int behindTime = 0;
    unsigned int id = 0;
    do {
        ReadReply(id, reply, TimeForNext(budget, behindTime));
    } while (id != expectedId);
}

void CommandsProtocol::ReceiveCommand(unsigned int& id, ComString& command, ComString& arguments,
                                      DWORD timeout)
{
    boost::shared_ptr<Deserializer> message;
    ReadMessage(message, timeout);
    message->ReadUInt(id);
    message->ReadString(command);
    message->ReadString(arguments);
}

void CommandsProtocol::SendReply(unsigned int id, int status, std::wstring_view reply,
                                 DWORD timeout)
{
    Serializer message;
    message.AddUInt(id);
    message.AddInt(status);
    message.AddText(reply);
    WriteMessage(message, timeout);
}

}  // namespace tvn
