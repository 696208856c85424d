#include "pipeutils/MacrosClient.h"

#include <boost/make_shared.hpp>

#include "basicslib/InstanceProtocol.h"
#include "basicslib/StatusCode.h"

namespace tvn
{

MacrosClient::MacrosClient(const ComString& pipeName, const boost::shared_ptr<Handle>& hInterrupt,
                           bool waitForPipe)
    : m_commandClient(boost::make_shared<CommandClient>(pipeName, hInterrupt, waitForPipe))
{}

void MacrosClient::Execute(DWORD timeout, const ComString& command, const ComString& arguments,
                           ComString& reply, int& status)
{
    const boost::shared_ptr<CommandClient> client = m_commandClient;
    client->Execute(timeout, command, arguments, reply, status);
}

int MacrosClient::AuxAttachIfFree(DWORD timeout, const ComString& creatorUuid)
{
    ComString reply;
    int status = sFail;
    Execute(timeout, kCommandAttachIfFree, creatorUuid, reply, status);
    return status;
}

ComString MacrosClient::AuxAttachedCount(DWORD timeout)
{
    ComString reply;
    int status = sFail;
    Execute(timeout, kCommandAttachedCount, ComString(), reply, status);
    return status == sOk ? reply : ComString(L"");
}

}  // namespace tvn
