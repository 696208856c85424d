#include "pipeutils/PipeServerBase.h"

#include <boost/make_shared.hpp>

#include "basicslib/Exceptions.h"
#include "basicslib/Log.h"

namespace tvn
{

HANDLE PipeServerBase::CreatePipe(const char* name, BOOL allowAllToAccessPipe, DWORD& error)
{
    SECURITY_DESCRIPTOR descriptor;
    if (!InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION)) {
        error = GetLastError();
        LogDebug("InitializeSecurityDescriptor failed");
        return INVALID_HANDLE_VALUE;
    }
    // A DACL that is present but null grants full access to everyone: a browser that runs under
    // another account has to reach the pipe too.
    if (!SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE)) {
        error = GetLastError();
        LogDebug("SetSecurityDescriptorDacl failed");
        return INVALID_HANDLE_VALUE;
    }
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, &descriptor, TRUE};
    HANDLE pipe = CreatePipe(name, {0, 0, allowAllToAccessPipe ? &attributes : nullptr}, error);
    LogDebug("CreateNamedPipe, %s, allowAllToAccessPipe = %d", name, allowAllToAccessPipe);
    return pipe;
}

HANDLE PipeServerBase::CreatePipe(const char* name, const PipeEndOptions& options, DWORD& error)
{
    constexpr DWORD kBufferSize = 1024;
    constexpr DWORD kDefaultTimeout = 5000;

    HANDLE pipe = CreateNamedPipeA(
        name, PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | options.openMode,
        PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT | options.pipeMode,
        PIPE_UNLIMITED_INSTANCES, kBufferSize, kBufferSize, kDefaultTimeout, options.security);
    error = GetLastError();
    return pipe;
}

BOOL PipeServerBase::ConnectPipe(HANDLE hPipe, const boost::shared_ptr<Overlapped>& overlapped,
                                 DWORD& error)
{
    error = 0;
    overlapped->CheckThread();
    const BOOL connected = ConnectNamedPipe(hPipe, overlapped->GetOverlapped());
    error = GetLastError();
    if (connected) {
        return FALSE;  // an overlapped connect never returns TRUE
    }
    if (error == ERROR_PIPE_CONNECTED) {
        // The client connected before the call, so the system does not signal the event.
        SetEvent(overlapped->GetOverlapped()->hEvent);
        return TRUE;
    }
    if (error == ERROR_IO_PENDING) {
        overlapped->SetPending();
        return TRUE;
    }
    LogDebug("[PipeServerBase::ConnectPipe ConnectNamedPipe] FAILED (%08X)",
             static_cast<unsigned int>(error));
    return FALSE;
}

BOOL PipeServerBase::ConnectPipe(HANDLE hPipe, DWORD timeout, HANDLE hInterrupt, DWORD& error)
{
    try {
        const auto overlapped = boost::make_shared<Overlapped>(hPipe);
        return ConnectPipe(hPipe, overlapped, error) && overlapped->Wait(timeout, hInterrupt)
                   ? TRUE
                   : FALSE;
    } catch (const Win32Exception& exception) {
        error = exception.GetError();
        return FALSE;
    }
}

}  // namespace tvn
