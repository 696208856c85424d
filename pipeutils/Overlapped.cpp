#include "pipeutils/Overlapped.h"

#include "basicslib/ErrorReportManager.h"
#include "basicslib/Exceptions.h"
#include "basicslib/Handle.h"
#include "basicslib/HandleToDuplicate.h"
#include "pipeutils/WaitPumping.h"

namespace tvn
{

Overlapped::Overlapped(HANDLE h)
    : m_tid(GetCurrentThreadId()),
      m_hFile(INVALID_HANDLE_VALUE),
      m_ov(std::make_unique<OVERLAPPED>())
{
    m_hFile = HandleToDuplicate(h).Duplicate();
    m_ov->hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (!Handle::IsValid(m_ov->hEvent)) {
        const DWORD error = GetLastError();
        const Handle duplicate(m_hFile);  // the destructor does not run for a failed construction
        throw Win32Exception(error, __FILE__, __LINE__);
    }
}

Overlapped::~Overlapped()
{
    try {
        CheckThread();
        const Handle event(m_ov->hEvent);
        const Handle file(m_hFile);  // closed first
        if (file.IsValid()) {
            CancelIo(file.Get());
        }
        if (m_pending) {
            // The cancellation is a request: until it has come through, the system may still write
            // to the block and to the buffer of the operation.
            DWORD transferred = 0;
            GetOverlappedResult(file.Get(), m_ov.get(), &transferred, TRUE);
        }
    } catch (const BaseException& exception) {
        ReleaseBlockInUse();
        ErrorReportManager::ReportError(exception, __LINE__, __FILE__);
    } catch (...) {
        ReleaseBlockInUse();
        ErrorReportManager::ReportError(__LINE__, __FILE__);
    }
}

void Overlapped::ReleaseBlockInUse() noexcept
{
    if (m_pending) {
        // Better a leak than memory that is written to after it was freed.
        static_cast<void>(m_ov.release());
    }
}

void Overlapped::CheckThread() const
{
    TVN_ASSERT(GetCurrentThreadId() == m_tid);
}

OVERLAPPED* Overlapped::GetOverlapped()
{
    CheckThread();
    return m_ov.get();
}

void Overlapped::SetPending()
{
    CheckThread();
    m_pending = true;
}

bool Overlapped::Wait(DWORD timeout, HANDLE hInterrupt)
{
    CheckThread();
    if (!WaitForEvent(m_ov->hEvent, timeout, hInterrupt)) {
        return false;
    }
    m_pending = false;  // the block may be used for a further call, which may fail at once
    return true;
}

bool Overlapped::Wait(DWORD timeout)
{
    return Wait(timeout, nullptr);
}

}  // namespace tvn
