#include "pipeutils/PipeOperation.h"

#include "basicslib/Exceptions.h"
#include "pipeutils/WaitPumping.h"

namespace tvn
{

PipeOperation::~PipeOperation()
{
    Cancel();
    if (m_event != nullptr) {
        CloseHandle(m_event);
    }
}

PipeOperation::Outcome PipeOperation::Read(void* buffer, DWORD count)
{
    return Start([&](DWORD* bytes) { return ReadFile(m_hPipe, buffer, count, bytes, &m_ov); });
}

PipeOperation::Outcome PipeOperation::Write(const void* buffer, DWORD count)
{
    return Start([&](DWORD* bytes) { return WriteFile(m_hPipe, buffer, count, bytes, &m_ov); });
}

template <class Call>
PipeOperation::Outcome PipeOperation::Start(Call call)
{
    TVN_ASSERT(!m_pending);
    if (m_event == nullptr) {
        m_event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        if (m_event == nullptr) {
            throw Win32Exception(GetLastError(), __FILE__, __LINE__);
        }
    }
    m_ov = {};
    m_ov.hEvent = m_event;
    Outcome outcome;
    outcome.success = call(&outcome.bytes) != FALSE;
    outcome.error = outcome.success ? ERROR_SUCCESS : GetLastError();
    m_pending = outcome.error == ERROR_IO_PENDING;
    return outcome;
}

bool PipeOperation::Wait(DWORD timeout, HANDLE hInterrupt, HANDLE further)
{
    return WaitForEvent(m_event, timeout, hInterrupt, further);
}

bool PipeOperation::HasEnded() const noexcept
{
    return WaitForSingleObject(m_event, 0) == WAIT_OBJECT_0;
}

PipeOperation::Outcome PipeOperation::Take() noexcept
{
    Outcome outcome;
    // Waits for a cancelled operation too: the cancellation is only a request, and until it
    // completes, the system may still write to the block and to the operation's buffer.
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

}  // namespace tvn
