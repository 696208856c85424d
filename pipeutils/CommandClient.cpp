#include "pipeutils/CommandClient.h"

#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"
#include "basicslib/ScopeExit.h"

namespace tvn
{
namespace
{

/// The outcome of a command that got no reply.
CommandReply NoReply(int status, const wchar_t* command)
{
    LogDebug(status == sTimeout ? "[CommandClient::Execute] sTimeout (cmd = %S)"
                                : "[CommandClient::Execute] sFail (cmd = %S)",
             command);
    return {status, {}, {}};
}

}  // namespace

CommandClient::CommandClient(const ComString& pipeName, const boost::shared_ptr<Handle>& hInterrupt,
                             bool waitForPipe)
    : RemotePipeClient(pipeName), m_waitForPipe(waitForPipe), m_hInterrupt(hInterrupt)
{}

CommandReply CommandClient::Execute(DWORD timeout, const wchar_t* command,
                                    std::wstring_view arguments)
{
    if (m_busy) {
        return {};
    }
    m_busy = true;
    const ScopeExit busy([this] { m_busy = false; });
    const TimeBudget budget(timeout);
    if (!Connect(budget.Remaining())) {
        return {};
    }
    CommandReply reply;
    try {
        try {
            if (!m_protocol->SendCommand(m_requestId + 1, command, arguments, budget.Remaining())) {
                return NoReply(sTimeout, command);
            }
        } catch (const WritePipeError&) {
            NoReply(sFail, command);  // the read decides: it knows whether the instance is gone
        }
        m_protocol->ReceiveReply(++m_requestId, reply, budget.Remaining());
        return reply;
    } catch (const ReadPipeTimeout&) {
        return NoReply(sTimeout, command);
    } catch (const PipeException&) {
        return NoReply(sFail, command);
    }
}

bool CommandClient::Connect(DWORD timeout)
{
    if (m_protocol) {
        return true;
    }
    try {
        const boost::shared_ptr<Handle> pipe = m_waitForPipe ? OpenPipe(timeout) : OpenPipe();
        m_protocol.emplace(pipe->Get(), m_hInterrupt ? m_hInterrupt->Get() : nullptr);
        return true;
    } catch (const PipeException& exception) {
        LogDebug("hPipe == INVALID_HANDLE_VALUE (0x%08X)",
                 static_cast<unsigned int>(exception.GetError()));
        return false;
    }
}

}  // namespace tvn
