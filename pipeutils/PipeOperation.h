#pragma once

#include <windows.h>

namespace tvn
{

/// Overlapped reads and writes on a pipe, one at a time: the control block and the event are
/// created once and reused. Unlike an `Overlapped` it belongs to no thread, so that a write that is
/// still pending after its caller has returned can be cancelled by whoever releases the pipe. Used
/// by one thread at a time.
class PipeOperation
{
  public:
    /// `hPipe`, opened for overlapped I/O, is borrowed and must outlive this object.
    explicit PipeOperation(HANDLE hPipe) noexcept : m_hPipe(hPipe) {}

    /// Cancels what is pending, as `Cancel` does.
    ~PipeOperation();

    PipeOperation(const PipeOperation&) = delete;
    PipeOperation& operator=(const PipeOperation&) = delete;

    /// The result of a read or a write.
    struct Outcome
    {
        bool success = false;
        DWORD error = ERROR_SUCCESS;  ///< the reason of a failure, ERROR_IO_PENDING included
        DWORD bytes = 0;
    };

    /// Start an operation; nothing may be pending. The operation has ended unless the error is
    /// ERROR_IO_PENDING; until it has, the buffer must stay valid. Throw Win32Exception when the
    /// event cannot be created.
    Outcome Read(void* buffer, DWORD count);
    Outcome Write(const void* buffer, DWORD count);

    /// Waits up to `timeout` milliseconds (INFINITE: no limit) for the end of a pending operation,
    /// while the thread's window messages are dispatched. The events `hInterrupt` and `further`,
    /// borrowed and optional, end the wait. True when the operation has ended. Throws
    /// Win32Exception when the wait fails.
    bool Wait(DWORD timeout, HANDLE hInterrupt, HANDLE further = nullptr);

    /// The event of the operation, borrowed; signalled when a pending one has ended.
    HANDLE GetEvent() const noexcept { return m_event; }

    /// Whether an operation did not complete at once and its outcome has not been taken yet.
    bool IsPending() const noexcept { return m_pending; }

    /// Whether a pending operation has ended.
    bool HasEnded() const noexcept;

    /// The outcome of a pending operation that has ended.
    Outcome Take() noexcept;

    /// Cancels what is pending and returns only when the system no longer uses the block and the
    /// buffer. An operation that completed before it could be cancelled is a success.
    Outcome Cancel() noexcept;

  private:
    template <class Call>
    Outcome Start(Call call);

    HANDLE m_hPipe;
    HANDLE m_event = nullptr;  // made by the first operation, closed with this object
    OVERLAPPED m_ov = {};
    bool m_pending = false;
};

}  // namespace tvn
