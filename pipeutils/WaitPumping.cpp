#include "pipeutils/WaitPumping.h"

#include <algorithm>
#include <iterator>

#include "basicslib/Exceptions.h"
#include "basicslib/Handle.h"
#include "basicslib/ScopeExit.h"

namespace tvn
{
namespace
{

/// Input that wakes the wait: keys, mouse moves and buttons, posted and sent messages, timers,
/// paints and hot keys.
constexpr DWORD kWakeMask = QS_ALLINPUT & 0xFF;

/// Dispatches the messages in the thread's queue; a WM_QUIT goes to `quit`. False when it stopped
/// early and more may follow: a sender that posts faster than this thread dispatches would
/// otherwise keep it from ever checking the handles again.
bool DispatchMessages(DWORD start, DWORD timeout, MSG& quit)
{
    constexpr unsigned int kMostAtOnce = 256;

    MSG message;
    for (unsigned int count = 1; PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE); ++count) {
        if (message.message == WM_QUIT) {
            quit = message;
        } else {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
        // Unsigned subtraction stays correct when the counter wraps around.
        if (count == kMostAtOnce || GetTickCount() - start > timeout) {
            return false;
        }
    }
    return true;
}

}  // namespace

DWORD WaitPumping(DWORD count, const HANDLE* handles, DWORD timeout)
{
    // WM_QUIT is reposted at the end: if it were reposted at once, this loop would find it again.
    MSG quit = {};
    const ScopeExit giveBack([&quit] {
        if (quit.message == WM_QUIT) {
            const DWORD error = GetLastError();  // the caller reads the wait's own error
            PostQuitMessage(static_cast<int>(quit.wParam));
            SetLastError(error);
        }
    });
    const DWORD start = GetTickCount();
    DWORD remaining = timeout;
    // Also wake for messages that somebody has seen and left in the queue. Not any more once the
    // queue has been drained: a queue attached to another thread's may hold that thread's input for
    // ever.
    DWORD flags = MWMO_INPUTAVAILABLE;
    for (;;) {
        const DWORD result =
            MsgWaitForMultipleObjectsEx(count, handles, remaining, kWakeMask, flags);
        if (result == WAIT_OBJECT_0 + count) {
            flags = DispatchMessages(start, timeout, quit) ? 0 : MWMO_INPUTAVAILABLE;
        } else if (result != WAIT_TIMEOUT || timeout == INFINITE ||
                   GetTickCount() - start >= timeout) {
            return result;
        }  // else early by the clock that TimeBudget uses: wait for the rest
        const DWORD elapsed = GetTickCount() - start;
        if (elapsed > timeout) {
            // A handle that was signalled while a message was dispatched still counts.
            return WaitForMultipleObjects(count, handles, FALSE, 0);
        }
        remaining = timeout - elapsed;
    }
}

DWORD WaitPumping(HANDLE handle, DWORD timeout)
{
    return WaitPumping(1, &handle, timeout);
}

bool WaitForEvent(HANDLE event, DWORD timeout, HANDLE hInterrupt, HANDLE further)
{
    HANDLE handles[] = {event, hInterrupt, further};
    const auto* const end = std::remove_if(handles + 1, std::end(handles),
                                           [](HANDLE h) { return !Handle::IsValid(h); });
    const auto count = static_cast<DWORD>(end - handles);
    const DWORD result = WaitPumping(count, handles, timeout);
    const DWORD error = GetLastError();
    if (result == WAIT_FAILED) {
        throw Win32Exception(error, __FILE__, __LINE__);
    }
    if (result >= WAIT_OBJECT_0 + count && result != WAIT_TIMEOUT) {
        TVN_ASSERT(!"Unexpected return code");
    }
    return result == WAIT_OBJECT_0;
}

}  // namespace tvn
