// One command at a time on an instance's pipe: ids, stale replies, time-outs, busy, retries.

#include <gmock/gmock.h>

#include <thread>

#include "basicslib/Exceptions.h"
#include "basicslib/StatusCode.h"
#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/MacrosClient.h"
#include "tests/log_capture.h"
#include "tests/surroundings.h"
#include "tests/test_pipe.h"

using namespace tvn;
using tests::ActionWindow;
using tests::Elapsed;

namespace
{

constexpr const char* kName = "\\\\.\\pipe\\Talvern_command_test";

/// A client whose instance is this test: the server end, and what it is to do on a thread.
class Commands : public testing::Test
{
  protected:
    int Run(DWORD timeout, const wchar_t* command = L"C")
    {
        client.Execute(timeout, command, L"", reply, status);
        return status;
    }

    template <class Work>
    int RunWhile(DWORD timeout, Work instanceSide)
    {
        std::thread thread([&] {
            CommandsProtocol protocol(server->Get(), nullptr);
            instanceSide(protocol);
        });
        Run(timeout);
        thread.join();
        return status;
    }

    unsigned int Receive(CommandsProtocol& protocol)
    {
        unsigned int id = 0;
        ComString command;
        ComString argument;
        protocol.ReceiveCommand(id, command, argument, 5000);
        return id;
    }

