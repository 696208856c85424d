#include "pipeutils/SimplePipeServer.h"

#include <boost/make_shared.hpp>
#include <utility>

#include "basicslib/ErrorReportManager.h"
#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"

namespace tvn
{

SimplePipeServer::~SimplePipeServer()
{
    try {
        m_hPipe.reset();
    } catch (const BaseException& exception) {
        ErrorReportManager::ReportError(exception, __LINE__, __FILE__);
    } catch (...) {
        ErrorReportManager::ReportError(__LINE__, __FILE__);
    }
}

void SimplePipeServer::Create(const char* name, bool allowAllToAccessPipe)
{
    if (m_hPipe) {
        throw InvalidOperationException();
    }
    DWORD error = 0;
    m_hPipe =
        boost::make_shared<Handle>([&] { return CreatePipe(name, allowAllToAccessPipe, error); });
    if (!m_hPipe->IsValid()) {
        throw Win32Exception(error, __FILE__, __LINE__);
    }
    m_overlapped = boost::make_shared<Overlapped>(m_hPipe->Get());
    if (!ConnectPipe(m_hPipe->Get(), m_overlapped, error)) {
        throw Win32Exception(error, __FILE__, __LINE__);
    }
}

boost::shared_ptr<Handle> SimplePipeServer::WaitForClient(DWORD timeout)
{
    if (!m_hPipe || !m_hPipe->IsValid()) {
        LogDebug("SimplePipeServer, m_hPipe == INVALID_HANDLE_VALUE");
        throw InvalidOperationException();
    }
    if (!m_overlapped || !m_overlapped->Wait(timeout)) {
        LogDebug("SimplePipeServer, Timeout %d", static_cast<int>(timeout));
        return {};
    }
    m_overlapped.reset();  // its destructor cancels this thread's pending I/O on the pipe
    return std::move(m_hPipe);
}

}  // namespace tvn
