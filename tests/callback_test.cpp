// The one-shot pipe server on which a new instance reports itself.

#include <gmock/gmock.h>

#include <thread>

#include "basicslib/Exceptions.h"
#include "pipeutils/CallbackProtocol.h"
#include "pipeutils/RemotePipeClient.h"
#include "pipeutils/SimplePipeServer.h"
#include "tests/log_capture.h"
#include "tests/replaced_imports.h"
#include "tests/surroundings.h"
#include "tests/test_pipe.h"

using namespace tvn;

namespace
{

constexpr const char* kName = "\\\\.\\pipe\\Talvern_callback_test";

/// Times out twice, hands one client over and follows it to its end.
void ServeOneClient()
{
    const tests::LogCapture log;
    SimplePipeServer server;
    EXPECT_THROW(server.WaitForClient(0), InvalidOperationException);
    server.Create(kName, true);
    EXPECT_FALSE(server.WaitForClient(0));
    EXPECT_FALSE(server.WaitForClient(50));
    EXPECT_TRUE(log.Has("[tvn::debug] SimplePipeServer, Timeout 50"));
    std::thread instance([] {
        Sleep(100);
        RemotePipeClient client(kName);
        CallbackProtocol(client.OpenPipe(5000)->Get(), nullptr).SendHwnd(0x80010040, 1000);
        Sleep(200);
    });
    const auto pipe = server.WaitForClient(5000);
    ASSERT_TRUE(pipe);
    EXPECT_THROW(server.WaitForClient(0), InvalidOperationException);
    EXPECT_TRUE(log.Has("[tvn::debug] SimplePipeServer, m_hPipe == INVALID_HANDLE_VALUE"));
    CallbackProtocol protocol(pipe->Get(), nullptr);
    DWORD hwnd = 0;
    protocol.ReceiveHwnd(hwnd, 5000);
    EXPECT_EQ(hwnd, 0x80010040);
    EXPECT_THROW(protocol.ReceiveHwnd(hwnd, 50), ReadPipeTimeout);
    instance.join();
    EXPECT_THROW(protocol.ReceiveHwnd(hwnd, 1000), ReadPipeError) << "the instance has gone";
}

}  // namespace

TEST(Callback, AClientIsWaitedForAgainAndHandedOverOnce)
{
    ServeOneClient();
    const int before = tests::CountHandles();
    ServeOneClient();
    EXPECT_EQ(tests::CountHandles(), before);
}

TEST(Callback, AClientThatComesBeforeTheConnectIsSeen)
{
    const auto pipe = tests::PipeServer::NewEnd(kName);
    const auto client = RemotePipeClient(kName).OpenPipe();
    const auto block = boost::make_shared<Overlapped>(pipe->Get());
    DWORD error = 0;
    EXPECT_TRUE(tests::PipeServer::ConnectPipe(pipe->Get(), block, error));
    EXPECT_EQ(error, static_cast<DWORD>(ERROR_PIPE_CONNECTED));
    EXPECT_TRUE(block->Wait(0));
    EXPECT_TRUE(tests::PipeServer::ConnectPipe(pipe->Get(), 1000, nullptr, error));
}

TEST(Callback, AConnectEndsOnTimeOrWithTheInterrupt)
{
    const auto pipe = tests::PipeServer::NewEnd(kName);
    const Handle interrupt(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    DWORD error = 0;
    EXPECT_FALSE(tests::PipeServer::ConnectPipe(pipe->Get(), 50, interrupt.Get(), error));
    SetEvent(interrupt.Get());
    EXPECT_FALSE(tests::PipeServer::ConnectPipe(pipe->Get(), INFINITE, interrupt.Get(), error));
    const tests::LogCapture log;
    const Handle notAPipe(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    EXPECT_FALSE(tests::PipeServer::ConnectPipe(notAPipe.Get(), 50, nullptr, error));
    EXPECT_NE(error, 0U);
    EXPECT_EQ(
        log.Starting("[tvn::debug] [PipeServerBase::ConnectPipe ConnectNamedPipe] FAILED (").size(),
        1U);
}

TEST(Callback, AllowingAllMakesThePipeInheritableAndOpenToEverybody)
{
    const tests::LogCapture log;
    for (const BOOL allowAll : {FALSE, TRUE}) {
        DWORD error = 0;
        const Handle pipe(tests::PipeServer::CreatePipe(kName, allowAll, error));
        ASSERT_TRUE(pipe.IsValid());
        DWORD flags = 0;
        GetHandleInformation(pipe.Get(), &flags);
        EXPECT_EQ((flags & HANDLE_FLAG_INHERIT) != 0, allowAll == TRUE);
        const std::string security = allowAll ? "inheritable, null list" : "default";
        EXPECT_EQ(tests::g_imports.newPipe, "40000003 6 255 1024 1024 5000 " + security);
    }
    EXPECT_TRUE(log.Has("[tvn::debug] CreateNamedPipe, " + std::string(kName) +
                        ", allowAllToAccessPipe = 1"));
    SimplePipeServer server;
    EXPECT_THROW(server.Create("not a pipe's name", true), Win32Exception);
}
