#include "pipeutils/CommandsProtocol.h"

#include "basicslib/Exceptions.h"
#include "basicslib/TimeBudget.h"

namespace tvn
{

void CommandsProtocol::SendCommand(unsigned int id, const ComString& command,
                                   const ComString& arguments, DWORD timeout)
{
    Serializer message;
    message.AddUInt(id);
    message.AddString(command);
    message.AddString(arguments);
    WriteMessage(message, timeout);
}

void CommandsProtocol::ReadReply(unsigned int& id, int& status, ComString& reply, DWORD timeout)
{
    boost::shared_ptr<Deserializer> message;
    ReadMessage(message, timeout);
    message->ReadUInt(id);
    message->ReadInt(status);
    message->ReadString(reply);
}

void CommandsProtocol::ReceiveReply(unsigned int expectedId, int& status, ComString& reply,
                                    DWORD timeout)
{
    // With the time spent, replies that are already in the pipe are still taken, but not without
    // end: an instance that sends stale ones as fast as they are read must not hold the caller.
    constexpr unsigned int kReadsAfterTime = 64;
    constexpr unsigned int kNoId = 0xFFFFFFFF;

    const TimeBudget budget(timeout);
    unsigned int readsAfterTime = 0;
    unsigned int id = kNoId;
    do {
        id = kNoId;
        const DWORD left = budget.Remaining();
        if (left == 0 && ++readsAfterTime > kReadsAfterTime) {
            throw ReadPipeTimeout(WAIT_TIMEOUT, __FILE__, __LINE__);
        }
        ReadReply(id, status, reply, left);
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

void CommandsProtocol::SendReply(unsigned int id, int status, const ComString& reply, DWORD timeout)
{
    Serializer message;
    message.AddUInt(id);
    message.AddInt(status);
    message.AddString(reply);
    WriteMessage(message, timeout);
}

}  // namespace tvn
