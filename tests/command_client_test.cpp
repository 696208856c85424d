// One command at a time on an instance's pipe: ids, stale replies, time-outs, busy, retries.

#include "pipeutils/CommandsProtocol.h"
#include "pipeutils/MacrosClient.h"
#include "tests/support.h"

namespace tvn::tests
{

constexpr const char* kName = "\\\\.\\pipe\\Talvern_command_test";
const std::string kFailed = kDebug + "[CommandClient::Execute] sFail (cmd = C)";
const std::string kOpen = kDebug + "[RemotePipeClient::OpenPipe] ";

/// A client whose instance is this test: the server end, and what it is to do on a thread.
class Commands : public testing::Test
{
  protected:
    int Run(DWORD timeout)
    {
        int status = 0;
        client.Execute(timeout, L"C", L"", reply, status);
        return status;
    }

    /// The server's end once the client is there.
    HANDLE Connected() const
    {
        DWORD error = 0;
        EXPECT_TRUE(PipeServer::ConnectPipe(server->Get(), 5000, nullptr, error));
        return server->Get();
    }

    template <class Work>
    int RunWhile(DWORD timeout, Work instanceSide)
    {
        const std::jthread thread([&] {
            CommandsProtocol protocol(Connected(), nullptr);
            instanceSide(protocol);
        });
        return Run(timeout);
    }

    /// "ID COMMAND ARGUMENT" of the next command, whose id is left in `id`.
    std::string Receive(CommandsProtocol& instance)
    {
        ComString command;
        ComString argument;
        instance.ReceiveCommand(id, command, argument, 5000);
        return std::to_string(id) + " " + Narrow(command) + " " + Narrow(argument);
    }

    boost::shared_ptr<Handle> server = PipeServer::NewEnd(kName);
    boost::shared_ptr<Handle> interrupt = NewEvent();
    MacrosClient client{kName, interrupt, true};
    ComString reply;
    unsigned int id = 0;
};

TEST_F(Commands, TheReplyToTheSameIdIsTaken)
{
    const LogCapture log;
    EXPECT_EQ(Run(0), sTimeout);
    EXPECT_EQ(log.Count(kDebug + "[CommandClient::Execute] sTimeout (cmd = C)"), 1);
    EXPECT_FALSE(static_cast<const wchar_t*>(reply)) << "nothing was read, nothing was touched";
    const auto answer = [&](CommandsProtocol& instance) {
        EXPECT_EQ(Receive(instance), "1 C ");
        EXPECT_EQ(Receive(instance), "2 C ") << "one that timed out used its id";
        instance.SendReply(1, 17, L"stale", 1000);
        instance.SendReply(2, -500, L"own", 1000);
    };
    EXPECT_EQ(RunWhile(5000, answer), -500);
    EXPECT_EQ(Narrow(reply), "own");
}

TEST_F(Commands, FailuresOfTheOtherSideAreStatuses)
{
    const LogCapture log;
    const auto breakOff = [&](CommandsProtocol& instance) {
        Receive(instance);
        instance.WritePipe(Words({16, id, 1, 1000}).data(), 16, 1000);
    };
    EXPECT_EQ(RunWhile(5000, breakOff), sFail);
    SetEvent(interrupt->Get());
    EXPECT_EQ(Run(INFINITE), sFail);
    ResetEvent(interrupt->Get());
    EXPECT_EQ(log.Count(kFailed), 2);
    server.reset();
    EXPECT_EQ(Run(INFINITE), sFail);
    EXPECT_EQ(log.Count(kFailed), 4) << "the write and the read fail each";
}

TEST_F(Commands, StaleRepliesWithoutEndDoNotHoldTheCaller)
{
    const auto answer = [&](CommandsProtocol& instance) {
        for (int count = 0; count < 10; ++count) {
            Sleep(50);
            instance.SendReply(0, 1, L"stale", 1000);
        }
        instance.SendReply(1, sOk, L"too late", 1000);
    };
    EXPECT_EQ(RunWhile(300, answer), sTimeout);
}

TEST_F(Commands, ANestedCommandIsRefusedAndUsesNoId)
{
    int nested = 0;
    CallLater(50, [&] { nested = Run(INFINITE); });
    EXPECT_EQ(Run(300), sTimeout);
    EXPECT_EQ(nested, sFail);
    const auto answer = [&](CommandsProtocol& instance) {
        EXPECT_EQ(Receive(instance), "1 C ");
        EXPECT_EQ(Receive(instance), "2 C ");
        instance.SendReply(2, sOk, L"", 1000);
    };
    EXPECT_EQ(RunWhile(5000, answer), sOk);
}

TEST_F(Commands, AMissingPipeIsWaitedForOnlyWhenAsked)
{
    server.reset();
    const LogCapture log;
    int status = 0;
    CommandClient once(kName, {}, false);
    once.Execute(INFINITE, L"C", L"", reply, status);
    EXPECT_EQ(status, sFail);
    EXPECT_THAT(log.Lines(),
                ElementsAre(kOpen + kName, kOpen + "CreateFile failed with code 0x00000002",
                            kDebug + "hPipe == INVALID_HANDLE_VALUE (0x00000002)"));
    EXPECT_THAT(Elapsed([&] { EXPECT_EQ(Run(450), sFail); }), Within(400, 3000));
    EXPECT_THAT(log.Count(kOpen + kName) - 1, testing::AllOf(testing::Ge(4), testing::Le(6)));

    const std::jthread late([&] {
        Sleep(250);
        server = PipeServer::NewEnd(kName);
        CommandsProtocol instance(Connected(), nullptr);
        EXPECT_EQ(Receive(instance), "1 C ") << "a command that found no pipe used no id";
        instance.SendReply(id, sOk, L"", 1000);
    });
    EXPECT_EQ(Run(10000), sOk);
}

TEST_F(Commands, TheAuxiliaryCommandsGiveStatusAndCountAndOutliveTheirOwner)
{
    std::thread instanceSide([&] {
        CommandsProtocol instance(Connected(), nullptr);
        EXPECT_EQ(Receive(instance), "1 tvnAuxAttachIfFree creator");
        instance.SendReply(id, -77, L"", 1000);
        for (const int result : {+sOk, -2}) {
            EXPECT_THAT(Receive(instance), MatchesRegex(". tvnAuxAttachedCount "));
            instance.SendReply(id, result, L"3", 1000);
        }
    });
    EXPECT_EQ(client.AuxAttachIfFree(5000, L"creator"), -77);
    EXPECT_EQ(Narrow(client.AuxAttachedCount(5000)), "3");
    EXPECT_EQ(Narrow(client.AuxAttachedCount(5000)), "");
    instanceSide.join();
    server = PipeServer::NewEnd(kName);
    auto owner = boost::make_shared<MacrosClient>(kName, interrupt, true);
    CallLater(50, [&] { owner.reset(); });
    EXPECT_EQ(owner->AuxAttachIfFree(300, L""), sTimeout);
    EXPECT_FALSE(owner);
}

}  // namespace tvn::tests
