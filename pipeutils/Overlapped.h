#pragma once

#include <windows.h>

#include <memory>

#include "basicslib/Handle.h"

namespace tvn
{

/// The control block (OVERLAPPED) of one overlapped I/O operation, bound to the thread that creates
/// it. Created just before the operation, destroyed by the same thread just after it, and held
/// through a shared pointer. The operation itself is started on the caller's own handle with
/// `GetOverlapped`.
///
/// Every operation throws AssertException when it is called on another thread.
class Overlapped
{
  public:
    /// `h` is the file or pipe that the block is for; the caller keeps it. Throws Win32Exception
    /// when it cannot be duplicated or no event can be made.
    explicit Overlapped(HANDLE h);

    /// Cancels what is still pending and returns only when the system no longer uses the block and
    /// the operation's buffer. Throws nothing; on another thread it only reports the error.
    virtual ~Overlapped();

    /// Throws AssertException on any thread but the one that made the block.
    void CheckThread() const;

    /// The block for the I/O call; valid as long as this object lives.
    OVERLAPPED* GetOverlapped();

    /// To be called whenever an I/O call on this block has failed with ERROR_IO_PENDING: only then
    /// does the system use the block. (A call that fails at once leaves the block looking as if it
    /// were pending, so the block itself cannot be asked.)
    void SetPending();

    /// Waits up to `timeout` milliseconds (INFINITE: no limit) for the end of the operation, while
    /// the thread's window messages are dispatched. `hInterrupt`, borrowed and optional, is an
    /// event that ends the wait. True when the operation has ended, false on time-out or
    /// interrupt. Throws Win32Exception when the wait fails.
    bool Wait(DWORD timeout, HANDLE hInterrupt);

    /// The same without an interrupt event.
    bool Wait(DWORD timeout) { return Wait(timeout, nullptr); }

  private:
    struct Block
    {
        explicit Block(HANDLE h);

        const Handle m_hFile;
        const Handle m_event;
        OVERLAPPED m_ov = {};
    };

    DWORD m_tid;
    std::unique_ptr<Block> m_block;  // leaked when the system may still use it
    bool m_pending = false;
};

}  // namespace tvn
