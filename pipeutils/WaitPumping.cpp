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

/// Dispatches what is in the thread's queue; a WM_QUIT goes to `quit`. False when it left off with
/// more to come: somebody who posts faster than this thread dispatches would otherwise keep it from
/// ever looking at the handles again.
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
        // Unsigned differences are right across the wrap of the counter.
        if (count == kMostAtOnce || GetTickCount() - start > timeout) {
            return false;
        }
    }
    return true;
}

}  // namespace

DWORD WaitPumping(DWORD count, const HANDLE* handles, DWORD timeout)
{
    // WM_QUIT is given back at the end: posted again at once, it would be found again at once.
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
    // What somebody has seen and left in the queue counts as arrived, too. Not so once nothing was
    // found: a queue that is attached to another thread's may hold input of that thread for ever.
    DWORD flags = MWMO_INPUTAVAILABLE;
    for (;;) {
        const DWORD result =
            MsgWaitForMultipleObjectsEx(count, handles, remaining, kWakeMask, flags);
        if (result == WAIT_OBJECT_0 + count) {
            flags = DispatchMessages(start, timeout, quit) ? 0 : MWMO_INPUTAVAILABLE;
        } else if (result != WAIT_TIMEOUT || timeout == INFINITE ||
                   GetTickCount() - start >= timeout) {
            return result;
        }  // else its clock is ahead of the one of budgets: no time may be left over there
        const DWORD elapsed = GetTickCount() - start;
        if (elapsed > timeout) {
            // What became true while a message was dispatched is not late.
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
