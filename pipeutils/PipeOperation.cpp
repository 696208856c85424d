#include "pipeutils/PipeOperation.h"

#include "basicslib/Exceptions.h"
#include "pipeutils/WaitPumping.h"

namespace tvn
{

PipeOperation::Outcome PipeOperation::Read(void* buffer, DWORD count)
{
    OVERLAPPED* const block = NewBlock();
    DWORD bytes = 0;
    const BOOL success = ReadFile(m_hPipe, buffer, count, &bytes, block);
    return Started(success, GetLastError(), bytes);
}

PipeOperation::Outcome PipeOperation::Write(const void* buffer, DWORD count)
{
    OVERLAPPED* const block = NewBlock();
    DWORD bytes = 0;
    const BOOL success = WriteFile(m_hPipe, buffer, count, &bytes, block);
    return Started(success, GetLastError(), bytes);
}

bool PipeOperation::Wait(DWORD timeout, HANDLE hInterrupt, HANDLE further)
{
    return WaitForEvent(m_event->Get(), timeout, hInterrupt, further);
}

bool PipeOperation::HasEnded() const noexcept
{
    return WaitForSingleObject(m_event->Get(), 0) == WAIT_OBJECT_0;
}

PipeOperation::Outcome PipeOperation::Take() noexcept
{
    Outcome outcome;
    // Waits for one that was cancelled: that was a request, and until it has come through, the
    // system may still write to the block and to the buffer of the operation.
    outcome.success = GetOverlappedResult(m_hPipe, &m_ov, &outcome.bytes, TRUE) != FALSE;
    outcome.error = outcome.success ? ERROR_SUCCESS : GetLastError();
    m_pending = false;
    return outcome;
}

PipeOperation::Outcome PipeOperation::Cancel() noexcept
{
    if (!m_pending) {
        return {};
    }
    CancelIoEx(m_hPipe, &m_ov);
    return Take();
}

OVERLAPPED* PipeOperation::NewBlock()
{
    TVN_ASSERT(!m_pending);
    if (!m_event) {
        HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        if (!Handle::IsValid(event)) {
            throw Win32Exception(GetLastError(), __FILE__, __LINE__);
        }
        m_event.emplace(event);
    }
    m_ov = {};
    m_ov.hEvent = m_event->Get();
    return &m_ov;
}

PipeOperation::Outcome PipeOperation::Started(BOOL success, DWORD error, DWORD bytes) noexcept
{
    m_pending = !success && error == ERROR_IO_PENDING;
    return {success != FALSE, success ? ERROR_SUCCESS : error, bytes};
}

}  // namespace tvn
