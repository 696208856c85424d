#include "pipeutils/Overlapped.h"

#include "basicslib/ErrorReportManager.h"
#include "basicslib/Exceptions.h"
#include "basicslib/HandleToDuplicate.h"
#include "pipeutils/WaitPumping.h"

namespace tvn
{

Overlapped::Block::Block(HANDLE h)
    : m_hFile(HandleToDuplicate(h).Duplicate()),
      m_event(CreateEventA(nullptr, TRUE, FALSE, nullptr))
{
    if (!m_event.IsValid()) {
        throw Win32Exception(GetLastError(), __FILE__, __LINE__);
    }
    m_ov.hEvent = m_event.Get();
}

Overlapped::Overlapped(HANDLE h) : m_tid(GetCurrentThreadId()), m_block(std::make_unique<Block>(h))
{}

Overlapped::~Overlapped()
{
    try {
        CheckThread();
        if (m_block->m_hFile.IsValid()) {
            CancelIo(m_block->m_hFile.Get());
        }
        if (m_pending) {
            // The cancellation is only a request: until it completes, the system may still write to
            // the block and to the operation's buffer.
            DWORD transferred = 0;
            GetOverlappedResult(m_block->m_hFile.Get(), &m_block->m_ov, &transferred, TRUE);
        }
    } catch (const BaseException& exception) {
        static_cast<void>(m_block.release());  // better a leak than a write to freed memory
        ErrorReportManager::ReportError(exception, __LINE__, __FILE__);
    } catch (...) {
        static_cast<void>(m_block.release());
        ErrorReportManager::ReportError(__LINE__, __FILE__);
    }
}

void Overlapped::CheckThread() const
{
    TVN_ASSERT(GetCurrentThreadId() == m_tid);
}

OVERLAPPED* Overlapped::GetOverlapped()
{
    CheckThread();
    return &m_block->m_ov;
}

void Overlapped::SetPending()
{
    CheckThread();
    m_pending = true;
}

bool Overlapped::Wait(DWORD timeout, HANDLE hInterrupt)
{
    CheckThread();
    if (!WaitForEvent(m_block->m_ov.hEvent, timeout, hInterrupt)) {
        return false;
    }
    m_pending = false;  // the block may be used for a further call, which may fail at once
    return true;
}

}  // namespace tvn
