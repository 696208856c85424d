#pragma once

#include <windows.h>

namespace tvn
{

/// One overlapped read or write after the other on a pipe: the block and the event are made once
/// and kept. Unlike an `Overlapped` it belongs to no thread, so that a write that goes on after its
/// caller has left can be cancelled by whoever lets the pipe go. Used by one thread at a time.
class PipeOperation
{
  public:
    /// `hPipe`, opened for overlapped I/O, is borrowed and must outlive this object.
    explicit PipeOperation(HANDLE hPipe) noexcept : m_hPipe(hPipe) {}

    /// Cancels what is pending, as `Cancel` does.
    ~PipeOperation();

    PipeOperation(const PipeOperation&) = delete;
    PipeOperation& operator=(const PipeOperation&) = delete;

    /// What the system has said to a read or a write.
    struct Outcome
    {
        bool success = false;
        DWORD error = ERROR_SUCCESS;  ///< the reason of a failure, ERROR_IO_PENDING included
        DWORD bytes = 0;
    };

    /// Start an operation; nothing may be pending. The buffer has to stay until the operation has
    /// ended, which it has unless the error is ERROR_IO_PENDING. Throw Win32Exception when there is
    /// no event.
    Outcome Read(void* buffer, DWORD count);
    Outcome Write(const void* buffer, DWORD count);

    /// Waits up to `timeout` milliseconds (INFINITE: no limit) for the end of a pending operation,
    /// while the thread's window messages are dispatched. The events `hInterrupt` and `further`,
    /// borrowed and optional, end the wait. True when the operation has ended. Throws
    /// Win32Exception when the wait fails.
    bool Wait(DWORD timeout, HANDLE hInterrupt, HANDLE further = nullptr);

    /// The event of the operation, borrowed; signalled when a pending one has ended.
    HANDLE GetEvent() const noexcept { return m_event; }

    /// Whether an operation was pending when it was started, and its outcome is still to be taken.
    bool IsPending() const noexcept { return m_pending; }

    /// Whether a pending operation has ended.
    bool HasEnded() const noexcept;

    /// What became of a pending operation that has ended.
    Outcome Take() noexcept;

    /// Cancels what is pending and returns only when the system has let go of the block and of the
    /// buffer: an operation that ended all the same is a success.
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
