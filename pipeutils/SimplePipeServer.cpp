#include "pipeutils/SimplePipeServer.h"

#include <boost/make_shared.hpp>

#include "basicslib/ErrorReportManager.h"
#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"

namespace tvn
{

SimplePipeServer::~SimplePipeServer()
{
    try {
        const Handle pipe(m_hPipe);
    } catch (const BaseException& exception) {
        ErrorReportManager::ReportError(exception, __LINE__, __FILE__);
    } catch (...) {
        ErrorReportManager::ReportError(__LINE__, __FILE__);
    }
}

void SimplePipeServer::Create(const char* name, bool allowAllToAccessPipe)
{
    DWORD error = 0;
    m_hPipe = CreatePipe(name, allowAllToAccessPipe, error);
    if (!Handle::IsValid(m_hPipe)) {
        throw Win32Exception(error, __FILE__, __LINE__);
    }
    m_overlapped = boost::make_shared<Overlapped>(m_hPipe);
    if (!ConnectPipe(m_hPipe, m_overlapped, error)) {
        throw Win32Exception(error, __FILE__, __LINE__);
    }
}

boost::shared_ptr<Handle> SimplePipeServer::WaitForClient(DWORD timeout)
{
    if (!Handle::IsValid(m_hPipe)) {
        LogDebug("SimplePipeServer, m_hPipe == INVALID_HANDLE_VALUE");
        throw InvalidOperationException();
    }
    if (!m_overlapped || !m_overlapped->Wait(timeout)) {
        LogDebug("SimplePipeServer, Timeout %d", static_cast<int>(timeout));
        return {};
    }
    auto pipe = boost::make_shared<Handle>(m_hPipe);
    m_hPipe = INVALID_HANDLE_VALUE;
    return pipe;
}

}  // namespace tvn
