#include "pipeutils/RemotePipeClient.h"

#include <algorithm>
#include <boost/make_shared.hpp>

#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"
#include "basicslib/TimeBudget.h"

namespace tvn
{

RemotePipeClient::RemotePipeClient(const ComString& pipeName)
    : m_pipeName(pipeName), m_hPipe(boost::make_shared<Handle>(INVALID_HANDLE_VALUE))
{}

boost::shared_ptr<Handle> RemotePipeClient::OpenPipe(const char* name)
{
    LogDebug("[RemotePipeClient::OpenPipe] %s", name);
    auto pipe = boost::make_shared<Handle>([name] {
        return CreateFileA(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OVERLAPPED, nullptr);
    });
    if (!pipe->IsValid()) {
        const DWORD error = GetLastError();
        LogDebug("[RemotePipeClient::OpenPipe] CreateFile failed with code 0x%08X",
                 static_cast<unsigned int>(error));
        throw PipeException(error, __FILE__, __LINE__);
    }
    DWORD mode = PIPE_READMODE_MESSAGE;
    if (!SetNamedPipeHandleState(pipe->Get(), &mode, nullptr, nullptr)) {
        const DWORD modeError = GetLastError();
        LogDebug("[RemotePipeClient::OpenPipe] SetNamedPipeHandleState failed with code 0x%08X",
                 static_cast<unsigned int>(modeError));
        throw PipeException(modeError, __FILE__, __LINE__);
    }
    return pipe;
}

boost::shared_ptr<Handle> RemotePipeClient::OpenPipe()
{
    if (!m_hPipe->IsValid()) {
        m_hPipe = OpenPipe(static_cast<const char*>(m_pipeName));
    }
    return m_hPipe;
}

boost::shared_ptr<Handle> RemotePipeClient::OpenPipe(DWORD timeout)
{
    // A browser that has just called back may not serve its pipe yet, and nothing signals that a
    // busy pipe has become free: retry in both cases.
    constexpr DWORD kPause = 100;
    const TimeBudget budget(timeout);
    for (;;) {
        try {
            return OpenPipe();
        } catch (const PipeException&) {
            const DWORD left = budget.Remaining();
            if (left == 0) {
                throw;
            }
            Sleep(std::min(left, kPause));
        }
    }
}

}  // namespace tvn
