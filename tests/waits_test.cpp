// Overlapped blocks, and waits that keep the thread's window messages flowing.

#include <boost/make_shared.hpp>

#include "basicslib/Exceptions.h"
#include "basicslib/HandleToDuplicate.h"
#include "pipeutils/Overlapped.h"
#include "pipeutils/PipeOperation.h"
#include "pipeutils/WaitPumping.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/resources.h"
#include "tests/scripted_peer.h"

namespace tvn::tests
{

using testing::ElementsAre;

class Waits : public testing::Test
{
  protected:
    /// A window that is not shown, for messages that are posted to it.
    static std::shared_ptr<HWND__> NewWindow(WNDPROC procedure)
    {
        HWND window =
            CreateWindowA("Static", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure));
        return {window, &DestroyWindow};
    }

    HANDLE invalid = reinterpret_cast<HANDLE>(0x7FF0);
    const boost::shared_ptr<Handle> owner = NewEvent();
    HANDLE event = owner->Get();
    ScriptedPeer peer;
    const boost::shared_ptr<Handle> pipe = peer.Client();
};

TEST_F(Waits, BeginWithTheMessagesThatAnEarlierOneHasLeftAndEndWithALookAtTheHandles)
{
    static int calls;
    static HANDLE toSet;
    const auto window =
        NewWindow([](HWND to, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
            if (message == WM_APP || (message == WM_CHAR && wParam == 'a')) {
                ++calls;
            } else if (message == WM_APP + 1) {
                Sleep(100);
                SetEvent(toSet);
            }
            return DefWindowProcA(to, message, wParam, lParam);
        });
    toSet = event;
    PostQuitMessage(42);
    PostMessageA(window.get(), WM_APP + 1, 0, 0);
    for (int posted = 1; posted < 600; ++posted) {
        PostMessageA(window.get(), WM_APP, 0, 0);
    }
    EXPECT_EQ(WaitPumping(event, 5000), WAIT_OBJECT_0 + 0U);
    EXPECT_EQ(calls, 255) << "the handle is looked at now and then";
    ResetEvent(event);
    EXPECT_EQ(WaitPumping(event, 200), 258U);
    EXPECT_EQ(calls, 599);
    PostMessageA(window.get(), WM_APP + 1, 0, 0);
    PostMessageA(window.get(), WM_APP, 0, 0);
    EXPECT_EQ(WaitPumping(event, 50), WAIT_OBJECT_0 + 0U) << "set before the wait could end";
    EXPECT_EQ(calls, 599) << "no other message is begun by then";
    ResetEvent(event);
    PostMessageA(window.get(), WM_KEYDOWN, 'A', 0x1E0001);
    std::thread sender([&] {
        Sleep(100);
        SendMessageTimeoutA(window.get(), WM_APP + 1, 0, 0, SMTO_NORMAL, 5000, nullptr);
    });
    EXPECT_EQ(WaitPumping(event, 5000), WAIT_OBJECT_0 + 0U) << "sent by another thread";
    EXPECT_EQ(calls, 601) << "the one before, and a key as a character";
    sender.join();
    MSG message = {};
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
    }
    EXPECT_EQ(message.wParam, 42U) << "a quit message is the caller's own loop's";
}

TEST_F(Waits, AWaitTellsWhichHandleWasSignalledAndPrefersTheFirst)
{
    const auto other = NewEvent(true);
    const HANDLE both[] = {event, other->Get()};
    EXPECT_EQ(WaitPumping(2, both, 1000), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(WaitPumping(event, 0), 258U);
    SetEvent(event);
    EXPECT_EQ(WaitPumping(2, both, 1000), WAIT_OBJECT_0 + 0U);
    EXPECT_EQ(WaitPumping(invalid, 10), WAIT_FAILED);
    EXPECT_EQ(HandleToDuplicate(nullptr).Duplicate(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(HandleToDuplicate(INVALID_HANDLE_VALUE).Duplicate(), INVALID_HANDLE_VALUE);
    EXPECT_THROW(HandleToDuplicate(invalid).Duplicate(), Win32Exception);
    const Handle duplicate(HandleToDuplicate(event).Duplicate());
    DWORD flags = 0;
    EXPECT_TRUE(GetHandleInformation(duplicate.Get(), &flags));
    EXPECT_EQ(flags, static_cast<DWORD>(HANDLE_FLAG_INHERIT));
}

TEST_F(Waits, AFloodOfMessagesHoldsNoWaitWhileTheTickCounterWraps)
{
    const auto window =
        NewWindow([](HWND to, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
            return message == WM_APP ? PostMessageA(to, WM_APP, 0, 0)
                                     : DefWindowProcA(to, message, wParam, lParam);
        });
    PostMessageA(window.get(), WM_APP, 0, 0);
    g_imports.tickOffset = 0xFFFFFFFF - GetTickCount() - 150;
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(WaitPumping(event, 400), 258U); }), Within(350, 2000));
    const std::jthread signaller([&] {
        Sleep(100);
        SetEvent(event);
    });
    EXPECT_EQ(WaitPumping(event, INFINITE), WAIT_OBJECT_0 + 0U);
}

