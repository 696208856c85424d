#pragma once

#include <windows.h>

#include <boost/shared_ptr.hpp>
#include <string_view>

#include "basicslib/ComString.h"
#include "pipeutils/CommandClient.h"

namespace tvn
{

/// The connection of a scripting object to its browser instance: a `CommandClient` and the two
/// auxiliary commands that every instance knows. A running command keeps what it needs alive, so
/// the object may be released by a message that is dispatched meanwhile.
class MacrosClient
{
  public:
    /// The arguments are those of `CommandClient`.
    MacrosClient(const ComString& pipeName, const boost::shared_ptr<Handle>& hInterrupt,
                 bool waitForPipe);
    virtual ~MacrosClient() = default;

    /// Runs one command; see `CommandClient::Execute`.
    CommandReply Execute(DWORD timeout, const wchar_t* command, std::wstring_view arguments);

    /// Asks the instance to attach itself to this client. `creatorUuid` identifies the caller to an
    /// instance that it has started; otherwise it is empty. Returns `sOk` when the instance has
    /// accepted, any other status when it has not.
    int AuxAttachIfFree(DWORD timeout, const ComString& creatorUuid);

    /// The number of attached clients as the instance reports it, an empty text on any failure.
    ComString AuxAttachedCount(DWORD timeout);

  private:
    boost::shared_ptr<CommandClient> m_commandClient;
};

}  // namespace tvn
