#include "pipeutils/WaitPumping.h"

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

}  // namespace

DWORD WaitPumping(DWORD count, const HANDLE* handles, DWORD timeout)
{
    // Somebody who posts faster than this thread dispatches would otherwise keep it from ever
    // looking at the handles again.
    constexpr unsigned int kMessagesPerLook = 256;

    // WM_QUIT is given back at the end: posted again at once, it would be found again at once.
    MSG quit = {};
    const ScopeExit giveBack([&quit] {
        if (quit.message == WM_QUIT) {
            const DWORD error = GetLastError();  // the caller reads the wait's own error
            PostQuitMessage(static_cast<int>(quit.wParam));
            SetLastError(error);
        }
    });
    // A wait that runs out of time looks at the handles once more: what became true while a message
    // was dispatched is not late.
    const auto lookAgain = [&] {
        return WaitForMultipleObjects(count, handles, FALSE, 0);
    };
    const DWORD start = GetTickCount();
    DWORD remaining = timeout;
    for (;;) {
        // What an earlier wait has seen and left in the queue counts as arrived, too.
        const DWORD result =
            MsgWaitForMultipleObjectsEx(count, handles, remaining, kWakeMask, MWMO_INPUTAVAILABLE);
        if (result == WAIT_TIMEOUT && timeout != INFINITE) {
            // The wait's clock may be some milliseconds ahead of the one that budgets are read
            // from: a time-out must not leave time over there.
            const DWORD waited = GetTickCount() - start;
            if (waited < timeout) {
                remaining = timeout - waited;
                continue;
            }
        }
        if (result != WAIT_OBJECT_0 + count) {
            return result;
        }
        MSG message;
        for (unsigned int dispatched = 1; PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);
             ++dispatched) {
            if (message.message == WM_QUIT) {
                quit = message;
                continue;
            }
            TranslateMessage(&message);
            DispatchMessageA(&message);
            // Unsigned differences are right across the wrap of the counter.
            const bool spent = GetTickCount() - start > timeout;
            if (spent || dispatched % kMessagesPerLook == 0) {
                const DWORD look = lookAgain();
                if (spent || look != WAIT_TIMEOUT) {
                    return look;
                }
            }
        }
        const DWORD elapsed = GetTickCount() - start;
        if (elapsed > timeout) {
            return lookAgain();
        }
        remaining = timeout - elapsed;
    }
}

DWORD WaitPumping(HANDLE handle, DWORD timeout)
{
    return WaitPumping(1, &handle, timeout);
}

bool WaitForEvent(HANDLE event, DWORD timeout, HANDLE hInterrupt)
{
    const HANDLE handles[] = {event, hInterrupt};
    const DWORD result = WaitPumping(Handle::IsValid(hInterrupt) ? 2 : 1, handles, timeout);
    const DWORD error = GetLastError();
    if (result == WAIT_FAILED) {
        throw Win32Exception(error, __FILE__, __LINE__);
    }
    if (result > WAIT_OBJECT_0 + 1 && result != WAIT_TIMEOUT) {
        TVN_ASSERT(!"Unexpected return code");
    }
    return result == WAIT_OBJECT_0;
}

}  // namespace tvn
