// Overlapped blocks, and waits that keep the thread's window messages flowing.

#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <thread>

#include "basicslib/Exceptions.h"
#include "basicslib/HandleToDuplicate.h"
#include "pipeutils/Overlapped.h"
#include "pipeutils/WaitPumping.h"
#include "tests/log_capture.h"
#include "tests/replaced_imports.h"
#include "tests/surroundings.h"
#include "tests/test_pipe.h"

using namespace tvn;
using tests::ActionWindow;
using tests::Elapsed;
using tests::g_imports;

namespace
{

class Waits : public testing::Test
{
  protected:
    Handle event{CreateEventA(nullptr, TRUE, FALSE, nullptr)};
    tests::PipePair pipe;
};

}  // namespace

TEST_F(Waits, TellWhichHandleWasSignalledAndPreferTheFirst)
{
    const Handle other(CreateEventA(nullptr, TRUE, TRUE, nullptr));
    const HANDLE both[] = {event.Get(), other.Get()};
    EXPECT_EQ(WaitPumping(2, both, 1000), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(WaitPumping(event.Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
    SetEvent(event.Get());
    EXPECT_EQ(WaitPumping(2, both, 1000), static_cast<DWORD>(WAIT_OBJECT_0));
    EXPECT_EQ(WaitPumping(reinterpret_cast<HANDLE>(0x7FF0), 10), WAIT_FAILED);
}

TEST_F(Waits, DispatchMessagesWithoutBecomingLonger)
{
    int calls = 0;
    ActionWindow* again = nullptr;
    ActionWindow window([&] {
        ++calls;
        again->CallLater(20);
    });
    again = &window;
    window.Post();
    const auto elapsed = Elapsed([&] { EXPECT_EQ(WaitPumping(event.Get(), 300), 258U); });
    EXPECT_GT(calls, 3);
    EXPECT_GE(elapsed, 250);
    EXPECT_LT(elapsed, 1500);
}

TEST_F(Waits, AreNotHeldByAFloodOfMessages)
{
    ActionWindow* again = nullptr;
    ActionWindow window([&] { again->Post(); });
    again = &window;
    window.Post();
    EXPECT_LT(Elapsed([&] { EXPECT_EQ(WaitPumping(event.Get(), 200), 258U); }), 2000);
    std::thread signaller([&] {
        Sleep(100);
        SetEvent(event.Get());
    });
    EXPECT_EQ(WaitPumping(event.Get(), INFINITE), static_cast<DWORD>(WAIT_OBJECT_0));
    signaller.join();
}

TEST_F(Waits, EndOnTimeAcrossTheWrapOfTheTickCounter)
{
    ActionWindow window([] {});
    window.CallLater(150);  // the wait computes what is left after the wrap
    g_imports.tickOffset = 0xFFFFFFFF - GetTickCount() - 100;
    const auto elapsed = Elapsed([&] { EXPECT_EQ(WaitPumping(event.Get(), 400), 258U); });
    EXPECT_GE(elapsed, 350);
    EXPECT_LT(elapsed, 3000);
}

TEST_F(Waits, GiveAQuitMessageBackToTheCallersOwnLoop)
{
    PostQuitMessage(42);
    EXPECT_EQ(WaitPumping(event.Get(), 100), static_cast<DWORD>(WAIT_TIMEOUT));
    MSG message = {};
    EXPECT_EQ(GetMessageA(&message, nullptr, 0, 0), 0);
    EXPECT_EQ(message.wParam, 42U);
}

TEST_F(Waits, DuplicatesAreInheritableAndInvalidHandlesStayInvalid)
{
    EXPECT_EQ(HandleToDuplicate(nullptr).Duplicate(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(HandleToDuplicate(INVALID_HANDLE_VALUE).Duplicate(), INVALID_HANDLE_VALUE);
    const Handle duplicate(HandleToDuplicate(event.Get()).Duplicate());
    DWORD flags = 0;
    EXPECT_TRUE(GetHandleInformation(duplicate.Get(), &flags));
    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, static_cast<DWORD>(HANDLE_FLAG_INHERIT));
    EXPECT_THROW(HandleToDuplicate(reinterpret_cast<HANDLE>(0x7FF0)).Duplicate(), Win32Exception);
}

TEST_F(Waits, ABlockWaitsForItsOperationOrTheInterrupt)
{
    const auto block = boost::make_shared<Overlapped>(pipe.client->Get());
    EXPECT_FALSE(ReadFile(pipe.client->Get(), nullptr, 0, nullptr, block->GetOverlapped()));
    ASSERT_EQ(GetLastError(), static_cast<DWORD>(ERROR_IO_PENDING));
    block->SetPending();
    EXPECT_FALSE(block->Wait(0));
    EXPECT_FALSE(block->Wait(20, INVALID_HANDLE_VALUE));
    SetEvent(event.Get());
    EXPECT_FALSE(block->Wait(INFINITE, event.Get()));
    pipe.Send(tests::Words({8, 1}));
    EXPECT_TRUE(block->Wait(5000, event.Get())) << "the operation goes before the interrupt";
}

TEST_F(Waits, ABlockThatIsLetGoHasNothingPendingAnyMore)
{
    // The read's buffer is on a page that goes away with it: a late completion would be seen.
    const int before = tests::CountHandles();
    for (int round = 0; round < 50; ++round) {
        void* page = VirtualAlloc(nullptr, 0x1000, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
        OVERLAPPED* ov = nullptr;
        {
            Overlapped block(pipe.client->Get());
            ov = block.GetOverlapped();
            EXPECT_FALSE(ReadFile(pipe.client->Get(), page, 16, nullptr, ov));
            ASSERT_EQ(GetLastError(), static_cast<DWORD>(ERROR_IO_PENDING));
            block.SetPending();
        }
        VirtualFree(page, 0, MEM_RELEASE);
        pipe.Send(tests::Words({8, 1}));
        DWORD size = 0;
        MessageBuffer buffer;
        BaseProtocol(pipe.client->Get(), nullptr).ReadMessage(size, buffer, 1000);
        EXPECT_EQ(size, 8U) << "the cancelled read has taken nothing";
    }
    EXPECT_EQ(tests::CountHandles(), before);
}

TEST_F(Waits, ABlockBelongsToItsThread)
{
    const tests::LogCapture log;
    auto block = boost::make_shared<Overlapped>(pipe.client->Get());
    const int before = tests::CountHandles();
    std::string tid;
    std::thread([&] {
        tid = std::to_string(GetCurrentThreadId());
        EXPECT_THROW(block->GetOverlapped(), AssertException);
        EXPECT_THROW(block->Wait(0), AssertException);
        block.reset();
    }).join();
    EXPECT_GE(tests::CountHandles(), before) << "nothing is closed";
    const auto errors = log.Starting("[................tvn::error] ");
    ASSERT_EQ(errors.size(), 2U);
    EXPECT_THAT(errors[0], testing::HasSubstr("tid = " + tid +
                                              ", msg = AssertException. Failed "
                                              "expression: GetCurrentThreadId() == m_tid, file: "
                                              "pipeutils/Overlapped.cpp, line: "));
    EXPECT_THAT(errors[1], testing::EndsWith(", pipeutils/Overlapped.cpp"));
}

TEST_F(Waits, ABlockWithoutAnEventIsNotMadeAndLeavesNoHandle)
{
    const int before = tests::CountHandles();
    g_imports.failCreateEvent = true;
    try {
        const Overlapped block(pipe.client->Get());
        ADD_FAILURE();
    } catch (const Win32Exception& exception) {
        EXPECT_EQ(exception.GetError(), static_cast<DWORD>(ERROR_NO_SYSTEM_RESOURCES));
    }
    g_imports.failCreateEvent = false;
    EXPECT_EQ(tests::CountHandles(), before);
}