    boost::shared_ptr<Handle> server = tests::PipeServer::NewEnd(kName);
    boost::shared_ptr<Handle> interrupt =
        boost::make_shared<Handle>(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    CommandClient client{kName, interrupt, true};
    ComString reply;
    int status = 0;
};

}  // namespace

TEST_F(Commands, TheReplyToTheSameIdIsTaken)
{
    const tests::LogCapture log;
    EXPECT_EQ(Run(0), sTimeout);
    EXPECT_TRUE(log.Has("[tvn::debug] [CommandClient::Execute] sTimeout (cmd = C)"));
    EXPECT_FALSE(static_cast<const wchar_t*>(reply)) << "nothing was read, nothing was touched";
    EXPECT_EQ(RunWhile(5000,
                       [&](CommandsProtocol& instance) {
                           EXPECT_EQ(Receive(instance), 1U);
                           EXPECT_EQ(Receive(instance), 2U) << "one that timed out used its id";
                           instance.SendReply(1, 17, L"stale", 1000);
                           instance.SendReply(2, -500, L"own", 1000);
                       }),
              -500);
    EXPECT_EQ(ToView(reply), L"own");
}

TEST_F(Commands, FailuresOfTheOtherSideAreStatuses)
{
    const tests::LogCapture log;
    EXPECT_EQ(RunWhile(5000,
                       [&](CommandsProtocol& instance) {
                           const unsigned int id = Receive(instance);
                           const auto broken = tests::Words({16, id, 1, 1000});
                           instance.WritePipe(broken.data(), 16, 1000);
                       }),
              sFail);
    EXPECT_EQ(log.Count("[tvn::debug] [CommandClient::Execute] sFail (cmd = C)"), 1);
    SetEvent(interrupt->Get());
    EXPECT_EQ(Run(INFINITE), sFail);
    EXPECT_EQ(log.Count("[tvn::debug] [CommandClient::Execute] sFail (cmd = C)"), 2);
    ResetEvent(interrupt->Get());
    server.reset();
    EXPECT_EQ(Run(INFINITE), sFail);
    EXPECT_EQ(log.Count("[tvn::debug] [CommandClient::Execute] sFail (cmd = C)"), 4)
        << "the write and the read fail each";
}

TEST_F(Commands, StaleRepliesWithoutEndDoNotHoldTheCaller)
{
    std::atomic<bool> over{false};
    std::thread flood([&] {
        CommandsProtocol instance(server->Get(), nullptr);
        try {
            while (!over) {
                instance.SendReply(0, 1, L"stale", 1000);
            }
        } catch (const WritePipeError&) {
            // nobody reads any more
        }
    });
    EXPECT_LT(Elapsed([&] { EXPECT_EQ(Run(300), sTimeout); }), 3000);
    over = true;
    flood.join();
}

TEST_F(Commands, ANestedCommandIsRefusedAndUsesNoId)
{
    int nested = 0;
    ActionWindow window([&] {
        ComString nestedReply;
        client.Execute(INFINITE, L"nested", L"", nestedReply, nested);
    });
    window.CallLater(50);
    EXPECT_EQ(Run(300), sTimeout);
    EXPECT_EQ(nested, sFail);
    EXPECT_EQ(RunWhile(5000,
                       [&](CommandsProtocol& instance) {
                           EXPECT_EQ(Receive(instance), 1U);
                           EXPECT_EQ(Receive(instance), 2U);
                           instance.SendReply(2, sOk, L"", 1000);
                       }),
              sOk);
}

TEST_F(Commands, AMissingPipeIsWaitedForOnlyWhenAsked)
{
    server.reset();
    const tests::LogCapture log;
    CommandClient once(kName, boost::shared_ptr<Handle>(), false);
    once.Execute(INFINITE, L"C", L"", reply, status);
    EXPECT_EQ(status, sFail);
    EXPECT_THAT(log.Lines(),
                testing::ElementsAre(
                    "[tvn::debug] [RemotePipeClient::OpenPipe] " + std::string(kName),
                    "[tvn::debug] [RemotePipeClient::OpenPipe] CreateFile failed with code "
                    "0x00000002",
                    "[tvn::debug] hPipe == INVALID_HANDLE_VALUE (0x00000002)"));
    const auto elapsed = Elapsed([&] { EXPECT_EQ(Run(450), sFail); });
    EXPECT_GE(elapsed, 400);
    EXPECT_LT(elapsed, 3000);
    EXPECT_EQ(log.Count("[tvn::debug] [RemotePipeClient::OpenPipe] " + std::string(kName)), 1 + 6);

    std::thread late([&] {
        Sleep(250);
        server = tests::PipeServer::NewEnd(kName);
        DWORD error = 0;
        EXPECT_TRUE(tests::PipeServer::ConnectPipe(server->Get(), 5000, nullptr, error));
        CommandsProtocol instance(server->Get(), nullptr);
        const unsigned int id = Receive(instance);
        EXPECT_EQ(id, 1U) << "a command that found no pipe used no id";
        instance.SendReply(id, sOk, L"", 1000);
    });
    EXPECT_EQ(Run(10000), sOk);
    late.join();
}

TEST_F(Commands, TheClientOfARunningCommandOutlivesItsOwner)
{
    auto owner = boost::make_shared<MacrosClient>(kName, boost::shared_ptr<Handle>(), true);
    ActionWindow window([&] { owner.reset(); });
    window.CallLater(50);
    owner->Execute(300, L"C", L"", reply, status);
    EXPECT_EQ(status, sTimeout);
    EXPECT_FALSE(owner);
}

TEST_F(Commands, TheAuxiliaryCommandsGiveStatusAndCount)
{
    MacrosClient macros(kName, boost::shared_ptr<Handle>(), true);
    std::thread instanceSide([&] {
        CommandsProtocol instance(server->Get(), nullptr);
        unsigned int id = 0;
        ComString command;
        ComString argument;
        instance.ReceiveCommand(id, command, argument, 5000);
        EXPECT_EQ(ToView(command), L"tvnAuxAttachIfFree");
        EXPECT_EQ(ToView(argument), L"creator");
        instance.SendReply(id, -77, L"", 1000);
        for (const int result : {+sOk, -2}) {
            instance.ReceiveCommand(id, command, argument, 5000);
            EXPECT_EQ(ToView(command), L"tvnAuxAttachedCount");
            instance.SendReply(id, result, L"3", 1000);
        }
    });
    EXPECT_EQ(macros.AuxAttachIfFree(5000, L"creator"), -77);
    EXPECT_EQ(ToView(macros.AuxAttachedCount(5000)), L"3");
    EXPECT_EQ(macros.AuxAttachedCount(5000).length(), 0U);
    instanceSide.join();
}