TEST_F(Waits, InputThatIsNotHandedOutKeepsNoWaitBusy)
{
    // With attached queues the system reports input that PeekMessage does not return.
    static int turns;
    turns = 0;
    const auto attached = TVN_REPLACE_IMPORT(
        MsgWaitForMultipleObjectsEx,
        [](DWORD count, const HANDLE* handles, DWORD time, DWORD mask, DWORD flags) -> DWORD {
            ++turns;
            return (flags & MWMO_INPUTAVAILABLE) != 0
                       ? WAIT_OBJECT_0 + count
                       : TVN_REAL_IMPORT(MsgWaitForMultipleObjectsEx)(count, handles, time, mask,
                                                                      flags);
        });
    EXPECT_EQ(WaitPumping(event, 300), 258U);
    EXPECT_LT(turns, 20);
}

TEST_F(Waits, ACancellationIsAwaitedHoweverLongItTakes)
{
    static std::vector<std::thread> cancellers;
    static const auto cancelLater = [](HANDLE file, OVERLAPPED* block) -> BOOL {
        cancellers.emplace_back([file, block] {
            Sleep(100);
            TVN_REAL_IMPORT(CancelIoEx)(file, block);
        });
        return TRUE;
    };
    const auto slow =
        TVN_REPLACE_IMPORT(CancelIo, [](HANDLE file) { return cancelLater(file, nullptr); });
    const auto slowEx = TVN_REPLACE_IMPORT(
        CancelIoEx, [](HANDLE file, OVERLAPPED* block) { return cancelLater(file, block); });
    auto block = boost::make_shared<Overlapped>(pipe->Get());
    EXPECT_FALSE(ReadFile(pipe->Get(), nullptr, 0, nullptr, block->GetOverlapped()));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_IO_PENDING));
    block->SetPending();
    EXPECT_THAT(Elapsed([&] { block.reset(); }), Within(90, 2000));
    auto operation = boost::make_shared<PipeOperation>(pipe->Get());
    operation->Read(nullptr, 0);
    EXPECT_TRUE(operation->IsPending());
    ImportWatch watch;
    watch.Fail("WaitForSingleObject", ERROR_INVALID_HANDLE);
    EXPECT_THAT(Elapsed([&] { operation.reset(); }), Within(90, 2000));
    for (std::thread& canceller : cancellers) {
        canceller.join();
    }
}

TEST_F(Waits, ABlockIsOfUseOnlyOnItsOwnThread)
{
    auto block = boost::make_shared<Overlapped>(pipe->Get());
    const auto before = CountHandles();
    const LogCapture log;
    DWORD tid = 0;
    std::thread([&] {
        tid = GetCurrentThreadId();
        EXPECT_THROW(block->GetOverlapped(), AssertException);
        EXPECT_THROW(block->Wait(0), AssertException);
        block.reset();
    }).join();
    EXPECT_GE(CountHandles(), before) << "nothing is closed";
    const std::string own =
        "tid = " + std::to_string(tid) + ", msg = AssertException. Failed expression:";
    EXPECT_THAT(log.Lines(kError),
                ElementsAre(testing::MatchesRegex(".*" + own +
                                                  " GetCurrentThreadId\\(\\) == m_tid, file: "
                                                  "pipeutils/Overlapped\\.cpp, line: \\d\\d+"),
                            testing::EndsWith(", pipeutils/Overlapped.cpp")));
}

}  // namespace tvn::tests
