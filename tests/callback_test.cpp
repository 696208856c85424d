// The one-shot pipe server on which a new instance reports itself.

#include <boost/make_shared.hpp>
#include <sstream>

#include "basicslib/Exceptions.h"
#include "pipeutils/CallbackProtocol.h"
#include "pipeutils/PipeOperation.h"
#include "pipeutils/SimplePipeServer.h"
#include "tests/byte_peer.h"
#include "tests/imported_calls.h"
#include "tests/log_capture.h"
#include "tests/moments.h"
#include "tests/resources.h"

namespace tvn::tests
{

using testing::ElementsAre;

constexpr const char* kCallbackPipe = "\\\\.\\pipe\\Talvern_callback_test";

/// The operations that the product's pipe servers share.
struct PipeServer : PipeServerBase
{
    using PipeServerBase::ConnectPipe;
    using PipeServerBase::CreatePipe;
};

/// Times out twice, hands one client over and follows it to its end.
static void ServeOneClient()
{
    const LogCapture log;
    std::optional<SimplePipeServer> server(std::in_place);
    EXPECT_THROW(server->WaitForClient(0), InvalidOperationException);
    server->Create(kCallbackPipe, true);
    EXPECT_THROW(server->Create(kCallbackPipe, true), InvalidOperationException)
        << "it listens already";
    EXPECT_FALSE(server->WaitForClient(0));
    EXPECT_FALSE(server->WaitForClient(50));
    EXPECT_EQ(log.Count(kDebug + "SimplePipeServer, Timeout 50"), 1);
    std::optional<BytePeer> instance(std::in_place, BytePeer::Open(kCallbackPipe), nullptr);
    EXPECT_TRUE(instance->Write(Message(0x80010040)));
    const auto pipe = server->WaitForClient(5000);
    ASSERT_TRUE(pipe);
    EXPECT_THROW(server->WaitForClient(0), InvalidOperationException);
    EXPECT_EQ(log.Count(kDebug + "SimplePipeServer, m_hPipe == INVALID_HANDLE_VALUE"), 2);
    CallbackProtocol protocol(pipe->Get(), nullptr);
    DWORD hwnd = 0;
    protocol.ReceiveHwnd(hwnd, 5000);
    EXPECT_EQ(hwnd, 0x80010040);
    EXPECT_THROW(protocol.ReceiveHwnd(hwnd, 50), ReadPipeTimeout);
    {
        PipeOperation read(pipe->Get());
        read.Read(&hwnd, sizeof hwnd);
        server.reset();
        EXPECT_FALSE(read.Wait(50, nullptr)) << "what the new owner has begun goes on";
    }
    instance.reset();
    EXPECT_THROW(protocol.ReceiveHwnd(hwnd, 1000), ReadPipeError) << "the instance has gone";
}

TEST(Callback, AnInstanceIsAwaitedAgainAfterATimeOutAndHandedOverOnce)
{
    ServeOneClient();
    const NoHandleStaysOpen handles;
    ServeOneClient();
    EXPECT_THROW(SimplePipeServer().Create("not a pipe's name", true), Win32Exception);
}

TEST(Callback, AConnectEndsWithAClientOrOnTimeOrWithTheInterrupt)
{
    const auto interrupt = NewEvent();
    DWORD error = 0;
    const Handle server(PipeServer::CreatePipe(kCallbackPipe, TRUE, error));
    HANDLE pipe = server.Get();
    EXPECT_FALSE(PipeServer::ConnectPipe(pipe, 50, interrupt->Get(), error));
    SetEvent(interrupt->Get());
    EXPECT_FALSE(PipeServer::ConnectPipe(pipe, INFINITE, interrupt->Get(), error));
    const auto client = BytePeer::Open(kCallbackPipe);
    const auto block = boost::make_shared<Overlapped>(pipe);
    EXPECT_TRUE(PipeServer::ConnectPipe(pipe, block, error));
    EXPECT_EQ(error, static_cast<DWORD>(ERROR_PIPE_CONNECTED));
    EXPECT_TRUE(block->Wait(0, interrupt->Get())) << "a client goes before the interrupt";
    EXPECT_TRUE(PipeServer::ConnectPipe(pipe, 1000, INVALID_HANDLE_VALUE, error)) << "no interrupt";

    const LogCapture log;
    EXPECT_FALSE(PipeServer::ConnectPipe(interrupt->Get(), 50, nullptr, error)) << "no pipe";
    EXPECT_NE(error, 0U);
    const std::string failed = kDebug + "[PipeServerBase::ConnectPipe ConnectNamedPipe] FAILED (";
    EXPECT_EQ(log.Lines(failed).size(), 1U);
}

TEST(Callback, WhatTheSystemRefusesIsTheReasonThatIsGiven)
{
    const LogCapture log;
    ImportWatch watch;
    DWORD error = 0;
    for (const std::string call : {"InitializeSecurityDescriptor", "SetSecurityDescriptorDacl"}) {
        watch.Fail(call, ERROR_NOT_ENOUGH_MEMORY);
        EXPECT_EQ(PipeServer::CreatePipe(kCallbackPipe, TRUE, error), INVALID_HANDLE_VALUE);
        EXPECT_EQ(error, static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
        EXPECT_EQ(log.Count(kDebug + call + " failed"), 1);
    }
    watch.Fail("ConnectNamedPipe", ERROR_PIPE_BUSY);
    EXPECT_THROW(SimplePipeServer().Create(kCallbackPipe, true), Win32Exception);
    SimplePipeServer().Create(kCallbackPipe, true);
    EXPECT_EQ(watch.Calls()["GetOverlappedResult"], 1U) << "a cancelled connect is awaited";
    const Handle pipe(PipeServer::CreatePipe(kCallbackPipe, TRUE, error));
    watch.Fail("CreateEventA", ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_FALSE(PipeServer::ConnectPipe(pipe.Get(), 50, nullptr, error));
    EXPECT_EQ(error, static_cast<DWORD>(ERROR_NO_SYSTEM_RESOURCES));
    EXPECT_EQ(watch.IsOpen().handles, 1) << "the pipe";
    const auto connects = TVN_REPLACE_IMPORT(ConnectNamedPipe, [](HANDLE, OVERLAPPED*) -> BOOL {
        SetLastError(ERROR_PIPE_LISTENING);
        return TRUE;
    });
    EXPECT_FALSE(PipeServer::ConnectPipe(pipe.Get(), 50, nullptr, error));
    EXPECT_EQ(error, static_cast<DWORD>(ERROR_PIPE_LISTENING));
}

TEST(Callback, APipeIsOpenToEveryAccountWhenThatIsAskedFor)
{
    static std::string made;  // the arguments of the last pipe but its name
    const auto makes = TVN_REPLACE_IMPORT(
        CreateNamedPipeA, [](LPCSTR name, DWORD openMode, DWORD pipeMode, DWORD count, DWORD out,
                             DWORD in, DWORD time, SECURITY_ATTRIBUTES* security) {
            std::ostringstream text;
            text << std::hex << openMode << ' ' << pipeMode << std::dec << ' ' << count << ' '
                 << out << ' ' << in << ' ' << time;
            if (security != nullptr) {
                BOOL present = FALSE;
                BOOL defaulted = TRUE;
                ACL* list = nullptr;
                GetSecurityDescriptorDacl(security->lpSecurityDescriptor, &present, &list,
                                          &defaulted);
                text << (security->bInheritHandle ? " inheritable" : "")
                     << (present && list == nullptr && !defaulted ? ", null list" : "");
            }
            made = text.str();
            return TVN_REAL_IMPORT(CreateNamedPipeA)(name, openMode, pipeMode, count, out, in, time,
                                                     security);
        });
    const LogCapture log;
    DWORD error = 0;
    const Handle own(PipeServer::CreatePipe(kCallbackPipe, FALSE, error));
    EXPECT_EQ(made, "40000003 6 255 1024 1024 5000");
    const Handle open(PipeServer::CreatePipe(kCallbackPipe, TRUE, error));
    EXPECT_EQ(made, "40000003 6 255 1024 1024 5000 inheritable, null list");
    EXPECT_TRUE(own.IsValid() && open.IsValid());
    const std::string line =
        kDebug + "CreateNamedPipe, " + kCallbackPipe + ", allowAllToAccessPipe = ";
    EXPECT_THAT(log.Lines(), ElementsAre(line + "0", line + "1"));
}

}  // namespace tvn::tests
