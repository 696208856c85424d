#include "pipeutils/MacrosClient.h"

#include <boost/make_shared.hpp>

#include "basicslib/InstanceProtocol.h"

namespace tvn
{

MacrosClient::MacrosClient(const ComString& pipeName, const boost::shared_ptr<Handle>& hInterrupt,
                           bool waitForPipe)
    : m_commandClient(boost::make_shared<CommandClient>(pipeName, hInterrupt, waitForPipe))
{}

CommandReply MacrosClient::Execute(DWORD timeout, const wchar_t* command,
                                   std::wstring_view arguments)
{
    const boost::shared_ptr<CommandClient> client = m_commandClient;
    return client->Execute(timeout, command, arguments);
}

int MacrosClient::AuxAttachIfFree(DWORD timeout, const ComString& creatorUuid)
{
    return Execute(timeout, kCommandAttachIfFree, ToView(creatorUuid)).status;
}

ComString MacrosClient::AuxAttachedCount(DWORD timeout)
{
    const CommandReply reply = Execute(timeout, kCommandAttachedCount, {});
    return ToComString(reply.status == sOk ? reply.text : std::wstring_view());
}

}  // namespace tvn
