#include "pipeutils/CommandClient.h"

#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"
#include "basicslib/StatusCode.h"
#include "basicslib/TimeBudget.h"
#include "pipeutils/CommandsProtocol.h"

namespace tvn
{
namespace
{

/// Keeps a flag set from construction to destruction.
class FlagScope
{
  public:
    explicit FlagScope(bool& flag) noexcept : m_flag(flag) { m_flag = true; }
    ~FlagScope() { m_flag = false; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;

  private:
    bool& m_flag;
};

void LogNoPipe(DWORD error)
{
    LogDebug("hPipe == INVALID_HANDLE_VALUE (0x%08X)", static_cast<unsigned int>(error));
}

}  // namespace

CommandClient::CommandClient(const ComString& pipeName, const boost::shared_ptr<Handle>& hInterrupt,
                             bool waitForPipe)
    : RemotePipeClient(pipeName), m_waitForPipe(waitForPipe), m_hInterrupt(hInterrupt)
{}

void CommandClient::Execute(DWORD timeout, const ComString& command, const ComString& arguments,
                            ComString& reply, int& status)
{
    status = sFail;
    if (m_busy) {
        return;
    }
    const FlagScope busy(m_busy);
    const TimeBudget budget(timeout);
    boost::shared_ptr<Handle> pipe;
    try {
        pipe = m_waitForPipe ? OpenPipe(budget.Remaining()) : OpenPipe();
    } catch (const PipeException& exception) {
        LogNoPipe(exception.GetError());
        return;
    }
    RunCommand(pipe->Get(), budget.Remaining(), command, arguments, reply, status);
}

void CommandClient::RunCommand(HANDLE hPipe, DWORD timeout, const ComString& command,
                               const ComString& arguments, ComString& reply, int& status)
{
    if (!Handle::IsValid(hPipe)) {
        LogNoPipe(GetLastError());
        status = sFail;
        return;
    }
    const TimeBudget budget(timeout);
    const boost::shared_ptr<Handle> interrupt = m_hInterrupt;
    CommandsProtocol protocol(hPipe, interrupt ? interrupt->Get() : nullptr);
    const unsigned int id = ++m_requestId;
    try {
        protocol.SendCommand(id, command, arguments, timeout);
    } catch (const PipeException&) {
        LogDebug("[CommandClient::Execute] sFail (cmd = %S)", static_cast<const wchar_t*>(command));
        status = sFail;  // and the read below decides: it knows whether the instance is gone
    }

    int replyStatus = sFail;
    try {
        // What a write had to wait for is gone; one that was taken at once has cost nothing.
        protocol.ReceiveReply(id, replyStatus, reply, budget.Remaining());
        status = replyStatus;
    } catch (const ReadPipeTimeout&) {
        LogDebug("[CommandClient::Execute] sTimeout (cmd = %S)",
                 static_cast<const wchar_t*>(command));
        status = sTimeout;
    } catch (const PipeException&) {
        LogDebug("[CommandClient::Execute] sFail (cmd = %S)", static_cast<const wchar_t*>(command));
        status = sFail;
    }
}

}  // namespace tvn
