#include "pipeutils/CommandsProtocol.h"

#include "basicslib/Exceptions.h"

namespace tvn
{

Serializer CommandsProtocol::NewCommand(unsigned int id, std::wstring_view command,
                                        std::wstring_view arguments)
{
    Serializer message(sizeof id + Serializer::TextSize(command.size()) +
                       Serializer::TextSize(arguments.size()));
    message.AddUInt(id);
    message.AddText(command);
    message.AddText(arguments);
    return message;
}

unsigned int CommandsProtocol::ReadReply(CommandReply& reply, DWORD timeout)
{
    DWORD size = 0;
    const DWORD received = ReadMessage(size, reply.message, timeout);
    Deserializer fields(received + kLengthFieldSize, reply.message);
    unsigned int id = 0;
    fields.ReadUInt(id);
    fields.ReadInt(reply.status);
    reply.text = fields.ReadText();
    return id;
}

CommandReply CommandsProtocol::ReceiveReply(unsigned int expectedId, const TimeBudget& budget)
{
    // With the time spent, replies that are already in the pipe are still taken, but not without
    // end: an instance that sends stale ones as fast as they are read must not hold the caller.
    constexpr unsigned int kReadsAfterTime = 64;

    for (unsigned int readsAfterTime = 0;;) {
        const DWORD left = budget.Remaining();
        if (left == 0 && ++readsAfterTime > kReadsAfterTime) {
            throw ReadPipeTimeout(WAIT_TIMEOUT, __FILE__, __LINE__);
        }
        CommandReply reply;
        if (ReadReply(reply, left) == expectedId) {
            return reply;
        }
    }
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
    Serializer message(sizeof id + sizeof status + Serializer::TextSize(reply.size()));
    message.AddUInt(id);
    message.AddInt(status);
    message.AddText(reply);
    WriteMessage(message, timeout);
}

}  // namespace tvn
